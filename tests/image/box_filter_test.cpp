// The float box filter and guided filter against their definitions.

#include <gtest/gtest.h>

#include <cmath>

#include "tests/image/image_buffers.h"
#include "tests/support/failing_malloc.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

struct Geometry {
  int width, height, stride, radius;
};

std::ostream& operator<<(std::ostream& out, const Geometry& g) {
  return out << g.width << "/" << g.stride << "x" << g.height << " radius " << g.radius;
}

// Row by row: the sum of the first box's columns, from which one is taken as another enters.
Floats Box(const Floats& src, const Geometry& g, Floats dst) {
  const int side = 2 * g.radius + 1;
  for (int y = 0; y < g.height; ++y) {
    const auto column_sum = [&](int x) {
      float sum = 0;
      for (int v = y - g.radius; v <= y + g.radius; ++v) {
        sum += src[Index(std::clamp(x, 0, g.width - 1), std::clamp(v, 0, g.height - 1), g.stride)];
      }
      return sum;
    };
    float total = 0;
    for (int x = -g.radius; x <= g.radius; ++x) total += column_sum(x);
    for (int x = 0; x < g.width; ++x) {
      dst[Index(x, y, g.stride)] = total / static_cast<float>(side * side);
      total = total - column_sum(x - g.radius) + column_sum(x + g.radius + 1);
    }
  }
  return dst;
}

std::vector<Geometry> Geometries(Random& random) {
  std::vector<Geometry> all = {{1, 1, 2, 3}, {1, 6, 1, 0}, {70, 9, 71, 130}};
  for (int i = 0; i < 30; ++i) {
    const int width = random.Int(1, 150);
    all.push_back({width, random.Int(1, 20), width + random.Int(0, 3), random.Int(0, 12)});
  }
  return all;
}

TEST(BoxFilter, KeepsTheOrderOfTheColumns) {
  Random random(1);
  for (const Geometry& g : Geometries(random)) {
    SCOPED_TRACE(g);
    Floats src = random.Floats(Area(g.stride, g.height), -3.0f, 300.0f);
    const Floats before(src.size(), -7.0f);
    // Of any numbers, of whole ones, and of whole ones whose sums round.
    for (const float scale : {0.0f, 1.0f, 1001.0f}) {
      for (float& value : src) value = scale == 0 ? value : std::floor(value) * scale;
      ExpectPlane(src, before, Box(src, g, before), g.stride, [&](float* from, float* to) {
        EXPECT_EQ(boxfilter_iter_f(nullptr, from, to, g.width, g.height, g.stride, g.radius), 0);
      });
      ExpectPlane(before, src, Box(src, g, src), g.stride, [&](float*, float* both) {
        EXPECT_EQ(boxfilter_iter_f(nullptr, both, both, g.width, g.height, g.stride, g.radius), 0);
      });
    }
  }
}

TEST(BoxFilter, RefusesAndSaysThatItHasNoMemory) {
  Floats plane(12, 1.0f);
  EXPECT_EQ(boxfilter_iter_f(nullptr, nullptr, plane.data(), 3, 3, 4, 2), 1);
  EXPECT_EQ(boxfilter_iter_f(nullptr, plane.data(), plane.data(), 3, 3, 4, -1), 1);
  EXPECT_EQ(boxfilter_iter_f(nullptr, plane.data(), plane.data(), 0, 3, 4, 2), 0);
  const FailingMalloc heap(0);
  testing::internal::CaptureStdout();
  EXPECT_EQ(boxfilter_iter_f(nullptr, plane.data(), plane.data(), 3, 3, 4, 2), 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), " malloc BOXmem failed");
  EXPECT_EQ(heap.sizes().front(), (5 + 12) * sizeof(float));
}

Floats Guided(const Floats& guide, const Floats& input, const Geometry& g, float eps,
              const Floats& before) {
  const auto each = [&](Floats plane, auto element) {
    for (int y = 0; y < g.height; ++y) {
      const size_t row = Area(g.stride, y);
      for (size_t i = row; i < row + static_cast<size_t>(g.width); ++i) plane[i] = element(i);
    }
    return plane;
  };
  const Floats zero(guide.size(), 0.0f);
  const auto mean = [&](auto element) { return Box(each(zero, element), g, zero); };
  const Floats mean_p = mean([&](size_t i) { return input[i]; });
  const Floats mean_i = mean([&](size_t i) { return guide[i]; });
  const Floats corr_ip = mean([&](size_t i) { return guide[i] * input[i]; });
  const Floats corr_ii = mean([&](size_t i) { return guide[i] * guide[i]; });
  const auto a = [&](size_t i) {
    const float variance = corr_ii[i] - mean_i[i] * mean_i[i];
    const float covariance = corr_ip[i] - mean_i[i] * mean_p[i];
    return covariance / ((variance > 0 ? variance : 0) + eps);
  };
  const Floats mean_a = mean(a);
  const Floats mean_b = mean([&](size_t i) { return mean_p[i] - a(i) * mean_i[i]; });
  return each(before, [&](size_t i) {
    const int v = std::clamp(static_cast<int>(guide[i] * mean_a[i] + mean_b[i]), 0, 255);
    return v < 128 ? 0.0f : static_cast<float>(v);
  });
}

TEST(GuidedFilterFloat, EqualsItsDefinition) {
  Random random(4);
  for (const Geometry& g : Geometries(random)) {
    SCOPED_TRACE(g);
    Floats guide = random.Floats(Area(g.stride, g.height), 0.0f, 255.0f);
    Floats input = random.Floats(guide.size(), 60.0f, 300.0f);
    if (random.Int(0, 1) == 0) {
      for (float& value : guide) value = std::floor(value);
      for (float& value : input) value = value < 180.0f ? 0.0f : 255.0f;
    }
    const Floats before(guide.size(), -7.0f);
    ExpectPlane(input, before, Guided(guide, input, g, 25.0f, before), g.stride,
                [&](float* from, float* to) {
                  guidedfilter_f(nullptr, to, guide.data(), from, g.width, g.height, g.stride,
                                 g.radius, 25.0f);
                });
  }
}

TEST(GuidedFilterFloat, KeepsTheThresholdItselfAndDefinesFlatPlanesWithoutEps) {
  Floats flat(30, 128.0f), kept(30);
  guidedfilter_f(nullptr, kept.data(), flat.data(), flat.data(), 6, 5, 6, 1, 1.0f);
  EXPECT_EQ(kept, flat);
  Floats guide(30, 100.0f), input(30, 200.0f), output(30, 7.0f);
  input[7] = 0.0f;
  guidedfilter_f(nullptr, output.data(), guide.data(), input.data(), 6, 5, 6, 1, 0.0f);
  for (float value : output) EXPECT_TRUE(value == 0.0f || (value >= 128.0f && value <= 255.0f));
}

}  // namespace
}  // namespace vantro::test

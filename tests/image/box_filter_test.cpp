// The float box filter and guided filter against their definitions.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/image/image_buffers.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/log_capture.h"
#include "tests/support/simd_levels.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

using Floats = std::vector<float>;

struct Geometry {
  int width;
  int height;
  int stride;
  int radius;
};

std::ostream& operator<<(std::ostream& out, const Geometry& g) {
  return out << g.width << "/" << g.stride << "x" << g.height << " radius " << g.radius;
}

// One row at a time with a ring of column sums.
Floats Box(const Floats& src, const Geometry& g, Floats dst) {
  const auto at = [&](int x, int y) {
    return src[Area(g.stride, std::clamp(y, 0, g.height - 1)) +
               static_cast<size_t>(std::clamp(x, 0, g.width - 1))];
  };
  const int side = 2 * g.radius + 1;
  for (int y = 0; y < g.height; ++y) {
    const auto column_sum = [&](int x) {
      float sum = 0;
      for (int dy = -g.radius; dy <= g.radius; ++dy) sum += at(x, y + dy);
      return sum;
    };
    Floats ring;
    float total = 0;
    for (int x = -g.radius; x <= g.radius; ++x) {
      ring.push_back(column_sum(x));
      total += ring.back();
    }
    for (int x = 0; x < g.width; ++x) {
      if (x > 0) {
        float& oldest = ring[static_cast<size_t>((x - 1) % side)];
        const float entering = column_sum(x + g.radius);
        total = total - oldest + entering;
        oldest = entering;
      }
      dst[Area(g.stride, y) + static_cast<size_t>(x)] = total / static_cast<float>(side * side);
    }
  }
  return dst;
}

std::vector<Geometry> Geometries(Random& random) {
  std::vector<Geometry> all = {{1, 1, 1, 0}, {1, 1, 2, 3},     {5, 1, 5, 2},    {1, 6, 1, 2},
                               {3, 3, 3, 9}, {200, 7, 200, 5}, {70, 9, 71, 130}};
  for (int i = 0; i < 30; ++i) {
    const int width = random.Int(1, 150);
    all.push_back({width, random.Int(1, 20), width + random.Int(0, 3), random.Int(0, 12)});
  }
  return all;
}

TEST(BoxFilter, KeepsTheOrderOfTheRing) {
  Random random(1);
  for (const Geometry& g : Geometries(random)) {
    SCOPED_TRACE(g);
    Floats src = random.Floats(Area(g.stride, g.height), -3.0f, 300.0f);
    const Floats before(src.size(), -7.0f);
    for (const bool whole : {false, true}) {
      if (whole) {
        for (float& value : src) value = std::floor(value);
      }
      const Floats expected = Box(src, g, before);
      AtEverySimdLevel([&] {
        Guarded<float> from(src);
        Guarded<float> to(before);
        EXPECT_EQ(
            boxfilter_iter_f(nullptr, from.get(), to.get(), g.width, g.height, g.stride, g.radius),
            0);
        EXPECT_TRUE(SamePlanes(to.values(), expected, g.stride));
        EXPECT_EQ(boxfilter_iter_f(nullptr, from.get(), from.get(), g.width, g.height, g.stride,
                                   g.radius),
                  0);
        EXPECT_TRUE(SamePlanes(from.values(), Box(src, g, src), g.stride));
      });
    }
  }
}

TEST(BoxFilter, RadiusZeroCopiesAndAConstantStays) {
  Random random(2);
  const Floats src = random.Floats(60, -1.0f, 1.0f);
  Floats dst(60);
  boxfilter_iter_f(nullptr, src.data(), dst.data(), 10, 6, 10, 0);
  EXPECT_EQ(dst, src);
  for (int radius : {1, 4, 25}) {
    const Floats constant(60, 17.0f);
    boxfilter_iter_f(nullptr, constant.data(), dst.data(), 10, 6, 10, radius);
    EXPECT_EQ(dst, constant);
  }
}

TEST(BoxFilter, NumbersBeyondExactSumsKeepTheRingOrder) {
  // Whole, but their sums round: the order shows.
  Random random(3);
  const Geometry g = {40, 9, 40, 2};
  Floats src = random.Floats(360, 0.0f, 16.0f);
  for (float& value : src) value = std::floor(value) * 1048583.0f;
  Floats dst(360);
  boxfilter_iter_f(nullptr, src.data(), dst.data(), g.width, g.height, g.stride, g.radius);
  EXPECT_TRUE(SamePlanes(dst, Box(src, g, Floats(360)), g.stride));
}

TEST(BoxFilter, OneBlockAndWhatIsRefused) {
  const Floats src(12, 1.0f);
  Floats dst(12, -7.0f);
  {
    FailingMalloc heap(0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(boxfilter_iter_f(nullptr, src.data(), dst.data(), 3, 3, 4, 2), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), " malloc BOXmem failed");
    EXPECT_EQ(heap.sizes().front(), (5 + 12) * sizeof(float));
  }
  EXPECT_EQ(boxfilter_iter_f(nullptr, nullptr, dst.data(), 3, 3, 4, 2), 1);
  EXPECT_EQ(boxfilter_iter_f(nullptr, src.data(), dst.data(), 3, 3, 4, -1), 1);
  EXPECT_EQ(boxfilter_iter_f(nullptr, src.data(), dst.data(), 0, 3, 4, 2), 0);
  EXPECT_EQ(dst, Floats(12, -7.0f));
}

Floats Guided(const Floats& guide, const Floats& input, const Geometry& g, float eps,
              const Floats& before) {
  const auto each = [&](auto element) {
    Floats plane(guide.size(), 0.0f);
    for (int y = 0; y < g.height; ++y) {
      for (int x = 0; x < g.width; ++x) {
        const size_t i = Area(g.stride, y) + static_cast<size_t>(x);
        plane[i] = element(i);
      }
    }
    return plane;
  };
  const Floats zero(guide.size(), 0.0f);
  const Floats mean_p = Box(input, g, zero), mean_i = Box(guide, g, zero);
  const Floats corr_ip = Box(each([&](size_t i) { return guide[i] * input[i]; }), g, zero);
  const Floats corr_ii = Box(each([&](size_t i) { return guide[i] * guide[i]; }), g, zero);
  const Floats a = each([&](size_t i) {
    const float variance = corr_ii[i] - mean_i[i] * mean_i[i];
    const float covariance = corr_ip[i] - mean_i[i] * mean_p[i];
    return covariance / ((variance > 0 ? variance : 0) + eps);
  });
  const Floats b = each([&](size_t i) { return mean_p[i] - a[i] * mean_i[i]; });
  const Floats mean_a = Box(a, g, zero), mean_b = Box(b, g, zero);
  Floats output = before;
  const Floats result = each([&](size_t i) {
    const int v = std::clamp(static_cast<int>(guide[i] * mean_a[i] + mean_b[i]), 0, 255);
    return v < 128 ? 0.0f : static_cast<float>(v);
  });
  for (int y = 0; y < g.height; ++y) {
    const auto row = static_cast<ptrdiff_t>(Area(g.stride, y));
    std::copy_n(result.begin() + row, g.width, output.begin() + row);
  }
  return output;
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
    const Floats expected = Guided(guide, input, g, 25.0f, before);
    AtEverySimdLevel([&] {
      Guarded<float> out(before);
      Guarded<float> in(input);
      guidedfilter_f(nullptr, out.get(), guide.data(), in.get(), g.width, g.height, g.stride,
                     g.radius, 25.0f);
      EXPECT_TRUE(SamePlanes(out.values(), expected, g.stride));
    });
  }
}

TEST(GuidedFilterFloat, NoEpsAndNoVarianceGiveNothingButDefinedNumbers) {
  Floats guide(30, 100.0f), input(30, 200.0f), output(30, 7.0f);
  input[7] = 0.0f;
  guidedfilter_f(nullptr, output.data(), guide.data(), input.data(), 6, 5, 6, 1, 0.0f);
  for (float value : output) EXPECT_TRUE(value == 0.0f || (value >= 128.0f && value <= 255.0f));
}

TEST(GuidedFilterFloat, EveryFailedAllocationIsLoggedAndNothingIsWritten) {
  Floats guide(20, 9.0f);
  const Floats input(20, 200.0f);
  const auto line = [](const char* text) { return LogLine{6, "QZA_MVANTRO", text}; };
  const LogLine core = line("guidedFilter_core_f is failed\n");
  // Two means, five planes, six boxes.
  for (int fail_at = 0; fail_at < 13; ++fail_at) {
    SCOPED_TRACE(fail_at);
    std::vector<LogLine> expected = {line("malloc mean_a is failed!\n")};
    if (fail_at == 1) expected = {line("malloc mean_b is failed!\n")};
    if (fail_at >= 2) expected = {line("malloc is failed 2974\n"), core};
    if (fail_at >= 7) expected = {line("boxfilter_iter_f is failed!\n"), core};
    Floats output(20, -7.0f);
    LogCapture log;
    testing::internal::CaptureStdout();
    FailingMalloc heap(fail_at);
    guidedfilter_f(nullptr, output.data(), guide.data(), input.data(), 4, 4, 5, 1, 1.0f);
    EXPECT_EQ(heap.live(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), fail_at >= 7 ? " malloc BOXmem failed" : "");
    EXPECT_EQ(log.lines(), expected);
    EXPECT_EQ(output, Floats(20, -7.0f));
  }
}

}  // namespace
}  // namespace vantro::test

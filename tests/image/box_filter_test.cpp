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

using Doubles = std::vector<double>;

// Sums over the boxes, in double precision: exact for whole numbers.
Doubles BoxSums(const Doubles& src, const Geometry& g) {
  const auto index = [&](int x, int y) {
    return Area(g.stride, std::clamp(y, 0, g.height - 1)) +
           static_cast<size_t>(std::clamp(x, 0, g.width - 1));
  };
  const auto pass = [&](const Doubles& from, int step_x, int step_y) {
    Doubles to(from.size());
    for (int y = 0; y < g.height; ++y) {
      for (int x = 0; x < g.width; ++x) {
        for (int d = -g.radius; d <= g.radius; ++d) {
          to[index(x, y)] += from[index(x + d * step_x, y + d * step_y)];
        }
      }
    }
    return to;
  };
  return pass(pass(src, 0, 1), 1, 0);
}

Doubles BoxMeans(const Doubles& src, const Geometry& g) {
  Doubles means = BoxSums(src, g);
  for (double& mean : means) mean /= (2.0 * g.radius + 1) * (2.0 * g.radius + 1);
  return means;
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

// Calls the filter at every vector level, also in place; expects check(values of a row's elements).
template <typename Check>
void CheckBox(const Floats& src, const Geometry& g, const Check& check) {
  const Floats before(src.size(), -7.0f);
  AtEverySimdLevel([&] {
    Guarded<float> from(src);
    Guarded<float> to(before);
    const auto run = [&](float* dst) {
      return boxfilter_iter_f(nullptr, from.get(), dst, g.width, g.height, g.stride, g.radius);
    };
    ASSERT_EQ(run(to.get()), 0);
    ASSERT_EQ(run(from.get()), 0);
    const Floats apart = to.values(), in_place = from.values();
    for (int y = 0; y < g.height; ++y) {
      for (int x = 0; x < g.stride; ++x) {
        const size_t i = Area(g.stride, y) + static_cast<size_t>(x);
        if (x < g.width) {
          ASSERT_EQ(apart[i], in_place[i]) << x << "," << y;
          ASSERT_TRUE(check(i, apart[i])) << x << "," << y << ": " << apart[i];
        } else {
          ASSERT_EQ(apart[i], before[i]);
          ASSERT_EQ(in_place[i], src[i]);
        }
      }
    }
  });
}

TEST(BoxFilter, IsTheMeanOfEveryBox) {
  Random random(1);
  for (const Geometry& g : Geometries(random)) {
    SCOPED_TRACE(g);
    Floats src = random.Floats(Area(g.stride, g.height), -3.0f, 300.0f);
    const Doubles means = BoxMeans(Doubles(src.begin(), src.end()), g);
    CheckBox(src, g, [&](size_t i, float mean) { return std::abs(mean - means[i]) < 0.001; });
    // Sums of small whole numbers are exact, and so is the one rounding of the division.
    for (float& value : src) value = std::floor(value);
    const Doubles sums = BoxSums(Doubles(src.begin(), src.end()), g);
    const auto side = static_cast<float>(2 * g.radius + 1);
    CheckBox(src, g, [&](size_t i, float mean) {
      return mean == static_cast<float>(sums[i]) / (side * side);
    });
  }
}

TEST(BoxFilter, RadiusZeroCopiesAndOtherBoxesForgetWhatLeavesThem) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  Floats src(60, 17.0f), dst(60);
  src[23] = kInfinity;  // row 2, column 3
  boxfilter_iter_f(nullptr, src.data(), dst.data(), 10, 6, 10, 0);
  EXPECT_EQ(dst, src);
  boxfilter_iter_f(nullptr, src.data(), dst.data(), 10, 6, 10, 1);
  EXPECT_EQ(Floats(dst.begin(), dst.begin() + 10), Floats(10, 17.0f));
  EXPECT_EQ(Floats(dst.begin() + 40, dst.end()), Floats(20, 17.0f));
  EXPECT_EQ(dst[22], kInfinity);
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

// Guide times mean a plus mean b, in double precision.
Doubles Guided(const Floats& guide_floats, const Floats& input_floats, const Geometry& g,
               double eps) {
  const Doubles guide(guide_floats.begin(), guide_floats.end());
  const Doubles input(input_floats.begin(), input_floats.end());
  const auto each = [&](auto element) {
    Doubles plane(guide.size());
    for (size_t i = 0; i < plane.size(); ++i) plane[i] = element(i);
    return plane;
  };
  const Doubles mean_p = BoxMeans(input, g), mean_i = BoxMeans(guide, g);
  const Doubles corr_ip = BoxMeans(each([&](size_t i) { return guide[i] * input[i]; }), g);
  const Doubles corr_ii = BoxMeans(each([&](size_t i) { return guide[i] * guide[i]; }), g);
  const Doubles a = each([&](size_t i) {
    return (corr_ip[i] - mean_i[i] * mean_p[i]) / (corr_ii[i] - mean_i[i] * mean_i[i] + eps);
  });
  const Doubles b = each([&](size_t i) { return mean_p[i] - a[i] * mean_i[i]; });
  const Doubles mean_a = BoxMeans(a, g), mean_b = BoxMeans(b, g);
  return each([&](size_t i) { return guide[i] * mean_a[i] + mean_b[i]; });
}

TEST(GuidedFilterFloat, EqualsItsDefinition) {
  Random random(4);
  const auto stored = [](double value) {
    return value < 128 ? 0.0f : static_cast<float>(std::floor(std::min(value, 255.0)));
  };
  for (const Geometry& g : Geometries(random)) {
    SCOPED_TRACE(g);
    Floats guide = random.Floats(Area(g.stride, g.height), 0.0f, 255.0f);
    const Floats input = random.Floats(guide.size(), 60.0f, 300.0f);
    const Floats before(guide.size(), -7.0f);
    const Doubles values = Guided(guide, input, g, 25.0);
    AtEverySimdLevel([&] {
      Guarded<float> out(before);
      Guarded<float> in(input);
      guidedfilter_f(nullptr, out.get(), guide.data(), in.get(), g.width, g.height, g.stride,
                     g.radius, 25.0f);
      const Floats output = out.values();
      for (size_t i = 0; i < output.size(); ++i) {
        const bool inside = static_cast<int>(i % Area(g.stride, 1)) < g.width;
        const float low = inside ? stored(values[i] - 0.02) : -7.0f;
        const float high = inside ? stored(values[i] + 0.02) : -7.0f;
        ASSERT_TRUE(output[i] == low || output[i] == high) << i << ": " << values[i];
      }
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

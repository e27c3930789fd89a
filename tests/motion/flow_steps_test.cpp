// The steps of the optical flow against the same formulas pixel by pixel, bit for bit.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

#include "tests/image/image_buffers.h"
#include "tests/motion/flow_reference.h"
#include "tests/support/log_capture.h"
#include "tests/support/simd_levels.h"
#include "vantro/motion.h"

namespace vantro::test {
namespace {

// Every side from 1 to past a vector and a block, and the flow's own sizes.
constexpr int kSides[][2] = {{1, 1},  {1, 9},   {2, 3},   {5, 1},   {4, 6},   {7, 7},  {8, 12},
                             {15, 4}, {16, 16}, {17, 11}, {23, 10}, {32, 33}, {50, 9}, {100, 14}};

TEST(PolynomialExpansion, EqualsTheFormulaAtEverySize) {
  Random random(1);
  for (const auto& [width, height] : kSides) {
    SCOPED_TRACE(testing::Message() << width << "x" << height);
    const Floats image = random.Floats(Area(width, height), 0.0f, 255.0f);
    Guarded<float> src(image), dst(Floats(5 * image.size(), -1.0f));
    Guarded<float> kernel(Floats(45)), row(Floats(static_cast<size_t>(3 * (width + 14))));
    EXPECT_EQ(
        opticalFKPolyExp(src.get(), dst.get(), kernel.get(), row.get(), width, height, 7, 1.5), 0);
    EXPECT_TRUE(SamePlanes(dst.values(), ExpandReference(image, width, height), 5 * width));
  }
}

// With any weights the fit must find the polynomial that the image is.
TEST(PolynomialExpansion, FindsTheCoefficientsOfAQuadraticAtEveryReach) {
  constexpr int kSide = 41;
  Floats image;
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      const float u = static_cast<float>(x - 20);
      const float v = static_cast<float>(y - 20);
      image.push_back(3 + v / 2 - u / 4 + v * v / 8 - u * u / 16 + u * v / 32);
    }
  }
  struct Expansion {
    int n;
    double sigma;
  };
  for (const Expansion e : {Expansion{7, 1.5}, {7, 1.6}, {1, 0.7}, {3, 0.0}, {12, 3.0}}) {
    Floats dst(5 * image.size()), row(static_cast<size_t>(3 * (kSide + 2 * e.n)));
    Guarded<float> kernel(Floats(static_cast<size_t>(6 * e.n + 3)));
    ASSERT_EQ(opticalFKPolyExp(image.data(), dst.data(), kernel.get(), row.data(), kSide, kSide,
                               e.n, e.sigma),
              0);
    const float* const at_centre = &dst[5 * (20 * kSide + 20)];
    constexpr float kExpected[] = {1.0f / 2, -1.0f / 4, 1.0f / 8, -1.0f / 16, 1.0f / 32};
    for (int j = 0; j < 5; ++j) EXPECT_NEAR(at_centre[j], kExpected[j], 2e-4f) << e.n << ": " << j;
    // The weights g, x*g and x*x*g, whichever way they were made.
    const Floats lines = kernel.values();
    const double sigma = e.sigma == 0.0 ? 0.3 * e.n : e.sigma;
    const size_t centre = static_cast<size_t>(e.n);
    EXPECT_NEAR(lines[centre + 1] / lines[centre], std::exp(-0.5 / (sigma * sigma)), 1e-4);
    EXPECT_NEAR(std::accumulate(lines.begin(), lines.begin() + 2 * e.n + 1, 0.0), 1.0, 1e-5);
    for (int x = -e.n; x <= e.n; ++x) {
      const size_t at = static_cast<size_t>(e.n + x);
      const size_t length = static_cast<size_t>(2 * e.n + 1);
      EXPECT_NEAR(lines[length + at], static_cast<float>(x) * lines[at], 4e-6f);
      EXPECT_NEAR(lines[2 * length + at], static_cast<float>(x * x) * lines[at], 2e-5f);
    }
  }
}

// A field with every kind of vector: inside, on the border, beyond it, and not a position at all.
Floats WildField(Random& random, int width, int height) {
  Floats field = random.Floats(2 * Area(width, height), -3.0f, 3.0f);
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  for (const float odd : {0.0f, -0.0f, 1e9f, -1e9f, 3e38f, kInfinity, -kInfinity,
                          std::numeric_limits<float>::quiet_NaN(), -1e-30f, 2.5e9f}) {
    field[static_cast<size_t>(random.Int(0, static_cast<int>(field.size()) - 1))] = odd;
  }
  return field;
}

// NaN stands for NaN whatever its bits.
Floats WithoutNan(Floats values) {
  for (float& value : values) {
    if (value != value) value = 12345.0f;
  }
  return values;
}

TEST(FlowMatrices, EqualTheFormulaAtEverySizeAndLevel) {
  Random random(3);
  for (const auto& [columns, rows] : kSides) {
    const int width = columns;  // clang does not let a lambda capture the binding
    const int height = rows;
    SCOPED_TRACE(testing::Message() << width << "x" << height);
    const Floats r0 = random.Floats(5 * Area(width, height), -20.0f, 20.0f);
    const Floats r1 = random.Floats(5 * Area(width, height), -20.0f, 20.0f);
    const Floats flow = WildField(random, width, height);
    const Floats expected = WithoutNan(TermsReference(r0, r1, flow, width, height));
    AtEverySimdLevel([&] {
      Guarded<float> a(r0), b(r1), field(flow), terms(Floats(r0.size(), -7.0f));
      EXPECT_EQ(opticalFKUpdateMatrices(a.get(), b.get(), field.get(), width, height, terms.get(),
                                        0, height),
                0);
      EXPECT_TRUE(SamePlanes(WithoutNan(terms.values()), expected, 5 * width));
    });
  }
}

TEST(FlowMatrices, WriteOnlyTheRowsAskedForThatExist) {
  Random random(4);
  const Floats r = random.Floats(5 * Area(20, 6), -20.0f, 20.0f);
  const Floats flow(2 * Area(20, 6), 0.25f);
  Floats expected = TermsReference(r, r, flow, 20, 6);
  std::fill_n(expected.begin(), 4 * 5 * 20, -7.0f);
  Guarded<float> terms(Floats(r.size(), -7.0f));
  EXPECT_EQ(opticalFKUpdateMatrices(r.data(), r.data(), flow.data(), 20, 6, terms.get(), 4, 1000),
            0);
  EXPECT_TRUE(SamePlanes(terms.values(), expected, 100));
  EXPECT_EQ(opticalFKUpdateMatrices(r.data(), r.data(), flow.data(), 20, 6, terms.get(), -1000, 0),
            0);
  EXPECT_TRUE(SamePlanes(terms.values(), expected, 100));
}

TEST(FlowBoxUpdate, EqualsTheFormulaAtEverySizeAndBlock) {
  Random random(5);
  for (const auto& [width, height] : kSides) {
    const Floats terms = random.Floats(5 * Area(width, height), -50.0f, 400.0f);
    const Floats r0 = random.Floats(terms.size(), -20.0f, 20.0f);
    const Floats r1 = random.Floats(terms.size(), -20.0f, 20.0f);
    for (const int block : {1, 2, 3, 5, 9, 30}) {
      for (const bool refresh : {false, true}) {
        SCOPED_TRACE(testing::Message()
                     << width << "x" << height << " block " << block << " refresh " << refresh);
        Floats expected_terms = terms;
        const Floats expected = BoxReference(&expected_terms, width, height, block,
                                             refresh ? &r0 : nullptr, refresh ? &r1 : nullptr);
        Guarded<float> m(terms), flow(Floats(expected.size(), -7.0f));
        Guarded<float> row(Floats(5 * static_cast<size_t>(width)));
        EXPECT_EQ(opticalFK_Blur(r0.data(), r1.data(), flow.get(), row.get(), width, height,
                                 m.get(), block, refresh),
                  0);
        EXPECT_TRUE(SamePlanes(flow.values(), expected, 2 * width));
        EXPECT_TRUE(SamePlanes(m.values(), expected_terms, 5 * width));
      }
    }
  }
}

TEST(FlowBoxUpdate, LogsEveryRefresh) {
  constexpr int kWidth = 64;
  constexpr int kHeight = 40;
  Floats r(5 * Area(kWidth, kHeight), 1.0f), m = r, flow(2 * Area(kWidth, kHeight)), row(5 * 71);
  const LogCapture log;
  opticalFK_Blur(r.data(), r.data(), flow.data(), row.data(), kWidth, kHeight, m.data(), 5, true);
  // At least 16 rows each: after row 21, after row 37, and the rest after the last one.
  const LogLine refresh = {4, "VANTRO", "[VANTRO] enter opticalFK_Blur()\n"};
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{refresh, refresh, refresh}));
}

TEST(FlowSteps, RefuseMissingBuffersAndEmptySizes) {
  Floats f(500);
  EXPECT_EQ(opticalFKPolyExp(nullptr, f.data(), f.data(), f.data(), 2, 2, 1, 1.0), -1);
  EXPECT_EQ(opticalFKPolyExp(f.data(), f.data(), f.data(), f.data(), 0, 2, 1, 1.0), -1);
  EXPECT_EQ(opticalFKPolyExp(f.data(), f.data(), f.data(), f.data(), 2, 2, -1, 1.0), -1);
  EXPECT_EQ(opticalFKUpdateMatrices(f.data(), nullptr, f.data(), 2, 2, f.data(), 0, 2), -1);
  EXPECT_EQ(opticalFKUpdateMatrices(f.data(), f.data(), f.data(), 2, 0, f.data(), 0, 2), -1);
  for (const int block : {0, -3, 4096, std::numeric_limits<int>::max()}) {
    EXPECT_EQ(opticalFK_Blur(f.data(), f.data(), f.data(), f.data(), 2, 2, f.data(), block, false),
              -1);
  }
  EXPECT_EQ(opticalFK_Blur(nullptr, f.data(), f.data(), f.data(), 2, 2, f.data(), 5, true), -1);
}

}  // namespace
}  // namespace vantro::test

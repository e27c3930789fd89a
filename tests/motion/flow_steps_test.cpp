// The steps of the optical flow against their formulas written out pixel by pixel, bit for bit.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>

#include "tests/image/image_buffers.h"
#include "tests/support/log_capture.h"
#include "tests/support/simd_levels.h"
#include "vantro/motion.h"

namespace vantro::test {
namespace {

using Floats = std::vector<float>;
using Five = std::array<float, 5>;

size_t Index(int x, int y, int width) { return Area(width, y) + static_cast<size_t>(x); }

Five RecordAt(const Floats& values, size_t pixel) {
  Five record;
  std::copy_n(values.begin() + static_cast<ptrdiff_t>(5 * pixel), 5, record.begin());
  return record;
}

void PutRecord(Floats& values, size_t pixel, const Five& record) {
  std::copy(record.begin(), record.end(), values.begin() + static_cast<ptrdiff_t>(5 * pixel));
}

// Weights for reach 7 and sigma 1.5, offsets 0 to 7.
constexpr size_t kReach = 7;
constexpr float kG[] = {0.265962f, 0.212965f, 0.10934f,  0.035994f,
                        0.007597f, 0.001028f, 0.000089f, 0.000005f};
constexpr float kXg[] = {0.0f,      0.212965f, 0.21868f,  0.107982f,
                         0.030389f, 0.005141f, 0.000535f, 0.000035f};
constexpr float kXxg[] = {0.0f,      0.212965f, 0.43736f,  0.323946f,
                          0.121557f, 0.025705f, 0.003212f, 0.000243f};
constexpr float kIg11 = 0.44444892f;
constexpr float kIg03 = -0.22225043f;
constexpr float kIg33 = 0.09877902f;
constexpr float kIg55 = 0.19753471f;

float Attenuation(int x, int y, int width, int height) {
  static constexpr float kTable[] = {0.14f, 0.14f, 0.4472f, 0.4472f, 0.4472f};
  float product = 1;
  for (const int distance : {x, width - 1 - x, y, height - 1 - y}) {
    if (distance < 5) product *= kTable[distance];
  }
  return product;
}

void RefreshTerms(const Floats& r0, const Floats& r1, const Floats& flow, int width, int height,
                  int first_row, int end_row, Floats* terms) {
  for (int y = first_row; y < end_row; ++y) {
    for (int x = 0; x < width; ++x) {
      const size_t pixel = Index(x, y, width);
      const float dx = flow[2 * pixel], dy = flow[2 * pixel + 1];
      const Five first = RecordAt(r0, pixel);
      const float fx = static_cast<float>(x) + dx, fy = static_cast<float>(y) + dy;
      const float left = std::floor(fx), top = std::floor(fy);
      float r2 = 0, r3 = 0, r4 = first[2], r5 = first[3], r6 = first[4] / 2;
      if (left >= 0 && left < static_cast<float>(width - 1) && top >= 0 &&
          top < static_cast<float>(height - 1)) {
        const float ax = fx - left, ay = fy - top;
        const size_t near = Index(static_cast<int>(left), static_cast<int>(top), width);
        const size_t below = near + static_cast<size_t>(width);
        Five second;
        for (size_t j = 0; j < 5; ++j) {
          second[j] = (1 - ax) * (1 - ay) * r1[5 * near + j] +
                      ax * (1 - ay) * r1[5 * near + 5 + j] + (1 - ax) * ay * r1[5 * below + j] +
                      ax * ay * r1[5 * below + 5 + j];
        }
        r2 = second[0];
        r3 = second[1];
        r4 = (first[2] + second[2]) / 2;
        r5 = (first[3] + second[3]) / 2;
        r6 = (first[4] + second[4]) / 4;
      }
      r2 = (first[0] - r2) / 2 + r4 * dy + r6 * dx;
      r3 = (first[1] - r3) / 2 + r6 * dy + r5 * dx;
      const float factor = Attenuation(x, y, width, height);
      for (float* r : {&r2, &r3, &r4, &r5, &r6}) *r *= factor;
      PutRecord(*terms, pixel,
                {r4 * r4 + r6 * r6, (r4 + r5) * r6, r5 * r5 + r6 * r6, r4 * r2 + r6 * r3,
                 r6 * r2 + r5 * r3});
    }
  }
}

// Five coefficients a pixel, for reach 7 and sigma 1.5.
Floats ExpandReference(const Floats& image, int width, int height) {
  const auto pixel = [&](int x, int y) {
    return image[Index(std::clamp(x, 0, width - 1), std::clamp(y, 0, height - 1), width)];
  };
  Floats result(5 * image.size());
  for (int y = 0; y < height; ++y) {
    // The three vertical moments of column x; columns beyond the image are its border columns.
    const auto moments = [&](int x) {
      std::array<float, 3> t = {pixel(x, y) * kG[0], 0, 0};
      for (size_t k = 1; k <= kReach; ++k) {
        const float above = pixel(x, y - static_cast<int>(k));
        const float below = pixel(x, y + static_cast<int>(k));
        t[0] += kG[k] * (above + below);
        t[1] += kXg[k] * (below - above);
        t[2] += kXxg[k] * (above + below);
      }
      return t;
    };
    for (int x = 0; x < width; ++x) {
      const std::array<float, 3> centre = moments(x);
      float b1 = centre[0] * kG[0], b3 = centre[1] * kG[0], b5 = centre[2] * kG[0];
      float b2 = 0, b4 = 0, b6 = 0;
      for (size_t k = 1; k <= kReach; ++k) {
        const std::array<float, 3> l = moments(x - static_cast<int>(k));
        const std::array<float, 3> r = moments(x + static_cast<int>(k));
        const float tg = r[0] + l[0];
        b1 = static_cast<float>(double{b1} + double{tg} * double{kG[k]});
        b4 = static_cast<float>(double{b4} + double{tg} * double{kXxg[k]});
        b2 += (r[0] - l[0]) * kXg[k];
        b3 += (r[1] + l[1]) * kG[k];
        b6 += (r[1] - l[1]) * kXg[k];
        b5 += (r[2] + l[2]) * kG[k];
      }
      PutRecord(
          result, Index(x, y, width),
          {b3 * kIg11, b2 * kIg11, b1 * kIg03 + b5 * kIg33, b1 * kIg03 + b4 * kIg33, b6 * kIg55});
    }
  }
  return result;
}

Floats TermsReference(const Floats& r0, const Floats& r1, const Floats& flow, int width,
                      int height) {
  Floats terms(r0.size());
  RefreshTerms(r0, r1, flow, width, height, 0, height, &terms);
  return terms;
}

// The field after one averaging step; `terms` are refreshed on the way if `r0` is not null.
Floats BoxReference(Floats* terms, int width, int height, int block, const Floats* r0,
                    const Floats* r1) {
  const int m = block / 2;
  const double scale = double{static_cast<float>(1.0 / (block * block))};
  Floats flow(2 * Index(0, height, width));
  std::vector<Five> columns(static_cast<size_t>(width));
  const auto term = [&](int x, int y, size_t j) {
    return (*terms)[5 * Index(x, std::clamp(y, 0, height - 1), width) + j];
  };
  const auto column = [&](int x) {
    return columns[static_cast<size_t>(std::clamp(x, 0, width - 1))];
  };
  for (int x = 0; x < width; ++x) {
    for (size_t j = 0; j < 5; ++j) {
      float& sum = columns[static_cast<size_t>(x)][j];
      sum = term(x, 0, j) * static_cast<float>(m + 2);
      for (int y = 1; y < m; ++y) sum += term(x, y, j);
    }
  }
  int refreshed = 0;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (size_t j = 0; j < 5; ++j) {
        columns[static_cast<size_t>(x)][j] += term(x, y + m, j) - term(x, y - m - 1, j);
      }
    }
    double sums[5];
    for (size_t j = 0; j < 5; ++j) {
      sums[j] = double{column(0)[j] * static_cast<float>(m + 2)};
      for (int x = 1; x < m; ++x) sums[j] += double{column(x)[j]};
    }
    for (int x = 0; x < width; ++x) {
      double a[5];
      for (size_t j = 0; j < 5; ++j) {
        sums[j] += double{column(x + m)[j] - column(x - m - 1)[j]};
        a[j] = sums[j] * scale;
      }
      const double idet = 1.0 / (a[0] * a[2] - a[1] * a[1] + 0.001);
      flow[2 * Index(x, y, width)] = static_cast<float>((a[0] * a[4] - a[1] * a[3]) * idet);
      flow[2 * Index(x, y, width) + 1] = static_cast<float>((a[2] * a[3] - a[1] * a[4]) * idet);
    }
    if (r0 == nullptr) continue;
    const int end = y == height - 1 ? height : y - block;
    if (end == height || end >= refreshed + std::max(1024 / width, block)) {
      RefreshTerms(*r0, *r1, flow, width, height, refreshed, end, terms);
      refreshed = end;
    }
  }
  return flow;
}

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
  for (const auto& [n, sigma] :
       {std::pair{7, 1.5}, std::pair{7, 1.6}, {1, 0.7}, {3, 0.0}, {12, 3.0}}) {
    Floats dst(5 * image.size()), row(static_cast<size_t>(3 * (kSide + 2 * n)));
    Guarded<float> kernel(Floats(static_cast<size_t>(6 * n + 3)));
    ASSERT_EQ(opticalFKPolyExp(image.data(), dst.data(), kernel.get(), row.data(), kSide, kSide, n,
                               sigma),
              0);
    const float* const at_centre = &dst[5 * (20 * kSide + 20)];
    constexpr float kExpected[] = {1.0f / 2, -1.0f / 4, 1.0f / 8, -1.0f / 16, 1.0f / 32};
    for (int j = 0; j < 5; ++j) EXPECT_NEAR(at_centre[j], kExpected[j], 2e-4f) << n << ": " << j;
    const Floats lines = kernel.values();
    const double used = sigma == 0.0 ? 0.3 * n : sigma;
    const size_t centre = static_cast<size_t>(n);
    EXPECT_NEAR(lines[centre + 1] / lines[centre], std::exp(-0.5 / (used * used)), 1e-4);
    EXPECT_NEAR(std::accumulate(lines.begin(), lines.begin() + 2 * n + 1, 0.0), 1.0, 1e-5);
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

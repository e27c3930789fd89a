// The steps of the optical flow against their formulas written out pixel by pixel, bit for bit.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <numeric>
#include <set>

#include "tests/image/image_buffers.h"
#include "tests/support/log_capture.h"
#include "tests/support/simd_levels.h"
#include "vantro/motion.h"

namespace vantro::test {
namespace {

// Weights for reach 7 and sigma 1.5, offsets 0 to 7.
constexpr int kReach = 7;
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

// The three vertical and then the five horizontal moments of a pixel, scaled, for every pixel.
Floats ExpandReference(const Floats& image, int width, int height) {
  const auto pixel = [&](int x, int y) {
    return image[Index(std::clamp(x, 0, width - 1), std::clamp(y, 0, height - 1), width)];
  };
  Floats result;
  for (int y = 0; y < height; ++y) {
    const auto moments = [&](int x) {
      std::array<float, 3> t = {pixel(x, y) * kG[0], 0, 0};
      for (int k = 1; k <= kReach; ++k) {
        const float above = pixel(x, y - k), below = pixel(x, y + k);
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
      for (int k = 1; k <= kReach; ++k) {
        const std::array<float, 3> l = moments(x - k), r = moments(x + k);
        const double both = double{r[0] + l[0]};
        b1 = static_cast<float>(double{b1} + both * double{kG[k]});
        b4 = static_cast<float>(double{b4} + both * double{kXxg[k]});
        b2 += (r[0] - l[0]) * kXg[k];
        b3 += (r[1] + l[1]) * kG[k];
        b6 += (r[1] - l[1]) * kXg[k];
        b5 += (r[2] + l[2]) * kG[k];
      }
      result.insert(result.end(), {b3 * kIg11, b2 * kIg11, b1 * kIg03 + b5 * kIg33,
                                   b1 * kIg03 + b4 * kIg33, b6 * kIg55});
    }
  }
  return result;
}

float Attenuation(int x, int y, int width, int height) {
  static constexpr float kTable[] = {0.14f, 0.14f, 0.4472f, 0.4472f, 0.4472f};
  float product = 1;
  for (const int distance : {x, width - 1 - x, y, height - 1 - y}) {
    if (distance < 5) product *= kTable[distance];
  }
  return product;
}

Floats TermsReference(const Floats& r0, const Floats& r1, const Floats& flow, int width,
                      int height) {
  Floats terms;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const size_t pixel = Index(x, y, width);
      const float* const first = &r0[5 * pixel];
      const float dx = flow[2 * pixel], dy = flow[2 * pixel + 1];
      const float fx = static_cast<float>(x) + dx, fy = static_cast<float>(y) + dy;
      const float left = std::floor(fx), top = std::floor(fy);
      float r[] = {0, 0, first[2], first[3], first[4] / 2};
      if (left >= 0 && left < static_cast<float>(width - 1) && top >= 0 &&
          top < static_cast<float>(height - 1)) {
        const float ax = fx - left, ay = fy - top;
        const float* const upper =
            &r1[5 * Index(static_cast<int>(left), static_cast<int>(top), width)];
        const float* const lower = upper + 5 * width;
        for (int j = 0; j < 5; ++j) {
          const float second = (1 - ax) * (1 - ay) * upper[j] + ax * (1 - ay) * upper[5 + j] +
                               (1 - ax) * ay * lower[j] + ax * ay * lower[5 + j];
          r[j] = j < 2 ? second : (first[j] + second) / (j < 4 ? 2 : 4);
        }
      }
      r[0] = (first[0] - r[0]) / 2 + r[2] * dy + r[4] * dx;
      r[1] = (first[1] - r[1]) / 2 + r[4] * dy + r[3] * dx;
      for (float& value : r) value *= Attenuation(x, y, width, height);
      terms.insert(terms.end(),
                   {r[2] * r[2] + r[4] * r[4], (r[2] + r[3]) * r[4], r[3] * r[3] + r[4] * r[4],
                    r[2] * r[0] + r[4] * r[1], r[4] * r[0] + r[3] * r[1]});
    }
  }
  return terms;
}

// The field that the averages of `terms` give.
Floats BoxReference(const Floats& terms, int width, int height, int block) {
  const int m = block / 2;
  const double scale = double{static_cast<float>(1.0 / (block * block))};
  std::vector<std::array<double, 5>> means(terms.size() / 5);
  for (size_t j = 0; j < 5; ++j) {
    const auto term = [&](int x, int y) {
      return terms[5 * Index(x, std::clamp(y, 0, height - 1), width) + j];
    };
    Floats columns;
    const auto column = [&](int x) {
      return columns[static_cast<size_t>(std::clamp(x, 0, width - 1))];
    };
    for (int x = 0; x < width; ++x) {
      columns.push_back(term(x, 0) * static_cast<float>(m + 2));
      for (int y = 1; y < m; ++y) columns.back() += term(x, y);
    }
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        columns[static_cast<size_t>(x)] += term(x, y + m) - term(x, y - m - 1);
      }
      double sum = double{column(0) * static_cast<float>(m + 2)};
      for (int x = 1; x < m; ++x) sum += double{column(x)};
      for (int x = 0; x < width; ++x) {
        sum += double{column(x + m) - column(x - m - 1)};
        means[Index(x, y, width)][j] = sum * scale;
      }
    }
  }
  Floats flow;
  for (const auto& a : means) {
    const double idet = 1.0 / (a[0] * a[2] - a[1] * a[1] + 0.001);
    flow.push_back(static_cast<float>((a[0] * a[4] - a[1] * a[3]) * idet));
    flow.push_back(static_cast<float>((a[2] * a[3] - a[1] * a[4]) * idet));
  }
  return flow;
}

// From one pixel to past a vector, a block and a stretch.
constexpr int kSides[][2] = {{1, 1}, {1, 9}, {2, 3}, {7, 7}, {16, 16}, {23, 10}, {140, 14}};

void ExpectExpansion(const Floats& image, int width, int height) {
  const Floats expected = ExpandReference(image, width, height);
  AtEverySimdLevel([&] {
    Floats dst(5 * image.size()), kernel(45), row(Area(3, width + 14));
    EXPECT_EQ(opticalFKPolyExp(image.data(), dst.data(), kernel.data(), row.data(), width, height,
                               7, 1.5),
              0);
    EXPECT_TRUE(SamePlanes(dst, expected, 5 * width));
  });
}

TEST(PolynomialExpansion, EqualsTheFormulaAtEverySizeAndLevel) {
  Random random(1);
  for (const auto& [width, height] : kSides) {
    // The range of a byte image's values but zeros, and values that no such image has.
    for (const float least : {1.0f, 0.0f, -255.0f}) {
      SCOPED_TRACE(testing::Message() << width << "x" << height << " from " << least);
      Floats image = random.Floats(Area(width, height), least, 255.0f);
      ExpectExpansion(image, width, height);
      std::fill_n(image.begin() + image.size() / 3, image.size() / 3, 0.0f);
      ExpectExpansion(image, width, height);
    }
  }
}

// Pixel 41 for the sum b1, pixel 20 for b4: there a sum that is rounded once, not to a double
// first, comes out differently.
TEST(PolynomialExpansion, RoundsToADoubleFirst) {
  Floats image(64);
  image[40] = 1.57557976f;
  image[41] = 58.9375f;
  image[13] = 1.0f;
  image[18] = 73.171875f;
  image[27] = 1.56668401f;
  ExpectExpansion(image, 64, 1);
}

// The fractions of all floats whose product with `weight`, counted in last places of a float sum,
// is not a multiple of a half but closer to one than half the last place of a double sum.
std::set<uint32_t> FractionsNearHalves(float weight) {
  std::set<uint32_t> found;
  int exponent;
  auto odd = static_cast<uint64_t>(std::ldexp(std::frexp(weight, &exponent), 24));
  const int zeros = std::countr_zero(odd);
  odd >>= zeros;
  uint64_t inverse = odd;  // modulo powers of two
  for (int i = 0; i < 5; ++i) inverse *= 2 - odd * inverse;
  // A product has 48 bits; the sum's last place is bit `place`.
  for (int place = 30; place < 50; ++place) {
    const uint64_t half = uint64_t{1} << (place - 1 - zeros);
    for (uint64_t near = 1; near <= (uint64_t{1} << (place - 30)) >> zeros; ++near) {
      for (const uint64_t off : {near, 0 - near}) {
        const uint64_t first = off * inverse % half;
        for (uint64_t i = first; i < 1 << 24; i += half) {
          if (i >= 1 << 23) found.insert(static_cast<uint32_t>(i) - (1 << 23));
        }
      }
    }
  }
  return found;
}

// What fused sums of byte images rest on.
TEST(PolynomialExpansion, OnlyTwoWeightsHaveProductsNearHalves) {
  for (size_t k = 1; k <= kReach; ++k) {
    EXPECT_EQ(FractionsNearHalves(kG[k]), k == 1 ? std::set{0x49AC7Fu} : std::set<uint32_t>());
    if (k == 1) continue;  // b4 is 0 until then
    EXPECT_EQ(FractionsNearHalves(kXxg[k]), k == 7 ? std::set{0x244478u} : std::set<uint32_t>());
  }
}

// With any weights the fit must find the polynomial that the image is.
TEST(PolynomialExpansion, FindsTheCoefficientsOfAQuadraticAtEveryReach) {
  constexpr int kSide = 41;
  Floats image;
  for (int i = 0; i < kSide * kSide; ++i) {
    const auto u = static_cast<float>(i % kSide - 20), v = static_cast<float>(i / kSide - 20);
    image.push_back(3 + v / 2 - u / 4 + v * v / 8 - u * u / 16 + u * v / 32);
  }
  for (const auto& [n, sigma] : {std::pair{7, 1.5}, {7, 1.6}, {1, 0.7}, {3, 0.0}, {12, 3.0}}) {
    Floats dst(5 * image.size()), row(Area(3, kSide + 2 * n)), kernel(Area(6, n) + 3);
    ASSERT_EQ(opticalFKPolyExp(image.data(), dst.data(), kernel.data(), row.data(), kSide, kSide, n,
                               sigma),
              0);
    const float* const at_centre = &dst[5 * Index(20, 20, kSide)];
    constexpr float kExpected[] = {1.0f / 2, -1.0f / 4, 1.0f / 8, -1.0f / 16, 1.0f / 32};
    for (int j = 0; j < 5; ++j) EXPECT_NEAR(at_centre[j], kExpected[j], 2e-4f) << n << ": " << j;
    const double used = sigma == 0.0 ? 0.3 * n : sigma;
    const float* const centre = &kernel[Area(n, 1)];
    EXPECT_NEAR(centre[1] / centre[0], std::exp(-0.5 / (used * used)), 1e-4);
    EXPECT_NEAR(std::accumulate(centre - n, centre + n + 1, 0.0), 1.0, 1e-5);
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
    const int width = columns, height = rows;  // clang does not let a lambda capture the binding
    SCOPED_TRACE(testing::Message() << width << "x" << height);
    const Floats r0 = random.Floats(5 * Area(width, height), -20.0f, 20.0f);
    const Floats r1 = random.Floats(5 * Area(width, height), -20.0f, 20.0f);
    const Floats flow = WildField(random, width, height);
    const Floats expected = WithoutNan(TermsReference(r0, r1, flow, width, height));
    AtEverySimdLevel([&] {
      Floats terms(r0.size(), -7.0f);
      EXPECT_EQ(opticalFKUpdateMatrices(r0.data(), r1.data(), flow.data(), width, height,
                                        terms.data(), 0, height),
                0);
      EXPECT_TRUE(SamePlanes(WithoutNan(terms), expected, 5 * width));
    });
  }
}

TEST(FlowMatrices, WriteOnlyTheRowsAskedForThatExist) {
  const Floats r = Random(4).Floats(5 * Area(20, 6), -20.0f, 20.0f);
  const Floats flow(2 * Area(20, 6), 0.25f);
  Floats expected = TermsReference(r, r, flow, 20, 6), terms(r.size(), -7.0f);
  std::fill_n(expected.begin(), 4 * 5 * 20, -7.0f);
  opticalFKUpdateMatrices(r.data(), r.data(), flow.data(), 20, 6, terms.data(), 4, 1000);
  opticalFKUpdateMatrices(r.data(), r.data(), flow.data(), 20, 6, terms.data(), -1000, 0);
  EXPECT_TRUE(SamePlanes(terms, expected, 100));
}

TEST(FlowBoxUpdate, EqualsTheFormulaAtEverySizeAndBlock) {
  Random random(5);
  for (const auto& [width, height] : kSides) {
    const Floats terms = random.Floats(5 * Area(width, height), -50.0f, 400.0f);
    const Floats r0 = random.Floats(terms.size(), -20.0f, 20.0f);
    const Floats r1 = random.Floats(terms.size(), -20.0f, 20.0f);
    for (const int block : {1, 2, 3, 5, 9, 30}) {
      const Floats expected = BoxReference(terms, width, height, block);
      for (const bool refresh : {false, true}) {
        SCOPED_TRACE(testing::Message()
                     << width << "x" << height << " block " << block << " refresh " << refresh);
        Guarded<float> m(terms), flow(Floats(expected.size(), -7.0f)), row(Floats(Area(5, width)));
        EXPECT_EQ(opticalFK_Blur(r0.data(), r1.data(), flow.get(), row.get(), width, height,
                                 m.get(), block, refresh),
                  0);
        EXPECT_TRUE(SamePlanes(flow.values(), expected, 2 * width));
        // Each row is refreshed from the finished field, once no square reads it any more.
        EXPECT_TRUE(SamePlanes(m.values(),
                               refresh ? TermsReference(r0, r1, expected, width, height) : terms,
                               5 * width));
      }
    }
  }
}

TEST(FlowBoxUpdate, LogsEveryRefresh) {
  Floats r(5 * Area(64, 40), 1.0f), m = r, flow(2 * Area(64, 40)), row(5 * 64);
  const LogCapture log;
  opticalFK_Blur(r.data(), r.data(), flow.data(), row.data(), 64, 40, m.data(), 5, true);
  // At least 16 rows each: after row 21, after row 37, and the rest after the last one.
  EXPECT_EQ(log.lines(),
            std::vector<LogLine>(3, {4, "VANTRO", "[VANTRO] enter opticalFK_Blur()\n"}));
}

TEST(FlowSteps, RefuseMissingBuffersAndEmptySizes) {
  Floats values(500);
  float* const f = values.data();
  EXPECT_EQ(opticalFKPolyExp(nullptr, f, f, f, 2, 2, 1, 1.0), -1);
  EXPECT_EQ(opticalFKPolyExp(f, f, f, f, 0, 2, 1, 1.0), -1);
  EXPECT_EQ(opticalFKPolyExp(f, f, f, f, 2, 2, -1, 1.0), -1);
  EXPECT_EQ(opticalFKUpdateMatrices(f, nullptr, f, 2, 2, f, 0, 2), -1);
  EXPECT_EQ(opticalFKUpdateMatrices(f, f, f, 2, 0, f, 0, 2), -1);
  EXPECT_EQ(opticalFK_Blur(nullptr, f, f, f, 2, 2, f, 5, true), -1);
  for (const int block : {0, -3, 4096, std::numeric_limits<int>::max()}) {
    EXPECT_EQ(opticalFK_Blur(f, f, f, f, 2, 2, f, block, false), -1);
  }
}

}  // namespace
}  // namespace vantro::test

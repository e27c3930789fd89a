// Float planes and three-byte colour against their formulas.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/image/image_buffers.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/log_capture.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

using Floats = std::vector<float>;

std::vector<Sizes> RandomSizes(Random& random) {
  std::vector<Sizes> sizes = {{1, 1, 1, 1, 1}, {1, 1, 1, 2, 2},   {1, 3, 1, 2, 6}, {3, 1, 3, 6, 2},
                              {2, 2, 2, 4, 4}, {7, 5, 7, 14, 10}, {8, 6, 8, 4, 3}, {2, 2, 2, 1, 1},
                              {1, 1, 1, 9, 9}, {3, 3, 3, 1000, 2}};
  for (int i = 0; i < 40; ++i) {
    const int width = random.Int(1, 40);
    sizes.push_back({width, random.Int(1, 20), width, random.Int(1, 60), random.Int(1, 20)});
  }
  return sizes;
}

// What one destination pixel is made of.
struct Source {
  const Floats& values;
  Sizes sizes;
  float At(int64_t x, int64_t y) const {
    x = std::min<int64_t>(x, sizes.src_width - 1);
    y = std::min<int64_t>(y, sizes.src_height - 1);
    return values[static_cast<size_t>(y * sizes.src_width + x)];
  }
};

using FloatResize = const float* (*)(const float*, float*, int, int, int, int);

template <typename Rule>
void ExpectEveryPixel(FloatResize resize, unsigned seed, float low, float high, Rule rule) {
  Random random(seed);
  for (const Sizes& s : RandomSizes(random)) {
    SCOPED_TRACE(s);
    const Floats src = random.Floats(Area(s.src_width, s.src_height), low, high);
    Floats expected;
    for (int y = 0; y < s.dst_height; ++y) {
      for (int x = 0; x < s.dst_width; ++x) expected.push_back(rule(Source{src, s}, x, y));
    }
    Guarded<float> from(src);
    Guarded<float> to(Floats(expected.size()));
    EXPECT_EQ(resize(from.get(), to.get(), s.src_width, s.src_height, s.dst_width, s.dst_height),
              from.get());
    EXPECT_TRUE(SamePlanes(to.values(), expected, s.dst_width));
  }
}

float Ratio(int a, int b) { return static_cast<float>(a) / static_cast<float>(b); }

// Position `index` of an axis by repeated single-precision additions.
float Accumulated(float step, int index) {
  float position = 0.0f;
  for (int i = 0; i < index; ++i) position += step;
  return position;
}

TEST(FloatResize, SecureRoundsToSinglePrecisionAfterEachTerm) {
  ExpectEveryPixel(&Resize_secure, 1, -1000.0f, 1000.0f, [](const Source& src, int x, int y) {
    const Sizes& s = src.sizes;
    const double fx =
        std::min(static_cast<double>(Ratio(s.src_width, s.dst_width)) * x, s.src_width - 1.0);
    const double fy =
        std::min(static_cast<double>(Ratio(s.src_height, s.dst_height)) * y, s.src_height - 1.0);
    const auto x0 = static_cast<int>(fx), y0 = static_cast<int>(fy);
    const double ax = fx - x0, ay = fy - y0;
    float sum = 0;
    sum = static_cast<float>(sum + (1 - ax) * (1 - ay) * src.At(x0, y0));
    sum = static_cast<float>(sum + (1 - ax) * ay * src.At(x0, y0 + 1));
    sum = static_cast<float>(sum + ax * (1 - ay) * src.At(x0 + 1, y0));
    sum = static_cast<float>(sum + ax * ay * src.At(x0 + 1, y0 + 1));
    return sum;
  });
}

TEST(FloatResize, BilinearByItsThreeRules) {
  ExpectEveryPixel(
      &resizeFloat_Bilinear, 2, -1000.0f, 1000.0f, [](const Source& src, int x, int y) {
        const Sizes& s = src.sizes;
        if (s.dst_width * 2 == s.src_width && s.dst_height * 2 == s.src_height) {
          return (src.At(2 * x, 2 * y) + src.At(2 * x + 1, 2 * y) + src.At(2 * x, 2 * y + 1) +
                  src.At(2 * x + 1, 2 * y + 1)) *
                 0.25f;
        }
        if (s.src_width * 2 == s.dst_width && s.src_height * 2 == s.dst_height) {
          const int c = std::max(0, std::min(std::max((x - 1) >> 1, 0), s.dst_width / 2 - 2));
          const int r = std::max(0, std::min(std::max((y - 1) >> 1, 0), s.dst_height / 2 - 2));
          const float left = x % 2 != 0 ? 0.75f : 0.25f, right = 1.0f - left;
          const float upper = y % 2 != 0 ? 0.75f : 0.25f, lower = 1.0f - upper;
          return src.At(c, r) * upper * left + src.At(c + 1, r) * upper * right +
                 src.At(c, r + 1) * lower * left + src.At(c + 1, r + 1) * lower * right;
        }
        const float px = Accumulated(Ratio(s.src_width, s.dst_width), x);
        const float py = Accumulated(Ratio(s.src_height, s.dst_height), y);
        const auto x0 = static_cast<int>(px), y0 = static_cast<int>(py);
        const float ax = px - static_cast<float>(x0), ay = py - static_cast<float>(y0);
        const float p00 = src.At(x0, y0), p01 = src.At(x0 + 1, y0);
        const float p10 = src.At(x0, y0 + 1), p11 = src.At(x0 + 1, y0 + 1);
        return ay * ax * p11 +
               ((1 - ax) * (ay * p10) + ((1 - ay) * (ax * p01) + (1 - ay) * (p00 * (1 - ax))));
      });
}

constexpr float kInvalid = -5.0f;

const float* ResizeDisparity(const float* src, float* dst, int a, int b, int c, int d) {
  return resizeSpareDisparityNearest(src, dst, a, b, c, d, kInvalid);
}

TEST(FloatResize, DisparityIsScaledAndInvalidKept) {
  ExpectEveryPixel(&ResizeDisparity, 3, -6.0f, 1.0f, [](const Source& src, int x, int y) {
    const Sizes& s = src.sizes;
    const float px = Accumulated(Ratio(s.src_width, s.dst_width), x);
    const float py = Accumulated(Ratio(s.src_height, s.dst_height), y);
    const float sample =
        src.At(static_cast<int>(std::floor(px + 0.5)), static_cast<int>(std::floor(py + 0.5)));
    return sample - kInvalid < 0.1 ? kInvalid : sample * Ratio(s.dst_width, s.src_width);
  });
}

TEST(FloatResize, NearestCopiesPairsBitForBit) {
  Random random(4);
  for (const Sizes& s : RandomSizes(random)) {
    SCOPED_TRACE(s);
    // Any bits, signalling NaNs included.
    Bytes bits = random.Noise(Area(8, int64_t{s.src_width} * s.src_height));
    bits[0] = 1;
    bits[1] = bits[2] = 0x80;
    bits[3] = 0x7F;
    Bytes expected;
    for (int y = 0; y < s.dst_height; ++y) {
      for (int x = 0; x < s.dst_width; ++x) {
        const auto column =
            static_cast<int>(Ratio(s.src_width, s.dst_width) * static_cast<float>(x));
        const auto row =
            static_cast<int>(Ratio(s.src_height, s.dst_height) * static_cast<float>(y));
        const auto pair = bits.begin() + 8 * (row * s.src_width + column);
        expected.insert(expected.end(), pair, pair + 8);
      }
    }
    Guarded<uint8_t> from(bits);
    Guarded<uint8_t> to(Bytes(expected.size()));
    resizeFloat_Nearest_2Ch(reinterpret_cast<float*>(from.get()),
                            reinterpret_cast<float*>(to.get()), s.src_width, s.src_height,
                            s.dst_width, s.dst_height);
    EXPECT_TRUE(SamePlanes(to.values(), expected, 8 * s.dst_width));
  }
}

Bytes ExpectedColour(const Bytes& src, const Sizes& s) {
  const float sx = Ratio(s.src_width, s.dst_width), sy = Ratio(s.src_height, s.dst_height);
  Bytes expected;
  for (int y = 0; y < s.dst_height; ++y) {
    for (int x = 0; x < s.dst_width; ++x) {
      const float fx = sx * static_cast<float>(x), fy = sy * static_cast<float>(y);
      const auto x0 = static_cast<int>(fx), y0 = static_cast<int>(fy);
      const float ax = fx - static_cast<float>(x0), ay = fy - static_cast<float>(y0);
      for (size_t channel = 0; channel < 3; ++channel) {
        const auto at = [&](int column, int row) -> float {
          column = std::min(column, s.src_width - 1);
          row = std::min(row, s.src_height - 1);
          return src[Area(3, int64_t{row} * s.src_width + column) + channel];
        };
        const float p00 = at(x0, y0), p01 = at(x0 + 1, y0);
        const float p10 = at(x0, y0 + 1), p11 = at(x0 + 1, y0 + 1);
        const float value = ay * ax * p11 + ((1 - ay) * ((1 - ax) * p00) + (1 - ay) * (ax * p01) +
                                             (1 - ax) * (ay * p10));
        expected.push_back(static_cast<uint8_t>(value));
      }
    }
  }
  return expected;
}

TEST(ColourResize, EqualsTheFormulaWithAndWithoutItsTable) {
  Random random(5);
  for (const Sizes& s : RandomSizes(random)) {
    SCOPED_TRACE(s);
    const Bytes src = random.Noise(Area(3 * s.src_width, s.src_height));
    const Bytes expected = ExpectedColour(src, s);
    for (int fail_at : {-1, 0}) {
      Guarded<uint8_t> from(src);
      Guarded<uint8_t> to(Bytes(expected.size()));
      FailingMalloc heap(fail_at);
      resizeUcharRGB(from.get(), to.get(), s.src_width, s.src_height, s.dst_width, s.dst_height);
      EXPECT_EQ(heap.live(), 0);
      EXPECT_TRUE(SamePlanes(to.values(), expected, 3 * s.dst_width));
    }
  }
}

TEST(ColourResize, TakesOneTrackedTableAChannelAndLogsAMissingWidth) {
  const Bytes src(27, 9);
  Bytes dst(48, 7);
  LogCapture log;
  resizeUcharRGBChl(src.data(), dst.data(), 3, 3, 4, 4);
  EXPECT_TRUE(log.contains("Malloc 32  name:resizeUcharChl"));
  EXPECT_EQ(log.lines().size(), 3u);
  for (size_t i = 0; i < dst.size(); ++i) EXPECT_EQ(dst[i], i % 3 == 0 ? 9 : 7);

  log.clear();
  const LogLine warning = {5, "VANTRO", "dstW <= 0"};
  resizeUcharRGBChl(nullptr, nullptr, 3, 3, 0, 4);
  resizeUcharRGB(src.data(), dst.data(), 3, 3, -1, 4);
  EXPECT_THAT(log.lines(), testing::ElementsAre(warning, warning, warning, warning));
}

}  // namespace
}  // namespace vantro::test

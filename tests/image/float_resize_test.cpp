// Float planes and three-byte colour against their formulas.

#include <gtest/gtest.h>

#include <cmath>

#include "tests/image/resize_reference.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/log_capture.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

using Floats = std::vector<float>;

float Ratio(int a, int b) { return static_cast<float>(a) / static_cast<float>(b); }

// Position `index` of an axis by repeated single-precision additions.
float Accumulated(float step, int index) {
  float position = 0.0f;
  for (int i = 0; i < index; ++i) position += step;
  return position;
}

// What destination pixels are made of.
struct Source {
  const Floats& values;
  Sizes sizes;

  float At(int64_t x, int64_t y) const {
    x = std::min<int64_t>(x, sizes.src_width - 1);
    y = std::min<int64_t>(y, sizes.src_height - 1);
    return values[static_cast<size_t>(y * sizes.src_width + x)];
  }
  float step_x() const { return Ratio(sizes.src_width, sizes.dst_width); }
  float step_y() const { return Ratio(sizes.src_height, sizes.dst_height); }
};

using FloatResize = const float* (*)(const float*, float*, int, int, int, int);

template <typename Rule>
void ExpectEveryPixel(FloatResize resize, unsigned seed, float low, float high, Rule rule) {
  Random random(seed);
  for (const Sizes& s : RandomSizes(random)) {
    SCOPED_TRACE(s);
    const Floats src = random.Floats(Area(s.src_width, s.src_height), low, high);
    const Source source = {src, s};
    const Floats expected =
        PlaneOf<float>(s.dst_width, s.dst_height, [&](int x, int y) { return rule(source, x, y); });
    Guarded<float> from(src);
    Guarded<float> to(Floats(expected.size()));
    EXPECT_EQ(resize(from.get(), to.get(), s.src_width, s.src_height, s.dst_width, s.dst_height),
              from.get());
    EXPECT_TRUE(SamePlanes(to.values(), expected, s.dst_width));
  }
}

TEST(FloatResize, SecureRoundsToSinglePrecisionAfterEachTerm) {
  ExpectEveryPixel(&Resize_secure, 1, -1000.0f, 1000.0f, [](const Source& src, int x, int y) {
    const double fx = std::min(double{src.step_x()} * x, src.sizes.src_width - 1.0);
    const double fy = std::min(double{src.step_y()} * y, src.sizes.src_height - 1.0);
    const auto x0 = static_cast<int>(fx), y0 = static_cast<int>(fy);
    const double ax = fx - x0, ay = fy - y0;
    float sum = 0;
    for (const double term :
         {(1 - ax) * (1 - ay) * src.At(x0, y0), (1 - ax) * ay * src.At(x0, y0 + 1),
          ax * (1 - ay) * src.At(x0 + 1, y0), ax * ay * src.At(x0 + 1, y0 + 1)}) {
      sum = static_cast<float>(sum + term);
    }
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
          const int c = std::max(0, std::min((x - 1) >> 1, s.src_width - 2));
          const int r = std::max(0, std::min((y - 1) >> 1, s.src_height - 2));
          const float left = x % 2 != 0 ? 0.75f : 0.25f, right = 1.0f - left;
          const float upper = y % 2 != 0 ? 0.75f : 0.25f, lower = 1.0f - upper;
          return src.At(c, r) * upper * left + src.At(c + 1, r) * upper * right +
                 src.At(c, r + 1) * lower * left + src.At(c + 1, r + 1) * lower * right;
        }
        const float px = Accumulated(src.step_x(), x), py = Accumulated(src.step_y(), y);
        const auto x0 = static_cast<int>(px), y0 = static_cast<int>(py);
        const float ax = px - static_cast<float>(x0), ay = py - static_cast<float>(y0);
        const float p00 = src.At(x0, y0), p01 = src.At(x0 + 1, y0);
        const float p10 = src.At(x0, y0 + 1), p11 = src.At(x0 + 1, y0 + 1);
        return ay * ax * p11 +
               ((1 - ax) * (ay * p10) + ((1 - ay) * (ax * p01) + (1 - ay) * (p00 * (1 - ax))));
      });
}

TEST(FloatResize, DisparityIsScaledAndInvalidKept) {
  constexpr float kInvalid = -5.0f;
  const FloatResize resize = [](const float* src, float* dst, int a, int b, int c, int d) {
    return resizeSpareDisparityNearest(src, dst, a, b, c, d, kInvalid);
  };
  ExpectEveryPixel(resize, 3, -6.0f, 1.0f, [](const Source& src, int x, int y) {
    const auto nearest = [](float step, int i) {
      return static_cast<int>(std::floor(Accumulated(step, i) + 0.5));
    };
    const float sample = src.At(nearest(src.step_x(), x), nearest(src.step_y(), y));
    return sample - kInvalid < 0.1 ? kInvalid
                                   : sample * Ratio(src.sizes.dst_width, src.sizes.src_width);
  });
}

TEST(FloatResize, NearestCopiesPairsBitForBit) {
  Random random(4);
  for (const Sizes& s : RandomSizes(random)) {
    SCOPED_TRACE(s);
    // Any bits, signalling NaNs included.
    Bytes bits = random.Noise(Area(8 * s.src_width, s.src_height));
    bits[0] = 1;
    bits[1] = bits[2] = 0x80;
    bits[3] = 0x7F;
    const Bytes expected = PlaneOf(8 * s.dst_width, s.dst_height, [&](int byte, int y) {
      const auto at = [](int a, int b, int i) {
        return static_cast<int>(Ratio(a, b) * static_cast<float>(i));
      };
      const int pair =
          at(s.src_height, s.dst_height, y) * s.src_width + at(s.src_width, s.dst_width, byte / 8);
      return bits[Area(8, pair) + static_cast<size_t>(byte % 8)];
    });
    Guarded<uint8_t> from(bits);
    Guarded<uint8_t> to(Bytes(expected.size()));
    resizeFloat_Nearest_2Ch(reinterpret_cast<float*>(from.get()),
                            reinterpret_cast<float*>(to.get()), s.src_width, s.src_height,
                            s.dst_width, s.dst_height);
    EXPECT_TRUE(SamePlanes(to.values(), expected, 8 * s.dst_width));
  }
}

TEST(ColourResize, EqualsTheFormulaWithAndWithoutItsTable) {
  Random random(5);
  for (const Sizes& s : RandomSizes(random)) {
    SCOPED_TRACE(s);
    const Bytes src = random.Noise(Area(3 * s.src_width, s.src_height));
    const Bytes expected = PlaneOf(3 * s.dst_width, s.dst_height, [&](int byte, int y) {
      const Plane channel = {src.data() + byte % 3, s.src_width, s.src_height, 3 * s.src_width, 3};
      const float fx = Ratio(s.src_width, s.dst_width) * static_cast<float>(byte / 3);
      const float fy = Ratio(s.src_height, s.dst_height) * static_cast<float>(y);
      const auto x0 = static_cast<int>(fx), y0 = static_cast<int>(fy);
      const float ax = fx - static_cast<float>(x0), ay = fy - static_cast<float>(y0);
      const float p00 = channel.At(x0, y0), p01 = channel.At(x0 + 1, y0);
      const float p10 = channel.At(x0, y0 + 1), p11 = channel.At(x0 + 1, y0 + 1);
      return ay * ax * p11 +
             ((1 - ay) * ((1 - ax) * p00) + (1 - ay) * (ax * p01) + (1 - ax) * (ay * p10));
    });
    for (int fail_at : {-1, 0}) {
      Guarded<uint8_t> from(src);
      Guarded<uint8_t> to(Bytes(expected.size()));
      FailingMalloc heap(fail_at);
      resizeUcharRGB(from.get(), to.get(), s.src_width, s.src_height, s.dst_width, s.dst_height);
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
  resizeUcharRGBChl(nullptr, nullptr, 3, 3, 0, 4);
  resizeUcharRGB(src.data(), dst.data(), 3, 3, -1, 4);
  EXPECT_EQ(log.lines(), std::vector<LogLine>(4, {5, "VANTRO", "dstW <= 0"}));
}

}  // namespace
}  // namespace vantro::test

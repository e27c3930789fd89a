// Float planes and three-byte colour against their formulas.

#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "tests/image/resize_reference.h"
#include "tests/support/log_capture.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

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

  float At(int x, int y) const {
    return values[Index(std::min(x, sizes.src_width - 1), std::min(y, sizes.src_height - 1),
                        sizes.src_width)];
  }
  float step_x() const { return Ratio(sizes.src_width, sizes.dst_width); }
  float step_y() const { return Ratio(sizes.src_height, sizes.dst_height); }
};

// The four samples around a position, and what it lies behind the first by.
struct Corners {
  float p00, p01, p10, p11, ax, ay;

  template <typename At>
  Corners(float fx, float fy, At at) {
    const auto x = static_cast<int>(fx), y = static_cast<int>(fy);
    p00 = at(x, y), p01 = at(x + 1, y), p10 = at(x, y + 1), p11 = at(x + 1, y + 1);
    ax = fx - static_cast<float>(x), ay = fy - static_cast<float>(y);
  }
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
    ExpectPlane(src, Floats(expected.size()), expected, s.dst_width, [&](float* from, float* to) {
      EXPECT_EQ(resize(from, to, s.src_width, s.src_height, s.dst_width, s.dst_height), from);
    });
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
        const Corners c(Accumulated(src.step_x(), x), Accumulated(src.step_y(), y),
                        [&](int column, int row) { return src.At(column, row); });
        return c.ay * c.ax * c.p11 +
               ((1 - c.ax) * (c.ay * c.p10) +
                ((1 - c.ay) * (c.ax * c.p01) + (1 - c.ay) * (c.p00 * (1 - c.ax))));
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
    std::copy_n(std::to_array<uint8_t>({1, 0x80, 0x80, 0x7F}).begin(), 4, bits.begin());
    const Bytes expected = PlaneOf(8 * s.dst_width, s.dst_height, [&](int byte, int y) {
      const int row = static_cast<int>(Ratio(s.src_height, s.dst_height) * static_cast<float>(y));
      const int pair =
          static_cast<int>(Ratio(s.src_width, s.dst_width) * static_cast<float>(byte / 8));
      return bits[Index(8 * pair + byte % 8, row, 8 * s.src_width)];
    });
    ExpectPlane(bits, Bytes(expected.size()), expected, 8 * s.dst_width, [&](auto* src, auto* dst) {
      resizeFloat_Nearest_2Ch(reinterpret_cast<float*>(src), reinterpret_cast<float*>(dst),
                              s.src_width, s.src_height, s.dst_width, s.dst_height);
    });
  }
}

TEST(ColourResize, EqualsTheFormula) {
  Random random(5);
  for (const Sizes& s : RandomSizes(random)) {
    SCOPED_TRACE(s);
    const Bytes src = random.Noise(Area(3 * s.src_width, s.src_height));
    const Bytes expected = PlaneOf(3 * s.dst_width, s.dst_height, [&](int byte, int y) {
      const Plane channel = {src.data() + byte % 3, s.src_width, s.src_height, 3 * s.src_width, 3};
      const Corners c(Ratio(s.src_width, s.dst_width) * static_cast<float>(byte / 3),
                      Ratio(s.src_height, s.dst_height) * static_cast<float>(y),
                      [&](int column, int row) { return channel.At(column, row); });
      return c.ay * c.ax * c.p11 + ((1 - c.ay) * ((1 - c.ax) * c.p00) +
                                    (1 - c.ay) * (c.ax * c.p01) + (1 - c.ax) * (c.ay * c.p10));
    });
    ExpectPlane(src, Bytes(expected.size()), expected, 3 * s.dst_width, [&](auto* from, auto* to) {
      resizeUcharRGB(from, to, s.src_width, s.src_height, s.dst_width, s.dst_height);
    });
  }
}

TEST(ColourResize, TakesOneTrackedTableAChannelAndLogsAMissingWidth) {
  const Bytes src(27, 9);
  Bytes dst(48, 7);
  LogCapture log;
  resizeUcharRGBChl(src.data(), dst.data(), 3, 3, 4, 4);
  EXPECT_TRUE(log.contains("Malloc 32  name:resizeUcharChl"));
  for (size_t i = 0; i < dst.size(); ++i) EXPECT_EQ(dst[i], i % 3 == 0 ? 9 : 7);
  log.clear();
  resizeUcharRGBChl(nullptr, nullptr, 3, 3, 0, 4);
  resizeUcharRGB(src.data(), dst.data(), 3, 3, -1, 4);
  EXPECT_EQ(log.lines(), std::vector<LogLine>(4, {5, "VANTRO", "dstW <= 0"}));
}

}  // namespace
}  // namespace vantro::test

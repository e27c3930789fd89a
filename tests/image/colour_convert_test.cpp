// Colour conversion: single colours, and planes against the single-pixel functions.

#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "tests/image/image_buffers.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

using Triple = std::array<int, 3>;

Triple Of(RGBCOLOR c) { return {c.red, c.green, c.blue}; }
Triple Of(YUVCOLOR c) { return {c.y, c.u, c.v}; }
Triple Of(HSVCOLOR c) { return {c.hue, c.saturation, c.value}; }

int FloorDiv(int value, int divisor) {
  return static_cast<int>(std::floor(static_cast<double>(value) / divisor));
}
int Limit(int value) { return std::min(std::max(value, 0), 255); }

TEST(SinglePixel, EveryYuvTriple) {
  for (int y = 0; y < 256; y += 3) {
    for (int u = 0; u < 256; ++u) {
      for (int v = 0; v < 256; ++v) {
        const int du = u - 128, dv = v - 128;
        const Triple expected = {Limit(y + dv + FloorDiv(103 * dv, 256)),
                                 Limit(y + FloorDiv(-44 * du, 128) + FloorDiv(-91 * dv, 128)),
                                 Limit(y + du + FloorDiv(99 * du, 128))};
        const auto byte = [](int value) { return static_cast<uint8_t>(value); };
        ASSERT_EQ(Of(yuvTorgb(byte(y), byte(u), byte(v))), expected) << y << "," << u << "," << v;
        ASSERT_EQ(Of(rgbToyuv(byte(y), byte(u), byte(v))),
                  (Triple{FloorDiv(77 * y + 150 * u + 29 * v, 256),
                          FloorDiv(-43 * y - 85 * u + 128 * v, 256) + 128,
                          FloorDiv(128 * y - 107 * u - 21 * v, 256) + 128}));
      }
    }
  }
  EXPECT_EQ(Of(yuvTorgb(255, 128, 128)), (Triple{255, 255, 255}));
  EXPECT_EQ(rgbToyuv(0, 0, 255).u, 255);
  EXPECT_EQ(rgbToyuv(255, 255, 0).u, 0);
}

TEST(SinglePixel, HueSectorsAndTies) {
  EXPECT_EQ(Of(RgbToHsv({90, 90, 90})), (Triple{0, 0, 90}));
  EXPECT_EQ(Of(RgbToHsv({255, 0, 1})), (Triple{360, 255, 255}));
  EXPECT_EQ(Of(RgbToHsv({200, 100, 50})), (Triple{20, 191, 200}));
  EXPECT_EQ(Of(RgbToHsv({200, 50, 100})), (Triple{340, 191, 200}));
  EXPECT_EQ(Of(RgbToHsv({50, 200, 100})), (Triple{140, 191, 200}));
  EXPECT_EQ(Of(RgbToHsv({100, 50, 200})), (Triple{260, 191, 200}));
  EXPECT_EQ(Of(RgbToHsv({200, 200, 0})), (Triple{60, 255, 200}));   // red before green
  EXPECT_EQ(Of(RgbToHsv({200, 0, 200})), (Triple{300, 255, 200}));  // red before blue
  EXPECT_EQ(Of(RgbToHsv({0, 200, 200})), (Triple{180, 255, 200}));  // green before blue
}

TEST(SinglePixel, HsvBackToRgb) {
  for (int hue : {0, 59, 60, 200, 359, 360, -30}) {
    EXPECT_EQ(Of(HsvToRgb({hue, 0, 77})), (Triple{77, 77, 77}));
  }
  const int v = 200, s = 191, p = (255 - s) * v / 255;
  const auto rising = [&](int part) { return (255 - s + s * part / 60) * v / 255; };
  EXPECT_EQ(Of(HsvToRgb({20, s, v})), (Triple{v, rising(20), p}));
  for (int sector = 0; sector < 6; ++sector) {
    const int hue = sector * 60 + 25;
    const int ramp = s * hue / 60 - sector * s;
    const int q = (255 - ramp) * v / 255, t = (255 - s + ramp) * v / 255;
    const Triple expected[] = {{v, t, p}, {q, v, p}, {p, v, t}, {p, q, v}, {t, p, v}, {v, p, q}};
    EXPECT_EQ(Of(HsvToRgb({hue, s, v})), expected[sector]) << hue;
  }
  // A negative remainder takes the last arrangement; values above 255 are limited, below 0 not.
  const int ramp = 100 * -70 / 60 + 100;
  EXPECT_EQ(Of(HsvToRgb({-70, 100, 80})), (Triple{80, 155 * 80 / 255, (255 - ramp) * 80 / 255}));
  EXPECT_EQ(Of(HsvToRgb({30, 300, 300})), (Triple{255, 105 * 300 / 255, -45 * 300 / 255}));
}

TEST(SinglePixel, HostileRecordsStayDefined) {
  constexpr int32_t kLow = INT32_MIN, kHigh = INT32_MAX;
  EXPECT_EQ(RgbToHsv({kLow, kLow, 0}).value, 0);
  EXPECT_EQ(RgbToHsv({kHigh, kLow, kLow}).value, kHigh);
  for (int32_t h : {kLow, -1, kHigh}) {
    for (int32_t s : {kLow, kHigh}) EXPECT_LE(HsvToRgb({h, s, kHigh}).red, 255);
  }
}

// The rest compares planes. Sizes around every vector length, odd ones included.
struct Size {
  int width;
  int height;
  int stride;
};

std::vector<Size> PlaneSizes(Random& random) {
  std::vector<Size> sizes = {{1, 1, 1}, {1, 4, 2}, {2, 1, 2}, {2, 2, 2}, {3, 3, 3}, {7, 5, 7}};
  for (int i = 0; i < 40; ++i) {
    const int width = random.Int(1, 300);
    sizes.push_back({width, random.Int(1, 6), width + random.Int(0, 2) * random.Int(0, 9)});
  }
  return sizes;
}

std::ostream& operator<<(std::ostream& out, const Size& s) {
  return out << s.width << "/" << s.stride << "x" << s.height;
}

using Yuv = std::array<uint8_t, 3>;

// Rows of three bytes a pixel of the luma and chroma that yuv(x, y) gives.
template <typename Pixel>
Bytes BgrOf(const Size& s, Pixel yuv) {
  Bytes bgr;
  for (int y = 0; y < s.height; ++y) {
    for (int x = 0; x < s.width; ++x) {
      const Yuv from = yuv(x, y);
      const RGBCOLOR c = yuvTorgb(from[0], from[1], from[2]);
      for (int channel : {c.blue, c.green, c.red}) bgr.push_back(static_cast<uint8_t>(channel));
    }
  }
  return bgr;
}
TEST(PlaneConversion, ToBgr) {
  Random random(1);
  for (const Size& s : PlaneSizes(random)) {
    SCOPED_TRACE(s);
    const int pairs = s.width / 2, rows = s.height / 2;
    const Bytes src = random.Noise(Area(s.stride, s.height + rows));
    const auto at = [&](int row, int column) {
      return src[Area(s.stride, row) + static_cast<size_t>(column)];
    };
    const Bytes nv21 = BgrOf(s, [&](int x, int y) {
      if (pairs == 0 || rows == 0) return Yuv{at(y, x), 128, 128};
      const int row = s.height + std::min(y / 2, rows - 1), pair = 2 * std::min(x / 2, pairs - 1);
      return Yuv{at(y, x), at(row, pair + 1), at(row, pair)};
    });
    ExpectPlane(src, Bytes(nv21.size()), nv21, 3 * s.width, [&](auto* from, auto* to) {
      EXPECT_EQ(NV21ToRGB(from, s.stride, s.width, s.height, to), 0);
    });

    const Bytes packed = random.Noise(Area(2 * s.stride, s.height));
    const int begin = random.Int(0, s.height - 1), end = random.Int(begin, s.height);
    Bytes uyvy = BgrOf(s, [&](int x, int y) {
      const uint8_t* const group = packed.data() + Area(2 * s.stride, y) + x / 2 * 4;
      // The last group of an odd row has no V of its own.
      const bool whole = x / 2 * 2 + 1 < s.width;
      const uint8_t v = whole ? group[2] : x > 0 ? group[-2] : uint8_t{128};
      return Yuv{group[x % 2 == 0 ? 1 : 3], group[0], v};
    });
    const Bytes before(uyvy.size(), 0x33);
    std::fill_n(uyvy.begin(), 3 * s.width * begin, uint8_t{0x33});
    std::fill(uyvy.begin() + 3 * s.width * end, uyvy.end(), uint8_t{0x33});
    ExpectPlane(packed, before, uyvy, 3 * s.width, [&](auto* from, auto* to) {
      EXPECT_EQ(UYVYToRGB(from, s.stride, s.width, begin, end, to), 0);
    });

    const size_t luma = Area(s.width, s.height);
    const Bytes planar = random.Noise(luma + luma / 2 + Area(pairs, s.height));
    const Bytes yv16 = BgrOf(s, [&](int x, int y) {
      const uint8_t sample = planar[Area(s.width, y) + static_cast<size_t>(x)];
      if (pairs == 0) return Yuv{sample, 128, 128};
      const size_t pair = luma + Area(pairs, y) + static_cast<size_t>(std::min(x / 2, pairs - 1));
      return Yuv{sample, planar[pair], planar[pair + luma / 2]};
    });
    ExpectPlane(planar, Bytes(yv16.size()), yv16, 3 * s.width, [&](auto* from, auto* to) {
      EXPECT_EQ(YV16ToRGB(from, s.width, s.height, to), 0);
    });
  }
}

Triple StudioRange(int y, int u, int v) {
  const int c = 298 * (y - 16), du = u - 128, dv = v - 128;
  return {Limit(FloorDiv(c + 409 * dv + 128, 256)),
          Limit(FloorDiv(c - 208 * dv - 100 * du + 128, 256)),
          Limit(FloorDiv(c + 516 * du + 128, 256))};
}

TEST(PlaneConversion, I420ToRgbLeavesOddEdgesUnwritten) {
  Random random(4);
  for (const Size& s : PlaneSizes(random)) {
    SCOPED_TRACE(s);
    const size_t luma = Area(s.stride, s.height);
    const Bytes src = random.Noise(luma + luma / 4 + Area(s.stride / 2, s.height / 2));
    const int dst_stride = s.width + random.Int(0, 2);
    const Bytes before = random.Noise(Area(3 * dst_stride, s.height));
    Bytes expected = before;
    for (int y = 0; y < s.height / 2 * 2; ++y) {
      for (int x = 0; x < s.width / 2 * 2; ++x) {
        const size_t sample = luma + Area(s.stride / 2, y / 2) + static_cast<size_t>(x / 2);
        const Triple rgb = StudioRange(src[Area(s.stride, y) + static_cast<size_t>(x)], src[sample],
                                       src[sample + luma / 4]);
        std::copy(rgb.begin(), rgb.end(),
                  expected.begin() + static_cast<ptrdiff_t>(Area(3, int64_t{y} * dst_stride + x)));
      }
    }
    ExpectPlane(src, before, expected, 3 * dst_stride, [&](auto* from, auto* to) {
      convertI420ToRGBU8(to, from, s.width, s.height, dst_stride, s.stride);
    });
  }
}

TEST(PlaneConversion, I420ToRgbEqualsItsFormulaForEveryChroma) {
  // One row pair a luma value: chroma pairs run through all combinations in 64K columns.
  Bytes src(Area(2 * 65536, 3));
  for (size_t i = 0; i < 65536; ++i) {
    src[4 * 65536 + i] = static_cast<uint8_t>(i);
    src[5 * 65536 + i] = static_cast<uint8_t>(i >> 8);
  }
  Bytes dst(Area(3 * 2 * 65536, 2));
  for (int y = 0; y < 256; y += 15) {
    std::fill_n(src.begin(), 4 * 65536, static_cast<uint8_t>(y));
    AtEverySimdLevel([&] {
      convertI420ToRGBU8(dst.data(), src.data(), 2 * 65536, 2, 2 * 65536, 2 * 65536);
      for (int i = 0; i < 65536; ++i) {
        const uint8_t* const rgb = dst.data() + Area(6, i);
        ASSERT_EQ((Triple{rgb[0], rgb[1], rgb[2]}), StudioRange(y, i & 255, i >> 8))
            << y << " " << i;
      }
    });
  }
}

TEST(PlaneConversion, BgrToUyvyAndNv21) {
  Random random(5);
  for (const Size& s : PlaneSizes(random)) {
    SCOPED_TRACE(s);
    const Bytes src = random.Noise(Area(3 * s.width, s.height));
    const int rows = s.height / 2;
    const Bytes packed = random.Noise(Area(2 * s.stride, s.height));
    const Bytes planar = random.Noise(Area(s.stride, s.height + rows));
    Bytes uyvy = packed, nv21 = planar;
    for (int y = 0; y < s.height; ++y) {
      for (int x = 0; x < s.width; ++x) {
        const uint8_t* const bgr = src.data() + Area(3, int64_t{y} * s.width + x);
        const Triple yuv = Of(rgbToyuv(bgr[2], bgr[1], bgr[0]));
        const auto byte = [&](int channel) {
          return static_cast<uint8_t>(yuv[static_cast<size_t>(channel)]);
        };
        const size_t group = Area(2, int64_t{y} * s.stride + x);
        uyvy[group + 1] = byte(0);
        if (x % 2 == 0) uyvy[group] = byte(1);
        if (x % 2 == 0 && x + 1 < s.width) uyvy[group + 2] = byte(2);
        nv21[Area(s.stride, y) + static_cast<size_t>(x)] = byte(0);
        if (x % 2 == 0 && x / 2 < s.width / 2 && y / 2 < rows) {
          const size_t pair = Area(s.stride, s.height + y / 2) + static_cast<size_t>(x);
          nv21[pair] = byte(2);
          nv21[pair + 1] = byte(1);
        }
      }
    }
    ExpectPlane(src, packed, uyvy, 2 * s.stride, [&](auto* from, auto* to) {
      EXPECT_EQ(RGBToUYVY(from, s.width, s.height, to, s.stride), 0);
    });
    ExpectPlane(src, planar, nv21, s.stride, [&](auto* from, auto* to) {
      EXPECT_EQ(RGBToNV21(from, s.width, s.height, to, s.stride), 0);
    });
  }
}

}  // namespace
}  // namespace vantro::test

// Colour conversion: single colours, and planes against the single-pixel functions.

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cmath>

#include "tests/image/resize_reference.h"
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
int Limit(int value) { return std::clamp(value, 0, 255); }

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
  EXPECT_EQ(RgbToHsv({INT_MIN, INT_MIN, 0}).value, 0);
  EXPECT_EQ(RgbToHsv({INT_MAX, INT_MIN, INT_MIN}).value, INT_MAX);
}

TEST(SinglePixel, HsvBackToRgb) {
  for (int hue : {0, 59, 359, 360, -30}) {
    EXPECT_EQ(Of(HsvToRgb({hue, 0, 77})), (Triple{77, 77, 77}));
  }
  const int v = 200, s = 191, p = (255 - s) * v / 255;
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
  for (int32_t h : {INT_MIN, -1, INT_MAX}) {
    for (int32_t extreme : {INT_MIN, INT_MAX}) EXPECT_LE(HsvToRgb({h, extreme, INT_MAX}).red, 255);
  }
}

// The rest compares planes of any size; the sources of a resize.
std::vector<Sizes> PlaneSizes(Random& random) {
  std::vector<Sizes> sizes = RandomSizes(random);
  for (Sizes& s : sizes) s.src_height = std::min(s.src_height, 6);
  return sizes;
}

using Yuv = std::array<uint8_t, 3>;

// Rows of three bytes a pixel of the luma and chroma that yuv(x, y) gives.
template <typename Pixel>
Bytes BgrOf(const Sizes& s, Pixel yuv) {
  return PlaneOf(3 * s.src_width, s.src_height, [&](int byte, int y) {
    const Yuv from = yuv(byte / 3, y);
    const RGBCOLOR c = yuvTorgb(from[0], from[1], from[2]);
    return byte % 3 == 0 ? c.blue : byte % 3 == 1 ? c.green : c.red;
  });
}

TEST(PlaneConversion, ToBgr) {
  Random random(1);
  for (const Sizes& s : PlaneSizes(random)) {
    SCOPED_TRACE(s);
    const int width = s.src_width, height = s.src_height, pairs = width / 2;
    const Bytes src = random.Noise(s.src_frame());
    const Bytes nv21 = BgrOf(s, [&](int x, int y) {
      const uint8_t luma = LumaOf(src, s).At(x, y);
      if (!HasChroma(s)) return Yuv{luma, 128, 128};
      return Yuv{luma, ChromaOf(src, s, 1).At(x / 2, y / 2), ChromaOf(src, s, 0).At(x / 2, y / 2)};
    });
    ExpectPlane(src, Bytes(nv21.size()), nv21, 3 * width, [&](auto* from, auto* to) {
      EXPECT_EQ(NV21ToRGB(from, s.src_stride, width, height, to), 0);
    });

    const Bytes packed = random.Noise(Area(2 * s.src_stride, height));
    const int begin = random.Int(0, height - 1), end = random.Int(begin, height);
    Bytes uyvy = BgrOf(s, [&](int x, int y) {
      const uint8_t* const group = packed.data() + Area(2 * s.src_stride, y) + x / 2 * 4;
      // The last group of an odd row has no V of its own.
      const bool whole = x / 2 * 2 + 1 < width;
      const uint8_t v = whole ? group[2] : x > 0 ? group[-2] : uint8_t{128};
      return Yuv{group[x % 2 == 0 ? 1 : 3], group[0], v};
    });
    const Bytes before(uyvy.size(), kUntouched);
    std::fill_n(uyvy.begin(), 3 * width * begin, kUntouched);
    std::fill(uyvy.begin() + 3 * width * end, uyvy.end(), kUntouched);
    ExpectPlane(packed, before, uyvy, 3 * width, [&](auto* from, auto* to) {
      EXPECT_EQ(UYVYToRGB(from, s.src_stride, width, begin, end, to), 0);
    });

    const size_t luma = Area(width, height);
    const Bytes planar = random.Noise(luma + luma / 2 + Area(pairs, height));
    const Bytes yv16 = BgrOf(s, [&](int x, int y) {
      const uint8_t sample = planar[Index(x, y, width)];
      if (pairs == 0) return Yuv{sample, 128, 128};
      const size_t pair = luma + Index(std::min(x / 2, pairs - 1), y, pairs);
      return Yuv{sample, planar[pair], planar[pair + luma / 2]};
    });
    ExpectPlane(planar, Bytes(yv16.size()), yv16, 3 * width,
                [&](auto* from, auto* to) { EXPECT_EQ(YV16ToRGB(from, width, height, to), 0); });
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
  for (const Sizes& s : PlaneSizes(random)) {
    SCOPED_TRACE(s);
    const int half = s.src_stride / 2;
    const size_t luma = Area(s.src_stride, s.src_height);
    const Bytes src = random.Noise(luma + luma / 4 + Area(half, s.src_height / 2));
    const int dst_stride = s.src_width + random.Int(0, 2);
    const Bytes before(Area(3 * dst_stride, s.src_height), kUntouched);
    const Bytes expected = PlaneOf(3 * dst_stride, s.src_height, [&](int byte, int y) {
      const int x = byte / 3;
      if (x >= s.src_width / 2 * 2 || y >= s.src_height / 2 * 2) return int{kUntouched};
      const uint8_t* const chroma = src.data() + luma + Index(x / 2, y / 2, half);
      return StudioRange(LumaOf(src, s).At(x, y), *chroma,
                         chroma[luma / 4])[static_cast<size_t>(byte % 3)];
    });
    ExpectPlane(src, before, expected, 3 * dst_stride, [&](auto* from, auto* to) {
      convertI420ToRGBU8(to, from, s.src_width, s.src_height, dst_stride, s.src_stride);
    });
  }
}

TEST(PlaneConversion, I420ToRgbEqualsItsFormulaForEveryChroma) {
  // The 64K pairs of a row run through all combinations of chroma.
  constexpr int kWidth = 2 * 65536;
  Bytes src(Area(kWidth, 3)), dst(Area(3 * kWidth, 2));
  for (size_t i = 0; i < 65536; ++i) {
    src[2 * kWidth + i] = static_cast<uint8_t>(i);
    src[2 * kWidth + 65536 + i] = static_cast<uint8_t>(i >> 8);
  }
  for (int y = 0; y < 256; y += 15) {
    std::fill_n(src.begin(), 2 * kWidth, static_cast<uint8_t>(y));
    convertI420ToRGBU8(dst.data(), src.data(), kWidth, 2, kWidth, kWidth);
    for (int i = 0; i < 65536; ++i) {
      const uint8_t* const rgb = dst.data() + Area(6, i);
      ASSERT_EQ((Triple{rgb[0], rgb[1], rgb[2]}), StudioRange(y, i & 255, i >> 8)) << y << " " << i;
    }
  }
}

TEST(PlaneConversion, BgrToUyvyAndNv21) {
  Random random(5);
  for (const Sizes& s : PlaneSizes(random)) {
    SCOPED_TRACE(s);
    const int width = s.src_width, height = s.src_height, stride = s.src_stride;
    const Bytes src = random.Noise(Area(3 * width, height));
    const Bytes packed = random.Noise(Area(2 * stride, height));
    const Bytes planar = random.Noise(s.src_frame());
    // Channel 0, 1 or 2 of the pixel: Y, U or V.
    const auto yuv = [&](int x, int y, size_t channel) {
      const uint8_t* const bgr = src.data() + 3 * Index(x, y, width);
      return Of(rgbToyuv(bgr[2], bgr[1], bgr[0]))[channel];
    };
    const Bytes uyvy = PlaneOf(2 * stride, height, [&](int byte, int y) {
      const int x = byte / 2, first = x / 2 * 2;
      if (x >= width) return int{packed[Index(byte, y, 2 * stride)]};
      return byte % 2 == 1 ? yuv(x, y, 0) : yuv(first, y, byte % 4 == 0 ? 1 : 2);
    });
    const Bytes nv21 = PlaneOf(stride, height + height / 2, [&](int x, int row) {
      const bool chroma = row >= height;
      if (x >= (chroma ? width / 2 * 2 : width)) return int{planar[Index(x, row, stride)]};
      if (!chroma) return yuv(x, row, 0);
      return yuv(x / 2 * 2, 2 * (row - height) + 1, x % 2 == 0 ? 2 : 1);
    });
    ExpectPlane(src, packed, uyvy, 2 * stride, [&](auto* from, auto* to) {
      EXPECT_EQ(RGBToUYVY(from, width, height, to, stride), 0);
    });
    ExpectPlane(src, planar, nv21, stride, [&](auto* from, auto* to) {
      EXPECT_EQ(RGBToNV21(from, width, height, to, stride), 0);
    });
  }
}

}  // namespace
}  // namespace vantro::test

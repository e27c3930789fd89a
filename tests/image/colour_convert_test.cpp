// Colour conversion of single colours; kernel_levels_test compares planes with these functions.

#include <gtest/gtest.h>

#include <array>
#include <climits>
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

Triple StudioRange(int y, int u, int v) {
  const int c = 298 * (y - 16), du = u - 128, dv = v - 128;
  return {Limit(FloorDiv(c + 409 * dv + 128, 256)),
          Limit(FloorDiv(c - 208 * dv - 100 * du + 128, 256)),
          Limit(FloorDiv(c + 516 * du + 128, 256))};
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

}  // namespace
}  // namespace vantro::test

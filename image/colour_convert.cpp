// Single colours: YUV, RGB and HSV.

#include <algorithm>
#include <cstdint>

#include "image/colour_formulas.h"
#include "vantro/image.h"

namespace vantro {
namespace {

int32_t Low32(int64_t value) { return static_cast<int32_t>(value); }

}  // namespace
}  // namespace vantro

RGBCOLOR yuvTorgb(unsigned char y, unsigned char u, unsigned char v) {
  const vantro::Rgb8 colour = vantro::FullRangeToRgb(y, u, v);
  return {colour.r, colour.g, colour.b};
}

YUVCOLOR rgbToyuv(unsigned char r, unsigned char g, unsigned char b) {
  return {vantro::LumaOf(r, g, b), vantro::BlueChromaOf(r, g, b), vantro::RedChromaOf(r, g, b)};
}

// Both HSV conversions work in 64 bits: records with fields outside their ranges stay defined.

HSVCOLOR RgbToHsv(RGBCOLOR color) {
  const int64_t r = color.red;
  const int64_t g = color.green;
  const int64_t b = color.blue;
  const int64_t max = std::max({r, g, b});
  const int64_t delta = max - std::min({r, g, b});
  if (delta == 0) return {0, 0, color.red};

  int64_t hue = 0;
  if (max == r) {
    hue = (g - b) * 60 / delta + (g >= b ? 0 : 360);
  } else if (max == g) {
    hue = (b - r) * 60 / delta + 120;
  } else {
    hue = (r - g) * 60 / delta + 240;
  }
  // A maximum of 0 over negative channels has no saturation to speak of.
  const int64_t saturation = max == 0 ? 0 : delta * 255 / max;
  return {vantro::Low32(hue), vantro::Low32(saturation), vantro::Low32(max)};
}

RGBCOLOR HsvToRgb(HSVCOLOR color) {
  const int64_t h = color.hue;
  const int64_t s = color.saturation;
  const int64_t v = color.value;
  const int64_t sector = (h / 60) % 6;
  // How far the hue is into its sector, times the saturation.
  const int64_t ramp = s * h / 60 - sector * s;
  const auto limited = [](int64_t channel) {
    return static_cast<int32_t>(std::clamp<int64_t>(channel, INT32_MIN, 255));
  };
  // The product may pass 64 bits for values far outside the range.
  const auto scaled = [v](int64_t factor) {
    return static_cast<int64_t>(static_cast<__int128>(factor) * v / 255);
  };
  const int32_t full = limited(v);
  const int32_t p = limited(scaled(255 - s));
  const int32_t q = limited(scaled(255 - ramp));
  const int32_t t = limited(scaled(255 - s + ramp));
  switch (sector) {
    case 0:
      return {full, t, p};
    case 1:
      return {q, full, p};
    case 2:
      return {p, full, t};
    case 3:
      return {p, q, full};
    case 4:
      return {t, p, full};
    default:
      return {full, p, q};
  }
}

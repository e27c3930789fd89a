// The colour formulas, one pixel at a time.
#ifndef VANTRO_IMAGE_COLOUR_FORMULAS_H_
#define VANTRO_IMAGE_COLOUR_FORMULAS_H_

#include <algorithm>
#include <cstdint>

namespace vantro {

struct Rgb8 {
  uint8_t r;
  uint8_t g;
  uint8_t b;
};

inline uint8_t LimitToByte(int value) { return static_cast<uint8_t>(std::clamp(value, 0, 255)); }

inline Rgb8 FullRangeToRgb(int y, int u, int v) {
  const int du = u - 128;
  const int dv = v - 128;
  return {LimitToByte(y + dv + ((103 * dv) >> 8)),
          LimitToByte(y + ((-44 * du) >> 7) + ((-91 * dv) >> 7)),
          LimitToByte(y + du + ((99 * du) >> 7))};
}

inline Rgb8 StudioRangeToRgb(int y, int u, int v) {
  const int c = 298 * y - 4768;
  const int du = u - 128;
  const int dv = v - 128;
  return {LimitToByte((c + 409 * dv + 128) >> 8), LimitToByte((c - 208 * dv - 100 * du + 128) >> 8),
          LimitToByte((c + 516 * du + 128) >> 8)};
}

// Within 0..255 for every r, g, b of 0..255.
inline uint8_t LumaOf(int r, int g, int b) {
  return static_cast<uint8_t>((77 * r + 150 * g + 29 * b) >> 8);
}
inline uint8_t BlueChromaOf(int r, int g, int b) {
  return static_cast<uint8_t>(((-43 * r - 85 * g + 128 * b) >> 8) + 128);
}
inline uint8_t RedChromaOf(int r, int g, int b) {
  return static_cast<uint8_t>(((128 * r - 107 * g - 21 * b) >> 8) + 128);
}

inline void StoreBgr(const Rgb8& colour, uint8_t* bgr) {
  bgr[0] = colour.b;
  bgr[1] = colour.g;
  bgr[2] = colour.r;
}

}  // namespace vantro

#endif  // VANTRO_IMAGE_COLOUR_FORMULAS_H_

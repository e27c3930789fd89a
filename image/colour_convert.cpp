// Single colours: YUV, RGB and HSV.

#include <algorithm>

#include "vantro/image.h"

RGBCOLOR yuvTorgb(unsigned char y, unsigned char u, unsigned char v) {
  const int du = u - 128;
  const int dv = v - 128;
  return {std::clamp(y + dv + ((103 * dv) >> 8), 0, 255),
          std::clamp(y + ((-44 * du) >> 7) + ((-91 * dv) >> 7), 0, 255),
          std::clamp(y + du + ((99 * du) >> 7), 0, 255)};
}

YUVCOLOR rgbToyuv(unsigned char r, unsigned char g, unsigned char b) {
  return {std::min((77 * r + 150 * g + 29 * b) >> 8, 255),
          std::clamp(((-43 * r - 85 * g + 128 * b) >> 8) + 128, 0, 255),
          std::clamp(((128 * r - 107 * g - 21 * b) >> 8) + 128, 0, 255)};
}

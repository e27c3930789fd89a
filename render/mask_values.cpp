#include <cstddef>

#include "vantro/render.h"

unsigned char* preProcessMask(unsigned char* dst, unsigned char* src, int rows, int cols,
                              int dstStride) {
  if (dst == nullptr || src == nullptr || cols < 1) return dst;
  for (ptrdiff_t y = 0; y < rows; ++y) {
    const unsigned char* from = src + y * cols;
    unsigned char* to = dst + y * dstStride;
    for (ptrdiff_t x = 0; x < cols; ++x) {
      const unsigned char value = from[x];
      to[x] = value >= 1 && value <= 4 ? 255 : value;
    }
  }
  return dst;
}

// Exact doubling of a byte plane by averages.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "vantro/image.h"

namespace vantro {
namespace {

// The 2x2 destination blocks of `count` column pairs that start at upper[0] and lower[0]; `next` is
// the distance to a pair's right column.
void WriteBlocks(const uint8_t* upper, const uint8_t* lower, ptrdiff_t count, ptrdiff_t next,
                 uint8_t* __restrict even, uint8_t* __restrict odd) {
  for (ptrdiff_t x = 0; x < count; ++x) {
    const int a = upper[x];
    const int b = upper[x + next];
    const int c = lower[x];
    const int d = lower[x + next];
    even[2 * x] = static_cast<uint8_t>(a);
    even[2 * x + 1] = static_cast<uint8_t>((a + b) >> 1);
    odd[2 * x] = static_cast<uint8_t>((a + c) >> 1);
    odd[2 * x + 1] = static_cast<uint8_t>((a + b + c + d) >> 2);
  }
}

void DoublePlane(const uint8_t* src, uint8_t* dst, ptrdiff_t width, ptrdiff_t height) {
  const ptrdiff_t dst_width = 2 * width;
  for (ptrdiff_t y = 0; y < height; ++y, dst += 2 * dst_width) {
    // The last row repeats the pair that ends with it; so does the last column.
    const ptrdiff_t upper_row = std::max<ptrdiff_t>(std::min(y, height - 2), 0);
    const uint8_t* const upper = src + upper_row * width;
    const uint8_t* const lower = src + std::min(upper_row + 1, height - 1) * width;
    WriteBlocks(upper, lower, width - 1, 1, dst, dst + dst_width);
    const ptrdiff_t last = std::max<ptrdiff_t>(width - 2, 0);
    WriteBlocks(upper + last, lower + last, 1, width > 1 ? 1 : 0, dst + dst_width - 2,
                dst + 2 * dst_width - 2);
  }
}

}  // namespace
}  // namespace vantro

void ResizeUchar_upScale2x2(const unsigned char* src, unsigned char* dst, int srcW, int srcH,
                            int dstW, int dstH) {
  const bool doubles =
      srcW >= 1 && srcH >= 1 && dstW == 2 * int64_t{srcW} && dstH == 2 * int64_t{srcH};
  if (!doubles) {
    vantro_c::ResizeUchar(src, dst, srcW, srcH, dstW, dstH);
  } else if (src != nullptr && dst != nullptr) {
    vantro::DoublePlane(src, dst, srcW, srcH);
  }
}

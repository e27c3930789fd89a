// Resizers of packed float planes.

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "vantro/image.h"

const float* resizeFloat_Nearest_2Ch(const float* src, float* dst, int srcW, int srcH, int dstW,
                                     int dstH) {
  if (src == nullptr || dst == nullptr || srcW < 1 || srcH < 1 || dstW < 1 || dstH < 1) return src;
  const float scale_x = static_cast<float>(srcW) / static_cast<float>(dstW);
  const float scale_y = static_cast<float>(srcH) / static_cast<float>(dstH);
  constexpr size_t kPair = 2 * sizeof(float);
  // Bytes, because a float load may change the bits of a signalling NaN.
  const auto* const pairs = reinterpret_cast<const unsigned char*>(src);
  auto* out = reinterpret_cast<unsigned char*>(dst);
  for (int y = 0; y < dstH; ++y) {
    const auto row =
        std::min<int64_t>(static_cast<int64_t>(scale_y * static_cast<float>(y)), srcH - 1);
    const unsigned char* const src_row = pairs + static_cast<size_t>(row * srcW) * kPair;
    for (int x = 0; x < dstW; ++x, out += kPair) {
      const auto column =
          std::min<int64_t>(static_cast<int64_t>(scale_x * static_cast<float>(x)), srcW - 1);
      std::memcpy(out, src_row + static_cast<size_t>(column) * kPair, kPair);
    }
  }
  return src;
}

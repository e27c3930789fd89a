// Enlargement of a plane by exactly 4, in integers.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "support/log.h"
#include "vantro/image.h"

namespace vantro {
namespace {

// One destination row between two source rows; `weight` quarters of the lower one.
void UpscaleRow(const uint8_t* upper, const uint8_t* lower, int weight, ptrdiff_t src_width,
                uint8_t* __restrict out) {
  const auto blend = [=](ptrdiff_t x) { return (4 - weight) * upper[x] + weight * lower[x]; };
  for (ptrdiff_t x = 0; x < src_width - 1; ++x) {
    const int left = blend(x);
    const int right = blend(x + 1);
    out[4 * x] = static_cast<uint8_t>(left >> 2);
    out[4 * x + 1] = static_cast<uint8_t>((3 * left + right) >> 4);
    out[4 * x + 2] = static_cast<uint8_t>((left + right) >> 3);
    out[4 * x + 3] = static_cast<uint8_t>((left + 3 * right) >> 4);
  }
  std::fill_n(out + 4 * (src_width - 1), 4, static_cast<uint8_t>(blend(src_width - 1) >> 2));
}

}  // namespace
}  // namespace vantro

void upscale4X(const unsigned char* src, unsigned char* dst, int srcW, int srcH, int srcStride,
               int dstW, int dstH) {
  if (int64_t{srcW} * 4 != dstW) {
    VANTRO_LOGE(vantro::kTagPlain,
                "Invalid Parameter: srcW[%d] dstW[%d],this function use for 4 times upscale only",
                srcW, dstW);
    return;
  }
  if (src == nullptr || dst == nullptr || srcW < 1 || srcH < 1 || srcStride < srcW) return;
  for (int y = 0; y < dstH; ++y) {
    const int upper = std::min(y / 4, srcH - 1);
    const int lower = std::min(upper + 1, srcH - 1);
    vantro::UpscaleRow(src + int64_t{upper} * srcStride, src + int64_t{lower} * srcStride, y % 4,
                       srcW, dst + int64_t{y} * dstW);
  }
}

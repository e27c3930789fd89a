#include "render/window_kernels.h"

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/window_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;

void MarkHits(const uint8_t* HWY_RESTRICT src, uint8_t* HWY_RESTRICT dst, size_t count,
              bool zeros) {
  const uint8_t flip = zeros ? 1 : 0;
  for (size_t i = 0; i < count; ++i) dst[i] = static_cast<uint8_t>((src[i] != 0) ^ flip);
}

void OrAhead(uint8_t* bytes, size_t count, size_t distance) {
  size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  // A vector is stored after everything in reach of it was loaded.
  const hn::ScalableTag<uint8_t> d;
  for (; i + hn::Lanes(d) <= count; i += hn::Lanes(d)) {
    const auto ahead = hn::LoadU(d, bytes + i + distance);
    hn::StoreU(hn::LoadU(d, bytes + i) | ahead, d, bytes + i);
  }
#endif
  for (; i < count; ++i) bytes[i] |= bytes[i + distance];
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"

namespace vantro {

VANTRO_KERNEL_TABLE(MarkHits);
VANTRO_KERNEL_TABLE(OrAhead);

void MarkHits(const uint8_t* src, uint8_t* dst, size_t count, bool zeros) {
  VANTRO_KERNEL(MarkHits)(src, dst, count, zeros);
}

void OrAhead(uint8_t* bytes, size_t count, size_t distance) {
  VANTRO_KERNEL(OrAhead)(bytes, count, distance);
}

}  // namespace vantro
#endif  // HWY_ONCE

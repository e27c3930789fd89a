#include "mask/mask_kernels.h"

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "mask/mask_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;

size_t KeepValue(uint8_t* bytes, size_t count, uint8_t value) {
  size_t i = 0;
  size_t kept = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint8_t> d;
  const auto wanted = hn::Set(d, value);
  for (; i + hn::Lanes(d) <= count; i += hn::Lanes(d)) {
    const auto pixels = hn::LoadU(d, bytes + i);
    const auto equal = pixels == wanted;
    hn::StoreU(hn::IfThenElseZero(equal, pixels), d, bytes + i);
    kept += hn::CountTrue(d, equal);
  }
#endif
  for (; i < count; ++i) {
    const bool equal = bytes[i] == value;
    if (!equal) bytes[i] = 0;
    kept += equal;
  }
  return kept;
}

size_t CountValue(const uint8_t* bytes, size_t count, uint8_t value) {
  size_t i = 0;
  size_t found = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint8_t> d;
  const auto wanted = hn::Set(d, value);
  for (; i + hn::Lanes(d) <= count; i += hn::Lanes(d)) {
    found += hn::CountTrue(d, hn::LoadU(d, bytes + i) == wanted);
  }
#endif
  for (; i < count; ++i) found += bytes[i] == value;
  return found;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"

namespace vantro {

VANTRO_KERNEL_TABLE(KeepValue);
VANTRO_KERNEL_TABLE(CountValue);

size_t KeepValue(uint8_t* bytes, size_t count, uint8_t value) {
  return VANTRO_KERNEL(KeepValue)(bytes, count, value);
}

size_t CountValue(const uint8_t* bytes, size_t count, uint8_t value) {
  return VANTRO_KERNEL(CountValue)(bytes, count, value);
}

}  // namespace vantro
#endif  // HWY_ONCE

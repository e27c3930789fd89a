#include "mask/mask_kernels.h"

#include <algorithm>
#include <cstring>

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

#if HWY_TARGET != HWY_SCALAR
// The changes of 64 pixels.
HWY_INLINE uint64_t ChangesOfWord(const uint8_t* pixels) {
  const hn::ScalableTag<uint8_t> d;
  uint8_t bits[8];
  for (size_t part = 0; part < 64; part += hn::Lanes(d)) {
    const uint8_t* at = pixels + part;
    hn::StoreMaskBits(d, hn::LoadU(d, at) != hn::LoadU(d, at - 1), bits + part / 8);
  }
  uint64_t word = 0;
  std::memcpy(&word, bits, sizeof(word));
  return word;
}
#endif

void FindChanges(const uint8_t* pixels, size_t count, uint64_t* bits) {
  size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  for (; i + 64 <= count; i += 64) bits[i / 64] = ChangesOfWord(pixels + i);
  // The rest as the end of a word that overlaps the one before it.
  if (i > 0 && i < count) {
    bits[i / 64] = ChangesOfWord(pixels + count - 64) >> (64 - (count - i));
    return;
  }
#endif
  for (; i < count; i += 64) {
    uint64_t word = 0;
    for (size_t j = 0; j < 64 && i + j < count; ++j) {
      word |= static_cast<uint64_t>(pixels[i + j] != *(pixels + i + j - 1)) << j;
    }
    bits[i / 64] = word;
  }
}

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

VANTRO_KERNEL_TABLE(FindChanges);
VANTRO_KERNEL_TABLE(KeepValue);
VANTRO_KERNEL_TABLE(CountValue);

void FindChanges(const uint8_t* pixels, size_t count, uint64_t* bits) {
  VANTRO_KERNEL(FindChanges)(pixels, count, bits);
}

size_t KeepValue(uint8_t* bytes, size_t count, uint8_t value) {
  return VANTRO_KERNEL(KeepValue)(bytes, count, value);
}

size_t CountValue(const uint8_t* bytes, size_t count, uint8_t value) {
  return VANTRO_KERNEL(CountValue)(bytes, count, value);
}

}  // namespace vantro
#endif  // HWY_ONCE

#include "render/average_kernels.h"

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/average_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR
using Words = hn::ScalableTag<uint16_t>;

// The bytes of even and of odd columns from `at` on, and their sum.
HWY_INLINE hn::Vec<Words> EvenBytes(Words dw, hn::Vec<Words> pairs) {
  return pairs & hn::Set(dw, 0x00FF);
}
HWY_INLINE hn::Vec<Words> LoadPairs(Words dw, const uint8_t* at) {
  return hn::BitCast(dw, hn::LoadU(hn::Repartition<uint8_t, Words>(), at));
}
HWY_INLINE hn::Vec<Words> PairSums(Words dw, const uint8_t* at) {
  const auto pairs = LoadPairs(dw, at);
  return EvenBytes(dw, pairs) + hn::ShiftRight<8>(pairs);
}

// Stores lanes of 0 to 255 as bytes.
HWY_INLINE void StoreLowBytes(hn::Vec<Words> values, uint8_t* at) {
  const hn::RebindToSigned<Words> di;
  const hn::Rebind<uint8_t, Words> dh;
  hn::StoreU(hn::DemoteTo(dh, hn::BitCast(di, values)), dh, at);
}
#endif

void Average2x2(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, size_t count) {
  size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const Words dw;
  for (; i + hn::Lanes(dw) <= count; i += hn::Lanes(dw)) {
    const auto sum = PairSums(dw, upper + 2 * i) + PairSums(dw, lower + 2 * i);
    StoreLowBytes(hn::ShiftRight<2>(sum), dst + i);
  }
#endif
  for (; i < count; ++i) {
    const int sum = upper[2 * i] + upper[2 * i + 1] + lower[2 * i] + lower[2 * i + 1];
    dst[i] = static_cast<uint8_t>(sum >> 2);
  }
}

void AverageUp2x2(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, size_t count) {
  size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const Words dw;
  for (; i + hn::Lanes(dw) <= count; i += hn::Lanes(dw)) {
    const auto top = LoadPairs(dw, upper + 2 * i);
    const auto bottom = LoadPairs(dw, lower + 2 * i);
    const auto mean =
        hn::AverageRound(hn::AverageRound(EvenBytes(dw, top), hn::ShiftRight<8>(top)),
                         hn::AverageRound(EvenBytes(dw, bottom), hn::ShiftRight<8>(bottom)));
    StoreLowBytes(mean, dst + i);
  }
#endif
  for (; i < count; ++i) {
    const int top = (upper[2 * i] + upper[2 * i + 1] + 1) >> 1;
    const int bottom = (lower[2 * i] + lower[2 * i + 1] + 1) >> 1;
    dst[i] = static_cast<uint8_t>((top + bottom + 1) >> 1);
  }
}

void Average4x4(uint8_t* dst, const uint8_t* src, ptrdiff_t stride, size_t count) {
  const uint8_t* rows[4] = {src, src + stride, src + 2 * stride, src + 3 * stride};
  size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const Words dw;
  const hn::Repartition<int32_t, Words> di;
  const hn::Rebind<uint8_t, decltype(di)> dq;
  const auto low_word = hn::Set(di, 0xFFFF);
  for (; i + hn::Lanes(di) <= count; i += hn::Lanes(di)) {
    const auto pairs =
        hn::BitCast(di, PairSums(dw, rows[0] + 4 * i) + PairSums(dw, rows[1] + 4 * i) +
                            PairSums(dw, rows[2] + 4 * i) + PairSums(dw, rows[3] + 4 * i));
    const auto sum = (pairs & low_word) + hn::ShiftRight<16>(pairs) + hn::Set(di, 8);
    hn::StoreU(hn::DemoteTo(dq, hn::ShiftRight<4>(sum)), dq, dst + i);
  }
#endif
  for (; i < count; ++i) {
    int sum = 8;
    for (const uint8_t* row : rows) {
      sum += row[4 * i] + row[4 * i + 1] + row[4 * i + 2] + row[4 * i + 3];
    }
    dst[i] = static_cast<uint8_t>(sum >> 4);
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"

namespace vantro {

VANTRO_KERNEL_TABLE(Average2x2);
VANTRO_KERNEL_TABLE(AverageUp2x2);
VANTRO_KERNEL_TABLE(Average4x4);

void Average2x2(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, size_t count) {
  VANTRO_KERNEL(Average2x2)(dst, upper, lower, count);
}

void AverageUp2x2(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, size_t count) {
  VANTRO_KERNEL(AverageUp2x2)(dst, upper, lower, count);
}

void Average4x4(uint8_t* dst, const uint8_t* src, ptrdiff_t stride, size_t count) {
  VANTRO_KERNEL(Average4x4)(dst, src, stride, count);
}

}  // namespace vantro
#endif  // HWY_ONCE

#include "render/gray_kernels.h"

#include <cstring>

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/gray_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

// The curve as g + round(g * 8/41 + h/5), where g = clamp(v - 25, 0, 205) is the way through the
// steep piece and h = v - g the way through the two flat ones. Only one of the two fractions is
// ever not an integer (g is 0 or 205 outside the steep piece, h is 25 inside it), so both can be
// rounded on their own.

// round(g * 8/41) and round(h * 1/5) of lanes 0 to 205 and 0 to 50.
template <class DI>
HWY_INLINE hn::Vec<DI> SteepFraction(DI di, hn::Vec<DI> g) {
  return hn::MulFixedPoint15(g, hn::Set(di, 6394));
}
template <class DI>
HWY_INLINE hn::Vec<DI> FlatFraction(DI di, hn::Vec<DI> h) {
  return hn::MulFixedPoint15(h, hn::Set(di, 6554));
}

// The curve in lanes of 16 bits that hold luma.
template <class DW>
HWY_INLINE hn::Vec<DW> CurveOfLanes(DW dw, hn::Vec<DW> v) {
  const hn::RebindToSigned<DW> di;
  const auto luma = hn::BitCast(di, v);
  const auto g = hn::Min(hn::Max(luma - hn::Set(di, 25), hn::Zero(di)), hn::Set(di, 205));
  const auto fractions = SteepFraction(di, g) + FlatFraction(di, luma - g);
  return hn::BitCast(dw, g + fractions);
}

// The curve in lanes of 8 bits.
template <class D>
HWY_INLINE hn::Vec<D> CurveOfBytes(D d, hn::Vec<D> v) {
  const hn::RepartitionToWide<D> dw;
  const hn::RebindToSigned<decltype(dw)> di;
  const auto low_byte = hn::Set(dw, 0x00FF);
  const auto g = hn::Min(hn::SaturatedSub(v, hn::Set(d, 25)), hn::Set(d, 205));
  const auto g_wide = hn::BitCast(dw, g);
  const auto h_wide = hn::BitCast(dw, v - g);
  const auto even = SteepFraction(di, hn::BitCast(di, g_wide & low_byte)) +
                    FlatFraction(di, hn::BitCast(di, h_wide & low_byte));
  const auto odd = SteepFraction(di, hn::BitCast(di, hn::ShiftRight<8>(g_wide))) +
                   FlatFraction(di, hn::BitCast(di, hn::ShiftRight<8>(h_wide)));
  const auto fractions = hn::BitCast(d, even | hn::ShiftLeft<8>(odd));
  return g + fractions;
}

#endif  // HWY_TARGET != HWY_SCALAR

#if HWY_TARGET != HWY_SCALAR

// Replaces the vectors of a row by their value under `treat`, which reads a vector's bytes at a
// byte offset of the row. The first and the last vector are read before anything is written and
// written after everything else, so that those between can lie on whole cache lines and nothing is
// left over. False when the row is shorter than a vector.
template <class D, class Treat>
HWY_INLINE bool TreatInPlace(D d, uint8_t* row, size_t size, size_t group, Treat treat) {
  const size_t lanes = hn::Lanes(d);
  if (size < lanes) return false;
  const size_t last = size - lanes;
  const auto head = treat(size_t{0});
  const auto tail = treat(last);
  // Where vectors of whole groups cannot be aligned, any offset will do.
  const size_t misaligned = reinterpret_cast<uintptr_t>(row) % lanes;
  for (size_t i = (lanes - misaligned) / group * group; i < last; i += lanes) {
    hn::StoreU(treat(i), d, row + i);
  }
  hn::StoreU(tail, d, row + last);
  hn::StoreU(head, d, row);
  return true;
}

#endif  // HWY_TARGET != HWY_SCALAR

void ApplyCurve(const ContrastCurve& curve, uint8_t* luma, size_t count) {
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint8_t> d;
  if (curve.built_in && TreatInPlace(d, luma, count, 1, [&](size_t i) HWY_ATTR {
        return CurveOfBytes(d, hn::LoadU(d, luma + i));
      })) {
    return;
  }
#endif
  for (size_t i = 0; i < count; ++i) luma[i] = curve.table[luma[i]];
}

void GrayGroups(const ContrastCurve& curve, uint8_t* packed, size_t groups) {
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint16_t> dw;
  const hn::Repartition<uint8_t, decltype(dw)> d;
  const auto neutral = hn::Set(dw, kNeutralChroma);
  if (curve.built_in && TreatInPlace(d, packed, 4 * groups, 4, [&](size_t i) HWY_ATTR {
        const auto pixels = hn::BitCast(dw, hn::LoadU(d, packed + i));
        const auto luma = CurveOfLanes(dw, hn::ShiftRight<8>(pixels));
        return hn::BitCast(d, hn::ShiftLeft<8>(luma) | neutral);
      })) {
    return;
  }
#endif
  for (size_t i = 0; i < groups; ++i) {
    uint8_t* group = packed + 4 * i;
    group[0] = group[2] = kNeutralChroma;
    group[1] = curve.table[group[1]];
    group[3] = curve.table[group[3]];
  }
}

void BlendGroup(const ContrastCurve& curve, uint8_t* group, uint8_t mask) {
  if (mask == 0) group[0] = group[2] = kNeutralChroma;
  group[1] = curve.table[group[1]];
  group[3] = curve.table[group[3]];
}

void BlendGroups(const ContrastCurve& curve, uint8_t* packed, const uint8_t* mask, size_t groups) {
  if (groups == 0) return;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint16_t> dw;
  const hn::Repartition<uint8_t, decltype(dw)> d;
  const hn::Repartition<uint32_t, decltype(dw)> dg;  // a group a lane
  const hn::Rebind<uint16_t, decltype(dg)> dm;       // a group's two mask bytes a lane
  const hn::Repartition<uint8_t, decltype(dm)> dm8;
  const auto neutral = hn::Set(dw, kNeutralChroma);
  const auto chroma_bytes = hn::Set(dw, 0x00FF);
  const auto first_byte = hn::Set(dg, 0xFF);
  const auto blend = [&](size_t i) HWY_ATTR {
    const auto pixels = hn::BitCast(dw, hn::LoadU(d, packed + i));
    const auto luma = CurveOfLanes(dw, hn::ShiftRight<8>(pixels));
    const auto masks = hn::PromoteTo(dg, hn::BitCast(dm, hn::LoadU(dm8, mask + i / 2)));
    const auto background =
        hn::BitCast(dw, hn::VecFromMask(dg, (masks & first_byte) == hn::Zero(dg)));
    const auto chroma = hn::IfVecThenElse(background, neutral, pixels & chroma_bytes);
    return hn::BitCast(d, hn::ShiftLeft<8>(luma) | chroma);
  };
  // A vector takes two mask bytes a group; the last group has only one for certain.
  if (curve.built_in && TreatInPlace(d, packed, 4 * (groups - 1), 4, blend)) {
    BlendGroup(curve, packed + 4 * (groups - 1), mask[2 * (groups - 1)]);
    return;
  }
#endif
  for (size_t i = 0; i < groups; ++i) BlendGroup(curve, packed + 4 * i, mask[2 * i]);
}

void BlendChroma(uint8_t* chroma, const uint8_t* upper_mask, const uint8_t* lower_mask,
                 size_t pairs) {
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint8_t> d;
  const hn::RepartitionToWide<decltype(d)> dw;
  const auto neutral = hn::Set(d, kNeutralChroma);
  if (TreatInPlace(d, chroma, 2 * pairs, 2, [&](size_t i) HWY_ATTR {
        const auto smaller = hn::Min(hn::LoadU(d, upper_mask + i), hn::LoadU(d, lower_mask + i));
        const auto background = hn::BitCast(dw, hn::VecFromMask(d, smaller == hn::Zero(d)));
        const auto pair_background = hn::BitCast(
            d, hn::Or3(background, hn::ShiftLeft<8>(background), hn::ShiftRight<8>(background)));
        return hn::IfVecThenElse(pair_background, neutral, hn::LoadU(d, chroma + i));
      })) {
    return;
  }
#endif
  for (size_t i = 0; i < pairs; ++i) {
    const bool kept = upper_mask[2 * i] != 0 && upper_mask[2 * i + 1] != 0 &&
                      lower_mask[2 * i] != 0 && lower_mask[2 * i + 1] != 0;
    if (!kept) chroma[2 * i] = chroma[2 * i + 1] = kNeutralChroma;
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"

namespace vantro {

VANTRO_KERNEL_TABLE(ApplyCurve);
VANTRO_KERNEL_TABLE(GrayGroups);
VANTRO_KERNEL_TABLE(BlendGroups);
VANTRO_KERNEL_TABLE(BlendChroma);

void ApplyCurve(const ContrastCurve& curve, uint8_t* luma, size_t count) {
  VANTRO_KERNEL(ApplyCurve)(curve, luma, count);
}

void GrayGroups(const ContrastCurve& curve, uint8_t* packed, size_t groups) {
  VANTRO_KERNEL(GrayGroups)(curve, packed, groups);
}

void BlendGroups(const ContrastCurve& curve, uint8_t* packed, const uint8_t* mask, size_t groups) {
  VANTRO_KERNEL(BlendGroups)(curve, packed, mask, groups);
}

void BlendChroma(uint8_t* chroma, const uint8_t* upper_mask, const uint8_t* lower_mask,
                 size_t pairs) {
  VANTRO_KERNEL(BlendChroma)(chroma, upper_mask, lower_mask, pairs);
}

}  // namespace vantro
#endif  // HWY_ONCE

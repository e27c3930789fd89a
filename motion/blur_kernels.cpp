#include "motion/blur_kernels.h"

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "motion/blur_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// Weights that sum to 256: every partial sum of the symmetric form fits 16 bits unsigned
// (255 * 256 + 128), and the division is a shift.
template <int kReach>
void SpanPlain(const uint8_t* const* lines, const uint16_t* taps, size_t begin, size_t end,
               uint8_t* HWY_RESTRICT out) {
  for (size_t x = begin; x < end; ++x) {
    unsigned sum = 128u + unsigned{taps[kReach]} * lines[kReach][x];
    for (int i = 0; i < kReach; ++i) {
      sum += unsigned{taps[i]} * (unsigned{lines[i][x]} + lines[2 * kReach - i][x]);
    }
    out[x] = static_cast<uint8_t>(sum >> 8);
  }
}

#if HWY_TARGET != HWY_SCALAR
template <int kReach, class D16>
HWY_INLINE void SpanVector(D16 d16, const uint8_t* const* lines, const uint16_t* taps, size_t x,
                           uint8_t* HWY_RESTRICT out) {
  const hn::Rebind<uint8_t, D16> d8;
  const hn::RebindToSigned<D16> di16;
  const auto sample = [&](int i) { return hn::PromoteTo(d16, hn::LoadU(d8, lines[i] + x)); };
  auto sum = hn::Add(hn::Set(d16, 128), hn::Mul(hn::Set(d16, taps[kReach]), sample(kReach)));
  for (int i = 0; i < kReach; ++i) {
    const auto pair = hn::Add(sample(i), sample(2 * kReach - i));
    sum = hn::Add(sum, hn::Mul(hn::Set(d16, taps[i]), pair));
  }
  hn::StoreU(hn::DemoteTo(d8, hn::BitCast(di16, hn::ShiftRight<8>(sum))), d8, out + x);
}
#endif

template <int kReach>
void Span(const uint8_t* const* lines, const uint16_t* taps, size_t width,
          uint8_t* HWY_RESTRICT out) {
#if HWY_TARGET != HWY_SCALAR
  // The last vector of a row covers some of the one before it again.
  const hn::ScalableTag<uint16_t> d16;
  const size_t lanes = hn::Lanes(d16);
  if (width >= lanes) {
    for (size_t x = 0; x + lanes <= width; x += lanes) SpanVector<kReach>(d16, lines, taps, x, out);
    if (width % lanes != 0) SpanVector<kReach>(d16, lines, taps, width - lanes, out);
    return;
  }
  const hn::CappedTag<uint16_t, 8> narrow;
  const size_t few = hn::Lanes(narrow);
  if (width >= few) {
    for (size_t x = 0; x + few <= width; x += few) SpanVector<kReach>(narrow, lines, taps, x, out);
    SpanVector<kReach>(narrow, lines, taps, width - few, out);
    return;
  }
#endif
  SpanPlain<kReach>(lines, taps, 0, width, out);
}

// Any weights: sums of 13 products of 16 and 8 bits fit 32 bits.
void SpanDivided(const uint8_t* const* lines, const BlurWeights& weights, size_t width,
                 uint8_t* HWY_RESTRICT out) {
  if (weights.divisor == 0) {
    for (size_t x = 0; x < width; ++x) out[x] = 0;
    return;
  }
  for (size_t x = 0; x < width; ++x) {
    uint32_t sum = weights.divisor / 2;
    for (int i = 0; i <= 2 * weights.reach; ++i) sum += uint32_t{weights.taps[i]} * lines[i][x];
    out[x] = static_cast<uint8_t>(sum / weights.divisor);
  }
}

void BlurLines(const uint8_t* const* lines, const BlurWeights& weights, size_t width,
               uint8_t* out) {
  if (!weights.sums_to_256) return SpanDivided(lines, weights, width, out);
  switch (weights.reach) {
    case 1:
      return Span<1>(lines, weights.taps, width, out);
    case 2:
      return Span<2>(lines, weights.taps, width, out);
    case 3:
      return Span<3>(lines, weights.taps, width, out);
    case 4:
      return Span<4>(lines, weights.taps, width, out);
    case 5:
      return Span<5>(lines, weights.taps, width, out);
    default:
      return Span<6>(lines, weights.taps, width, out);
  }
}

// The row's samples from `begin` on, mirrored, in one stretch with `count` centres.
void BlurMirrored(const uint8_t* row, const BlurWeights& weights, size_t width, size_t begin,
                  size_t count, uint8_t* out) {
  const size_t reach = static_cast<size_t>(weights.reach);
  uint8_t samples[4 * kLongestReach];
  const uint8_t* lines[kMostTaps];
  for (size_t i = 0; i < count + 2 * reach; ++i) {
    samples[i] = row[Mirror(static_cast<ptrdiff_t>(begin + i) - weights.reach, width)];
  }
  for (size_t i = 0; i <= 2 * reach; ++i) lines[i] = samples + i;
  BlurLines(lines, weights, count, out + begin);
}

void BlurRow(const uint8_t* row, const BlurWeights& weights, size_t width, uint8_t* out) {
  const size_t reach = static_cast<size_t>(weights.reach);
  if (width <= 2 * reach) return BlurMirrored(row, weights, width, 0, width, out);
  BlurMirrored(row, weights, width, 0, reach, out);
  BlurMirrored(row, weights, width, width - reach, reach, out);
  const uint8_t* lines[kMostTaps];
  for (size_t i = 0; i <= 2 * reach; ++i) lines[i] = row + i;
  BlurLines(lines, weights, width - 2 * reach, out + reach);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"

namespace vantro {

VANTRO_KERNEL_TABLE(BlurLines);
VANTRO_KERNEL_TABLE(BlurRow);

BlurWeights ReadWeights(const uint16_t* weights, int reach) {
  BlurWeights result{};
  result.reach = reach;
  for (int i = 0; i <= reach; ++i) result.taps[i] = result.taps[2 * reach - i] = weights[i];
  // Only the shortest member reads its right neighbour's weight.
  if (reach == 1) result.taps[2] = weights[2];
  result.divisor = weights[reach];
  for (int i = 0; i < reach; ++i) result.divisor += 2u * weights[i];
  result.sums_to_256 = result.divisor == 256 && result.taps[0] == result.taps[2 * reach];
  return result;
}

void BlurAcross(const uint8_t* const* lines, const BlurWeights& weights, size_t width,
                uint8_t* out) {
  VANTRO_KERNEL(BlurLines)(lines, weights, width, out);
}

void BlurAlong(const uint8_t* row, const BlurWeights& weights, size_t width, uint8_t* out) {
  VANTRO_KERNEL(BlurRow)(row, weights, width, out);
}

}  // namespace vantro
#endif  // HWY_ONCE

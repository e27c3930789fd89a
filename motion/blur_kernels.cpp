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
void SpanPlain(const uint8_t* const* lines, const uint16_t* taps, size_t width,
               uint8_t* HWY_RESTRICT out) {
  for (size_t x = 0; x < width; ++x) {
    unsigned sum = 128u + unsigned{taps[kReach]} * lines[kReach][x];
    for (int i = 0; i < kReach; ++i) {
      sum += unsigned{taps[i]} * (unsigned{lines[i][x]} + lines[2 * kReach - i][x]);
    }
    out[x] = static_cast<uint8_t>(sum >> 8);
  }
}

#if HWY_TARGET != HWY_SCALAR
// A span of at least one vector; the last one covers some samples again.
template <int kReach, class D16>
HWY_INLINE void SpanVectors(D16 d16, const uint8_t* const* lines, const uint16_t* taps,
                            size_t width, uint8_t* HWY_RESTRICT out) {
  const hn::Rebind<uint8_t, D16> d8;
  const hn::RebindToSigned<D16> di16;
  // Copies, because a store of bytes might change what the arguments point to.
  hn::Vec<D16> weight[kReach + 1];
  for (int i = 0; i <= kReach; ++i) weight[i] = hn::Set(d16, taps[i]);
  const auto half = hn::Set(d16, 128);

  const auto vector_at = [&](size_t x) HWY_ATTR {
    const auto sample = [&](int i)
                            HWY_ATTR { return hn::PromoteTo(d16, hn::LoadU(d8, lines[i] + x)); };
    auto sum = hn::Add(half, hn::Mul(weight[kReach], sample(kReach)));
    for (int i = 0; i < kReach; ++i) {
      const auto pair = hn::Add(sample(i), sample(2 * kReach - i));
      sum = hn::Add(sum, hn::Mul(weight[i], pair));
    }
    hn::StoreU(hn::DemoteTo(d8, hn::BitCast(di16, hn::ShiftRight<8>(sum))), d8, out + x);
  };
  const size_t lanes = hn::Lanes(d16);
  size_t x = 0;
  for (; x + lanes <= width; x += lanes) vector_at(x);
  if (x < width) vector_at(width - lanes);
}

// The same for the weights 64, 128, 64: (above + 2 * centre + below + 2) / 4 as the mean, rounded
// up, of the centre and of the mean, rounded down, of the others. The odd unit that is rounded down
// never decides.
template <class D8>
HWY_INLINE void SpanMeans(D8 d8, const uint8_t* const* lines, size_t width,
                          uint8_t* HWY_RESTRICT out) {
  const uint8_t* const above = lines[0];
  const uint8_t* const centre = lines[1];
  const uint8_t* const below = lines[2];
  const auto vector_at = [&](size_t x) HWY_ATTR {
    const auto a = hn::LoadU(d8, above + x);
    const auto b = hn::LoadU(d8, below + x);
    const auto odd = hn::And(hn::Xor(a, b), hn::Set(d8, 1));
    const auto mean = hn::Sub(hn::AverageRound(a, b), odd);
    hn::StoreU(hn::AverageRound(mean, hn::LoadU(d8, centre + x)), d8, out + x);
  };
  const size_t lanes = hn::Lanes(d8);
  size_t x = 0;
  for (; x + lanes <= width; x += lanes) vector_at(x);
  if (x < width) vector_at(width - lanes);
}
#endif

template <int kReach>
void Span(const uint8_t* const* lines, const uint16_t* taps, size_t width,
          uint8_t* HWY_RESTRICT out) {
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint16_t> wide;
  const hn::CappedTag<uint16_t, 8> narrow;
  if (kReach == 1 && taps[0] == 64) {  // and 128 in the middle, as they sum to 256
    const hn::ScalableTag<uint8_t> bytes;
    const hn::CappedTag<uint8_t, 16> few_bytes;
    if (width >= hn::Lanes(bytes)) return SpanMeans(bytes, lines, width, out);
    if (width >= hn::Lanes(few_bytes)) return SpanMeans(few_bytes, lines, width, out);
  }
  if (width >= hn::Lanes(wide)) return SpanVectors<kReach>(wide, lines, taps, width, out);
  if (width >= hn::Lanes(narrow)) return SpanVectors<kReach>(narrow, lines, taps, width, out);
#endif
  SpanPlain<kReach>(lines, taps, width, out);
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

template <int kReach>
HWY_INLINE void LinesOf(const uint8_t* const* lines, const BlurWeights& weights, size_t width,
                        uint8_t* out) {
  if (weights.sums_to_256) return Span<kReach>(lines, weights.taps, width, out);
  SpanDivided(lines, weights, width, out);
}

// A row so short that each sample's neighbours may be mirrored on both sides.
template <int kReach>
void ShortRowOf(const uint8_t* row, const BlurWeights& weights, size_t width, uint8_t* out) {
  uint8_t samples[4 * kReach];
  const uint8_t* lines[2 * kReach + 1];
  for (size_t i = 0; i < width + 2 * kReach; ++i) {
    samples[i] = row[Mirror(static_cast<ptrdiff_t>(i) - kReach, width)];
  }
  for (int i = 0; i <= 2 * kReach; ++i) lines[i] = samples + i;
  LinesOf<kReach>(lines, weights, width, out);
}

// The first and the last samples of a longer row. Both ends, if they are more than a sample each,
// lie side by side, in one stretch; what it gives for the seam is dropped.
template <int kReach>
HWY_INLINE void RowEndsOf(const uint8_t* row, const BlurWeights& weights, size_t width,
                          uint8_t* out) {
  const uint8_t* const end = row + width;
  if constexpr (kReach == 1) {
    const uint8_t* const first[] = {row + 1, row, row + 1};
    const uint8_t* const last[] = {end - 2, end - 1, end - 2};
    LinesOf<1>(first, weights, 1, out);
    LinesOf<1>(last, weights, 1, out + width - 1);
    return;
  }
  uint8_t samples[6 * kReach];
  uint8_t blurred[4 * kReach];
  const uint8_t* lines[2 * kReach + 1];
  for (int i = 0; i < kReach; ++i) {
    samples[i] = row[kReach - i];
    samples[5 * kReach + i] = end[-2 - i];
  }
  for (int i = 0; i < 2 * kReach; ++i) {
    samples[kReach + i] = row[i];
    samples[3 * kReach + i] = end[i - 2 * kReach];
  }
  for (int i = 0; i <= 2 * kReach; ++i) lines[i] = samples + i;
  LinesOf<kReach>(lines, weights, 4 * kReach, blurred);
  for (int i = 0; i < kReach; ++i) {
    out[i] = blurred[i];
    out[width - kReach + static_cast<size_t>(i)] = blurred[3 * kReach + i];
  }
}

template <int kReach>
void RowOf(const uint8_t* row, const BlurWeights& weights, size_t width, uint8_t* out) {
  if (width <= 2 * kReach) return ShortRowOf<kReach>(row, weights, width, out);
  RowEndsOf<kReach>(row, weights, width, out);
  const uint8_t* lines[2 * kReach + 1];
  for (int i = 0; i <= 2 * kReach; ++i) lines[i] = row + i;
  LinesOf<kReach>(lines, weights, width - 2 * kReach, out + kReach);
}

void BlurLines(const uint8_t* const* lines, const BlurWeights& weights, size_t width,
               uint8_t* out) {
  switch (weights.reach) {
    case 1:
      return LinesOf<1>(lines, weights, width, out);
    case 2:
      return LinesOf<2>(lines, weights, width, out);
    case 3:
      return LinesOf<3>(lines, weights, width, out);
    case 4:
      return LinesOf<4>(lines, weights, width, out);
    case 5:
      return LinesOf<5>(lines, weights, width, out);
    default:
      return LinesOf<6>(lines, weights, width, out);
  }
}

void BlurRow(const uint8_t* row, const BlurWeights& weights, size_t width, uint8_t* out) {
  switch (weights.reach) {
    case 1:
      return RowOf<1>(row, weights, width, out);
    case 2:
      return RowOf<2>(row, weights, width, out);
    case 3:
      return RowOf<3>(row, weights, width, out);
    case 4:
      return RowOf<4>(row, weights, width, out);
    case 5:
      return RowOf<5>(row, weights, width, out);
    default:
      return RowOf<6>(row, weights, width, out);
  }
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

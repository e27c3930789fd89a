#include "render/upscale_kernels.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/upscale_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;

// A row is treated in strips of source columns: first the two source rows are weighed against each
// other, then the result is spread horizontally. Every sum fits into 16 bits.
constexpr size_t kStripColumns = 1024;

struct Strip {
  // The columns begin to begin + count - 1 of a row of `width`.
  size_t begin;
  size_t count;
  size_t width;
  // Their weighed samples between those of their neighbours; the row's ends are repeated.
  uint16_t sums[kStripColumns + 2];

  void Weigh(const uint8_t* first, uint16_t first_weight, const uint8_t* second,
             uint16_t second_weight) {
    const auto sum = [=](size_t x) {
      return static_cast<uint16_t>(first[x] * first_weight + second[x] * second_weight);
    };
    size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<uint16_t> dw;
    const hn::Rebind<uint8_t, decltype(dw)> dh;
    const auto first_weights = hn::Set(dw, first_weight);
    const auto second_weights = hn::Set(dw, second_weight);
    for (; i + hn::Lanes(dw) <= count; i += hn::Lanes(dw)) {
      const auto a = hn::PromoteTo(dw, hn::LoadU(dh, first + begin + i));
      const auto b = hn::PromoteTo(dw, hn::LoadU(dh, second + begin + i));
      hn::StoreU(a * first_weights + b * second_weights, dw, sums + 1 + i);
    }
#endif
    for (; i < count; ++i) sums[1 + i] = sum(begin + i);
    sums[0] = sum(begin == 0 ? 0 : begin - 1);
    sums[count + 1] = sum(begin + count == width ? width - 1 : begin + count);
  }
};

// Runs treat(strip) for the strips of a row.
template <class Treat>
HWY_INLINE void ForEachStrip(int32_t width, Treat treat) {
  Strip strip;
  strip.width = static_cast<size_t>(width);
  for (strip.begin = 0; strip.begin < strip.width; strip.begin += kStripColumns) {
    strip.count = std::min(kStripColumns, strip.width - strip.begin);
    treat(strip);
  }
}

// Runs block(i) for blocks of `lanes` columns that cover columns 0 to count - 1, each of which
// becomes `bytes` samples from dst on. The first and the last overlap their neighbours, so that
// those between write whole cache lines. False when there are too few columns for a block.
template <class Block>
HWY_INLINE bool ForEachBlock(const uint8_t* dst, size_t count, size_t lanes, size_t bytes,
                             Block block) {
  if (count < lanes) return false;
  const size_t line = lanes * bytes;
  const size_t last = count - lanes;
  block(size_t{0});
  for (size_t i = (line - reinterpret_cast<uintptr_t>(dst) % line) / bytes; i < last; i += lanes) {
    block(i);
  }
  block(last);
  return true;
}

void DoubleStrip(uint8_t* dst, const Strip& strip, uint16_t round) {
  // A column lies at sums[i + 1].
  const uint16_t* sums = strip.sums;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint16_t> dw;
  const hn::Repartition<uint8_t, decltype(dw)> d;
  const auto bias = hn::Set(dw, round);
  if (ForEachBlock(dst, strip.count, hn::Lanes(dw), 2, [&](size_t i) HWY_ATTR {
        const auto column = hn::LoadU(dw, sums + i + 1);
        const auto centre = column + column + column + bias;
        const auto even = hn::ShiftRight<4>(centre + hn::LoadU(dw, sums + i));
        const auto odd = hn::ShiftRight<4>(centre + hn::LoadU(dw, sums + i + 2));
        hn::StoreU(hn::BitCast(d, even | hn::ShiftLeft<8>(odd)), d, dst + 2 * i);
      })) {
    return;
  }
#endif
  for (size_t i = 0; i < strip.count; ++i) {
    const int32_t centre = 3 * sums[i + 1] + round;
    dst[2 * i] = static_cast<uint8_t>((centre + sums[i]) >> 4);
    dst[2 * i + 1] = static_cast<uint8_t>((centre + sums[i + 2]) >> 4);
  }
}

void DoubleRow(uint8_t* dst, const uint8_t* near, const uint8_t* far, int32_t width,
               Rounding rounding) {
  ForEachStrip(width, [&](Strip& strip) HWY_ATTR {
    strip.Weigh(near, 3, far, 1);
    DoubleStrip(dst + 2 * strip.begin, strip, rounding == Rounding::kHalfUp ? 8 : 0);
  });
}

// `fits` says that no sample passes a byte, so that they can be put together without a mask.
void QuadStrip(uint8_t* dst, const Strip& strip, uint16_t round, bool fits) {
  const uint16_t* sums = strip.sums;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint16_t> dw;
  const auto bias = hn::Set(dw, round);
  const auto high_byte = hn::Set(dw, 0xFF00);
  if (fits && ForEachBlock(dst, strip.count, hn::Lanes(dw), 4, [&](size_t i) HWY_ATTR {
        // From a column to its neighbours the weights move by eighths; a difference may be
        // negative, and wraps back in the sums.
        const auto column = hn::LoadU(dw, sums + i + 1);
        const auto to_left = hn::LoadU(dw, sums + i) - column;
        const auto to_right = hn::LoadU(dw, sums + i + 2) - column;
        const auto base = hn::ShiftLeft<3>(column) + bias;
        const auto second = base + to_left;
        const auto first = second + to_left + to_left;
        const auto third = base + to_right;
        const auto fourth = third + to_right + to_right;
        hn::StoreInterleaved2(
            hn::OrAnd(hn::ShiftRight<6>(first), hn::ShiftLeft<2>(second), high_byte),
            hn::OrAnd(hn::ShiftRight<6>(third), hn::ShiftLeft<2>(fourth), high_byte), dw,
            reinterpret_cast<uint16_t*>(dst + 4 * i));
      })) {
    return;
  }
#else
  (void)fits;
#endif
  for (size_t i = 0; i < strip.count; ++i) {
    const int32_t left = sums[i];
    const int32_t column = sums[i + 1];
    const int32_t right = sums[i + 2];
    dst[4 * i] = static_cast<uint8_t>((3 * left + 5 * column + round) >> 6);
    dst[4 * i + 1] = static_cast<uint8_t>((left + 7 * column + round) >> 6);
    dst[4 * i + 2] = static_cast<uint8_t>((7 * column + right + round) >> 6);
    dst[4 * i + 3] = static_cast<uint8_t>((5 * column + 3 * right + round) >> 6);
  }
}

void QuadRow(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, int32_t width,
             RowWeights weights, QuadFilter filter) {
  const uint16_t round = filter == QuadFilter::kRepeatEdges ? 32 : 0;
  ForEachStrip(width, [&](Strip& strip) HWY_ATTR {
    strip.Weigh(upper, static_cast<uint16_t>(weights.upper), lower,
                static_cast<uint16_t>(weights.lower));
    QuadStrip(dst + 4 * strip.begin, strip, round, weights.upper + weights.lower <= 8);
  });
  if (filter != QuadFilter::kRepeatEdges) return;
  uint8_t* end = dst + 4 * static_cast<size_t>(width);
  dst[0] = dst[1] = dst[2];
  end[-2] = end[-1] = end[-3];
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"

namespace vantro {

VANTRO_KERNEL_TABLE(DoubleRow);
VANTRO_KERNEL_TABLE(QuadRow);

void DoubleRow(uint8_t* dst, const uint8_t* near, const uint8_t* far, int32_t width,
               Rounding rounding) {
  VANTRO_KERNEL(DoubleRow)(dst, near, far, width, rounding);
}

void QuadRow(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, int32_t width,
             RowWeights weights, QuadFilter filter) {
  VANTRO_KERNEL(QuadRow)(dst, upper, lower, width, weights, filter);
}

}  // namespace vantro
#endif  // HWY_ONCE

#include "render/upscale_kernels.h"

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

// Every sum below fits into 16 bits.

// Runs block(p) for blocks of `lanes` source columns that cover the columns 1 to width - 2, so that
// a block finds a column on each side of it. A block of p writes from dst + bytes * p on, where
// `bytes` is the number of samples a source column becomes. Blocks overlap at both ends, so that
// those between write whole cache lines. Returns false when the row is too short for one block.
template <class Block>
HWY_INLINE bool ForEachBlock(const uint8_t* dst, size_t width, size_t lanes, size_t bytes,
                             Block block) {
  if (width < lanes + 2) return false;
  const size_t last = width - 1 - lanes;
  block(size_t{1});
  const size_t line = lanes * bytes;
  const size_t misaligned = reinterpret_cast<uintptr_t>(dst) % line;
  size_t p = (line - misaligned) / bytes;
  if (p < 2) p += lanes;
  if (p > lanes + 1) p = lanes + 1;
  for (; p < last; p += lanes) block(p);
  block(last);
  return true;
}

int32_t NearFar(const uint8_t* near, const uint8_t* far, size_t i) { return 3 * near[i] + far[i]; }

void DoubleRow(uint8_t* dst, const uint8_t* near, const uint8_t* far, int32_t width,
               Rounding rounding) {
  const auto n = static_cast<size_t>(width);
  const int32_t round = rounding == Rounding::kHalfUp ? 8 : 0;
  // The two samples round source column `at`, which has the neighbours `left` and `right`.
  const auto write = [&](size_t left, size_t at, size_t right) {
    const int32_t centre = 3 * NearFar(near, far, at) + round;
    dst[2 * at] = static_cast<uint8_t>((centre + NearFar(near, far, left)) >> 4);
    dst[2 * at + 1] = static_cast<uint8_t>((centre + NearFar(near, far, right)) >> 4);
  };
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint16_t> dw;
  const hn::Rebind<uint8_t, decltype(dw)> dh;
  const hn::Repartition<uint8_t, decltype(dw)> d;
  const auto three = hn::Set(dw, 3);
  const auto bias = hn::Set(dw, static_cast<uint16_t>(round));
  const auto vertical = [&](size_t i) HWY_ATTR {
    return hn::PromoteTo(dw, hn::LoadU(dh, near + i)) * three +
           hn::PromoteTo(dw, hn::LoadU(dh, far + i));
  };
  const bool in_blocks = ForEachBlock(dst, n, hn::Lanes(dw), 2, [&](size_t j) HWY_ATTR {
    const auto centre = vertical(j) * three + bias;
    const auto even = hn::ShiftRight<4>(centre + vertical(j - 1));
    const auto odd = hn::ShiftRight<4>(centre + vertical(j + 1));
    hn::StoreU(hn::BitCast(d, even | hn::ShiftLeft<8>(odd)), d, dst + 2 * j);
  });
#else
  const bool in_blocks = false;
#endif
  for (size_t j = 1; !in_blocks && j + 1 < n; ++j) write(j - 1, j, j + 1);
  write(0, 0, n > 1 ? 1 : 0);
  if (n > 1) write(n - 2, n - 1, n - 1);
}

void QuadRow(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, int32_t width,
             RowWeights weights) {
  const auto n = static_cast<size_t>(width);
  const auto vertical_at = [&](size_t i) {
    return weights.upper * upper[i] + weights.lower * lower[i];
  };
  // The four samples round source column `at`, which has the neighbours `left` and `right`.
  const auto write = [&](size_t left, size_t at, size_t right) {
    const int32_t centre = vertical_at(at);
    const int32_t before = vertical_at(left);
    const int32_t behind = vertical_at(right);
    dst[4 * at] = static_cast<uint8_t>((3 * before + 5 * centre + 32) >> 6);
    dst[4 * at + 1] = static_cast<uint8_t>((before + 7 * centre + 32) >> 6);
    dst[4 * at + 2] = static_cast<uint8_t>((7 * centre + behind + 32) >> 6);
    dst[4 * at + 3] = static_cast<uint8_t>((5 * centre + 3 * behind + 32) >> 6);
  };
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint16_t> dw;
  const hn::Rebind<uint8_t, decltype(dw)> dh;
  const auto upper_weight = hn::Set(dw, static_cast<uint16_t>(weights.upper));
  const auto lower_weight = hn::Set(dw, static_cast<uint16_t>(weights.lower));
  const auto bias = hn::Set(dw, 32);
  const auto vertical = [&](size_t i) HWY_ATTR {
    return hn::PromoteTo(dw, hn::LoadU(dh, upper + i)) * upper_weight +
           hn::PromoteTo(dw, hn::LoadU(dh, lower + i)) * lower_weight;
  };
  // The samples are put together without a mask, so they have to fit a byte.
  const bool fits = weights.upper + weights.lower <= 8;
  const bool in_blocks =
      fits && ForEachBlock(dst, n, hn::Lanes(dw), 4, [&](size_t p) HWY_ATTR {
        const auto centre = vertical(p);
        // From the column to its neighbours the weights move by eighths; a difference may be
        // negative, and wraps back in the sums.
        const auto to_left = vertical(p - 1) - centre;
        const auto to_right = vertical(p + 1) - centre;
        const auto base = hn::ShiftLeft<3>(centre) + bias;
        const auto second = base + to_left;
        const auto first = second + to_left + to_left;
        const auto third = base + to_right;
        const auto fourth = third + to_right + to_right;
        hn::StoreInterleaved2(
            hn::ShiftRight<6>(first) | hn::ShiftLeft<8>(hn::ShiftRight<6>(second)),
            hn::ShiftRight<6>(third) | hn::ShiftLeft<8>(hn::ShiftRight<6>(fourth)), dw,
            reinterpret_cast<uint16_t*>(dst + 4 * p));
      });
#else
  const bool in_blocks = false;
#endif
  for (size_t p = 1; !in_blocks && p + 1 < n; ++p) write(p - 1, p, p + 1);
  write(0, 0, n > 1 ? 1 : 0);
  if (n > 1) write(n - 2, n - 1, n - 1);
  dst[0] = dst[1] = dst[2];
  dst[4 * n - 2] = dst[4 * n - 1] = dst[4 * n - 3];
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
             RowWeights weights) {
  VANTRO_KERNEL(QuadRow)(dst, upper, lower, width, weights);
}

}  // namespace vantro
#endif  // HWY_ONCE

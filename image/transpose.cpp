#include "image/transpose.h"

#include <algorithm>

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "image/transpose.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR
// A block is as many rows as a vector has bytes and 16 columns wide: wide enough for whole-vector
// stores, with 16-byte loads.
using D = hn::CappedTag<uint8_t, 32>;
using V = hn::Vec<D>;

// Row `src`, and beside it the row 16 further where vectors are that long.
HWY_INLINE V LoadRows(const uint8_t* src, int64_t src_pitch) {
#if HWY_MAX_BYTES >= 32
  const hn::Half<D> half;
  return hn::Combine(D(), hn::LoadU(half, src + 16 * src_pitch), hn::LoadU(half, src));
#else
  (void)src_pitch;
  return hn::LoadU(D(), src);
#endif
}

// Interleaving row i with row i + 8, four times over, turns 16 rows into columns.
HWY_INLINE void TurnBlock(const uint8_t* src, int64_t src_pitch, uint8_t* dst, int64_t dst_pitch) {
  const D d;
  V a[16], b[16];
  for (int i = 0; i < 16; ++i) a[i] = LoadRows(src + i * src_pitch, src_pitch);
  const auto interleave = [d](const V* HWY_RESTRICT from, V* HWY_RESTRICT to) HWY_ATTR {
    for (int i = 0; i < 8; ++i) {
      to[2 * i] = hn::InterleaveLower(d, from[i], from[i + 8]);
      to[2 * i + 1] = hn::InterleaveUpper(d, from[i], from[i + 8]);
    }
  };
  interleave(a, b);
  interleave(b, a);
  interleave(a, b);
  interleave(b, a);
  for (int i = 0; i < 16; ++i) hn::StoreU(a[i], d, dst - i * dst_pitch);
}
#endif

// A tile small enough for its lines to stay in the cache until they are complete. Its last blocks
// overlap those before.
void TurnTile(const uint8_t* src, int64_t src_pitch, int rows, int columns, uint8_t* dst,
              int64_t dst_pitch) {
#if HWY_TARGET != HWY_SCALAR
  constexpr int kWide = 16;
  const int tall = static_cast<int>(hn::Lanes(D()));
  if (rows >= tall && columns >= kWide) {
    for (int k = 0; k < columns; k += kWide) {
      const int column = std::min(k, columns - kWide);
      for (int x = 0; x < rows; x += tall) {
        const int row = std::min(x, rows - tall);
        TurnBlock(src + row * src_pitch + column, src_pitch, dst - column * dst_pitch + row,
                  dst_pitch);
      }
    }
    return;
  }
#endif
  for (int k = 0; k < columns; ++k) {
    for (int x = 0; x < rows; ++x) dst[x - k * dst_pitch] = src[x * src_pitch + k];
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"
namespace vantro {
namespace {
VANTRO_KERNEL_TABLE(TurnTile);
}  // namespace

void TransposeUpwards(const uint8_t* src, int64_t src_pitch, int rows, int columns, uint8_t* dst,
                      int64_t dst_pitch) {
  constexpr int kTile = 64;
  const auto turn = VANTRO_KERNEL(TurnTile);
  // The last tiles overlap those before, so that all of them are whole where the plane allows.
  for (int k = 0; k < columns; k += kTile) {
    const int column = std::max(std::min(k, columns - kTile), 0);
    for (int x = 0; x < rows; x += kTile) {
      const int row = std::max(std::min(x, rows - kTile), 0);
      turn(src + row * src_pitch + column, src_pitch, std::min(kTile, rows),
           std::min(kTile, columns), dst - column * dst_pitch + row, dst_pitch);
    }
  }
}

}  // namespace vantro
#endif  // HWY_ONCE

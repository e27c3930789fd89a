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
// Blocks of 16x16 bytes, side by side in a vector. Wider vectors would only be split again.
using D = hn::CappedTag<uint8_t, 32>;
using V = hn::Vec<D>;

HWY_INLINE void StoreBlocks(V v, uint8_t* dst, int64_t dst_pitch) {
#if HWY_MAX_BYTES >= 32
  const hn::Half<D> block;
  hn::StoreU(hn::LowerHalf(block, v), block, dst);
  hn::StoreU(hn::UpperHalf(block, v), block, dst - 16 * dst_pitch);
#else
  (void)dst_pitch;
  hn::StoreU(v, D(), dst);
#endif
}

// Interleaving row i with row i + 8, four times over, turns 16 rows into columns.
HWY_INLINE void TurnBlocks(const uint8_t* src, int64_t src_pitch, uint8_t* dst, int64_t dst_pitch) {
  const D d;
  V a[16], b[16];
  for (int i = 0; i < 16; ++i) a[i] = hn::LoadU(d, src + i * src_pitch);
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
  for (int i = 0; i < 16; ++i) StoreBlocks(a[i], dst - i * dst_pitch, dst_pitch);
}
#endif

// A tile small enough for its lines to stay in the cache until they are complete.
void TurnTile(const uint8_t* src, int64_t src_pitch, int rows, int columns, uint8_t* dst,
              int64_t dst_pitch) {
  int whole_rows = 0;
  int whole_columns = 0;
#if HWY_TARGET != HWY_SCALAR
  const int wide = static_cast<int>(hn::Lanes(D()));
  whole_rows = rows - rows % 16;
  whole_columns = columns - columns % wide;
  for (int k = 0; k < whole_columns; k += wide) {
    for (int x = 0; x < whole_rows; x += 16) {
      TurnBlocks(src + x * src_pitch + k, src_pitch, dst - k * dst_pitch + x, dst_pitch);
    }
  }
#endif
  for (int k = 0; k < columns; ++k) {
    for (int x = k < whole_columns ? whole_rows : 0; x < rows; ++x) {
      dst[x - k * dst_pitch] = src[x * src_pitch + k];
    }
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
  for (int k = 0; k < columns; k += kTile) {
    for (int x = 0; x < rows; x += kTile) {
      turn(src + x * src_pitch + k, src_pitch, std::min(kTile, rows - x),
           std::min(kTile, columns - k), dst - k * dst_pitch + x, dst_pitch);
    }
  }
}

}  // namespace vantro
#endif  // HWY_ONCE

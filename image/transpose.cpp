#include "image/transpose.h"

#include <algorithm>

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "image/transpose.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#ifndef VANTRO_IMAGE_TRANSPOSE_ONCE
#define VANTRO_IMAGE_TRANSPOSE_ONCE
namespace vantro {
namespace {

// What stands at a source column.
enum class Element { kByte, kEverySecond, kPair };

constexpr int SizeOf(Element element) { return element == Element::kByte ? 1 : 2; }

// The second plane is written for pairs alone.
struct TurnTarget {
  uint8_t* first;
  uint8_t* second;
  int64_t pitch;

  TurnTarget At(int row, int column) const {
    const int64_t offset = row - column * pitch;
    return {first + offset, second == nullptr ? nullptr : second + offset, pitch};
  }
};

}  // namespace
}  // namespace vantro
#endif  // VANTRO_IMAGE_TRANSPOSE_ONCE

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR
// A block is as many rows as a vector has bytes and 16 bytes wide: wide enough for whole-vector
// stores, with 16-byte loads.
constexpr int kBlockBytes = 16;

// Row `src`, and beside it the rows 16, 32, ... further that the vector has room for.
template <class D>
HWY_INLINE hn::Vec<D> LoadRows(D d, const uint8_t* src, int64_t pitch) {
  if constexpr (hn::MaxLanes(d) <= kBlockBytes) {
    (void)pitch;
    return hn::LoadU(d, src);
  } else {
    const hn::Half<D> half;
    constexpr int64_t kHalfRows = hn::MaxLanes(half);
    return hn::Combine(d, LoadRows(half, src + kHalfRows * pitch, pitch),
                       LoadRows(half, src, pitch));
  }
}

template <Element kElement, class D>
HWY_INLINE void TurnBlock(D d, const uint8_t* src, int64_t pitch, const TurnTarget& dst) {
  using V = hn::Vec<D>;
  V a[16], b[16];
  for (int i = 0; i < 16; ++i) a[i] = LoadRows(d, src + i * pitch, pitch);
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
  constexpr int kSize = SizeOf(kElement);
  for (int i = 0; i < kBlockBytes; i += kSize) {
    const int64_t row = i / kSize * dst.pitch;
    hn::StoreU(a[i], d, dst.first - row);
    if constexpr (kElement == Element::kPair) hn::StoreU(a[i + 1], d, dst.second - row);
  }
}

// False for a tile that is smaller than any block. The last blocks overlap those before.
template <Element kElement, class D>
bool TurnBlocks(D d, const TurnSource& source, const TurnTarget& dst) {
  constexpr int kSize = SizeOf(kElement);
  constexpr int kColumns = kBlockBytes / kSize;
  constexpr int kRows = hn::MaxLanes(d);
  if (source.rows < kRows || source.columns < kColumns) {
    if constexpr (kRows > kBlockBytes) {
      return TurnBlocks<kElement>(hn::Half<D>(), source, dst);
    } else {
      return false;
    }
  }
  for (int k = 0; k < source.columns; k += kColumns) {
    const int column = std::min(k, source.columns - kColumns);
    for (int x = 0; x < source.rows; x += kRows) {
      const int row = std::min(x, source.rows - kRows);
      TurnBlock<kElement>(d, source.data + row * source.pitch + column * kSize, source.pitch,
                          dst.At(row, column));
    }
  }
  return true;
}
#endif  // HWY_TARGET != HWY_SCALAR

// A tile small enough for its lines to stay in the cache until they are complete.
template <Element kElement>
void TurnTile(const TurnSource& source, const TurnTarget& dst) {
#if HWY_TARGET != HWY_SCALAR
  if (TurnBlocks<kElement>(hn::ScalableTag<uint8_t>(), source, dst)) return;
#endif
  for (int k = 0; k < source.columns; ++k) {
    for (int x = 0; x < source.rows; ++x) {
      const uint8_t* const element = source.data + x * source.pitch + k * SizeOf(kElement);
      const TurnTarget at = dst.At(x, k);
      *at.first = element[0];
      if constexpr (kElement == Element::kPair) *at.second = element[1];
    }
  }
}

void TurnBytes(const TurnSource& source, const TurnTarget& dst) {
  TurnTile<Element::kByte>(source, dst);
}
void TurnSeconds(const TurnSource& source, const TurnTarget& dst) {
  TurnTile<Element::kEverySecond>(source, dst);
}
void TurnPairs(const TurnSource& source, const TurnTarget& dst) {
  TurnTile<Element::kPair>(source, dst);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"
namespace vantro {
namespace {
VANTRO_KERNEL_TABLE(TurnBytes);
VANTRO_KERNEL_TABLE(TurnSeconds);
VANTRO_KERNEL_TABLE(TurnPairs);

using TileTurner = void (*)(const TurnSource&, const TurnTarget&);

void TurnByTiles(const TurnSource& source, Element element, const TurnTarget& dst,
                 TileTurner turn) {
  constexpr int kTile = 64;
  // The last tiles overlap those before, so that all of them are whole where the plane allows.
  for (int k = 0; k < source.columns; k += kTile) {
    const int column = std::max(std::min(k, source.columns - kTile), 0);
    for (int x = 0; x < source.rows; x += kTile) {
      const int row = std::max(std::min(x, source.rows - kTile), 0);
      turn({source.data + row * source.pitch + column * SizeOf(element), source.pitch,
            std::min(kTile, source.rows), std::min(kTile, source.columns)},
           dst.At(row, column));
    }
  }
}

}  // namespace

void TransposeUpwards(const TurnSource& source, uint8_t* dst, int64_t dst_pitch) {
  TurnByTiles(source, Element::kByte, {dst, nullptr, dst_pitch}, VANTRO_KERNEL(TurnBytes));
}
void TransposeSecondsUpwards(const TurnSource& source, uint8_t* dst, int64_t dst_pitch) {
  TurnByTiles(source, Element::kEverySecond, {dst, nullptr, dst_pitch}, VANTRO_KERNEL(TurnSeconds));
}
void TransposePairsUpwards(const TurnSource& source, uint8_t* first, uint8_t* second,
                           int64_t dst_pitch) {
  TurnByTiles(source, Element::kPair, {first, second, dst_pitch}, VANTRO_KERNEL(TurnPairs));
}

}  // namespace vantro
#endif  // HWY_ONCE

#include "mask/region_runs.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <utility>

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "mask/region_runs.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "mask/mask_words-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {

// The runs of 0 do not count.
HWY_INLINE Columns ReadSetRuns(const MaskPixels& mask, const uint8_t* row, int32_t x) {
  Columns columns = ReadColumns(mask, row, x);
  columns.starts &= columns.set;
  return columns;
}

HWY_INLINE int32_t FindRoot(int32_t* runs, int32_t run) {
  for (int32_t parent = runs[run]; parent >= 0; parent = runs[run]) {
    const int32_t grandparent = runs[parent];
    if (grandparent < 0) return parent;
    runs[run] = grandparent;
    run = grandparent;
  }
  return run;
}

HWY_INLINE void Join(int32_t* runs, int32_t a, int32_t b) {
  int32_t first = FindRoot(runs, a);
  int32_t second = FindRoot(runs, b);
  if (first == second) return;
  if (first > second) std::swap(first, second);
  runs[first] += runs[second];
  runs[second] = first;
}

// Adds the runs that begin in these columns; `count` is the number of runs so far.
HWY_INLINE int32_t AddRuns(int32_t* runs, int32_t count, const Columns& columns) {
  const uint64_t continued = columns.set & ~columns.starts;
  if ((continued & 1) != 0) runs[FindRoot(runs, count - 1)] -= std::countr_one(continued);
  for (uint64_t starts = columns.starts; starts != 0; starts &= starts - 1) {
    runs[count++] = -1 - std::countr_one(continued >> std::countr_zero(starts) >> 1);
  }
  return count;
}

// How many of the runs that begin in these columns do so up to column i.
HWY_INLINE int32_t RunsUpTo(const Columns& columns, int i) {
  return std::popcount(columns.starts & (~uint64_t{0} >> (63 - i)));
}

void JoinRuns(const MaskPixels& mask, int32_t* runs) {
  int32_t count = 0;
  int32_t above_count = 0;  // the runs up to the current column of the row above
  for (int32_t y = 0; y < mask.height; ++y) {
    const uint8_t* row = mask.pixels + ptrdiff_t{y} * mask.width;
    const int32_t row_begin = count;
    uint64_t met_before = 0;
    for (int32_t x = 0; x < mask.width; x += ColumnsLeft(mask, x)) {
      const Columns columns = ReadSetRuns(mask, row, x);
      const int32_t count_before = count;
      count = AddRuns(runs, count, columns);
      if (y == 0) continue;
      const uint8_t* above_row = row - mask.width;
      const Columns above = ReadSetRuns(mask, above_row, x);
      const uint64_t met = columns.set & ReadEqual(mask, row, above_row, x);
      // Two runs that meet in several neighbouring columns are joined in the first one.
      uint64_t joints = met & ~((met << 1 | met_before) & ~columns.starts & ~above.starts);
      for (; joints != 0; joints &= joints - 1) {
        const int i = std::countr_zero(joints);
        Join(runs, count_before + RunsUpTo(columns, i) - 1, above_count + RunsUpTo(above, i) - 1);
      }
      met_before = met >> 63;
      above_count += std::popcount(above.starts);
    }
    above_count = row_begin;
  }
}

// True for a run of a region that is too small. Runs are asked for in their order, so that the run
// that this one hangs on hangs on a root itself.
HWY_INLINE bool IsSmall(int32_t* runs, int32_t run, int32_t smallest) {
  const int32_t parent = runs[run] < 0 ? run : runs[run];
  const int32_t root = runs[parent] < 0 ? parent : runs[parent];
  if (root != run) runs[run] = root;
  return -runs[root] < smallest;
}

HWY_INLINE void ClearWhole(uint8_t* pixels, uint64_t columns) {
#if HWY_TARGET != HWY_SCALAR
  const hn::CappedTag<uint8_t, 64> d;
  uint8_t bits[8 + 8] = {};  // LoadMaskBits reads 8 bytes
  std::memcpy(bits, &columns, sizeof(columns));
  for (size_t i = 0; i < 64; i += hn::Lanes(d)) {
    const auto cleared = hn::LoadMaskBits(d, bits + i / 8);
    hn::StoreU(hn::IfThenZeroElse(cleared, hn::LoadU(d, pixels + i)), d, pixels + i);
  }
#else
  for (; columns != 0; columns &= columns - 1) pixels[std::countr_zero(columns)] = 0;
#endif
}

HWY_INLINE void ClearColumns(uint8_t* pixels, int32_t count, uint64_t columns) {
  if (columns == 0) return;
  if (count >= kWord) {
    ClearWhole(pixels, columns);
    return;
  }
  uint8_t padded[kWord] = {};
  std::memcpy(padded, pixels, static_cast<size_t>(count));
  ClearWhole(padded, columns);
  std::memcpy(pixels, padded, static_cast<size_t>(count));
}

void ClearSmallRegions(const MaskPixels& mask, int32_t* runs, int32_t smallest) {
  int32_t run = 0;
  for (int32_t y = 0; y < mask.height; ++y) {
    uint8_t* row = mask.pixels + ptrdiff_t{y} * mask.width;
    bool small = false;  // the last run
    Columns columns = ReadSetRuns(mask, row, 0);
    for (int32_t x = 0; x < mask.width;) {
      const uint64_t continued = columns.set & ~columns.starts;
      uint64_t cleared = small ? continued & ~(continued + 1) : 0;
      for (uint64_t starts = columns.starts; starts != 0; starts &= starts - 1) {
        // The run's columns: adding at its second one carries through to its end.
        const uint64_t start = starts & (~starts + 1);
        const uint64_t tail = continued & ~(continued + (start << 1));
        small = IsSmall(runs, run++, smallest);
        cleared |= small ? start | tail : 0;
      }
      const int32_t count = ColumnsLeft(mask, x);
      // The columns that follow are read before the pixel before them is cleared.
      uint8_t* pixels = row + x;
      x += count;
      if (x < mask.width) columns = ReadSetRuns(mask, row, x);
      ClearColumns(pixels, count, cleared);
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

VANTRO_KERNEL_TABLE(JoinRuns);
VANTRO_KERNEL_TABLE(ClearSmallRegions);

void JoinRuns(const MaskPixels& mask, int32_t* runs) { VANTRO_KERNEL(JoinRuns)(mask, runs); }

void ClearSmallRegions(const MaskPixels& mask, int32_t* runs, int32_t smallest) {
  VANTRO_KERNEL(ClearSmallRegions)(mask, runs, smallest);
}

}  // namespace vantro
#endif  // HWY_ONCE

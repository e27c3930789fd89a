#include "mask/label_runs.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

#include "mask/label_table.h"
#include "mask/union_find.h"
#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "mask/label_runs.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "mask/mask_words-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {

// The last of the set bits 0 to i, bit 0 being set.
HWY_INLINE int LastUpTo(uint64_t bits, int i) {
  return 63 - std::countl_zero((bits & LowBits(i + 1)) | 1);
}

// Hands out labels for the set bits of `fresh`. Returns how many columns have their labels.
HWY_INLINE int32_t HandOutLabels(ConnectedComponentsLabeling& labeller, uint64_t fresh,
                                 int32_t columns) {
  for (; fresh != 0; fresh &= fresh - 1) {
    if (HandOutLabel(labeller) < 0) return std::countr_zero(fresh);
  }
  return columns;
}

int32_t LabelRunsOfRow(ConnectedComponentsLabeling& labeller, const MaskPixels& mask, int32_t y,
                       int32_t* labels) {
  const ptrdiff_t offset = ptrdiff_t{y} * mask.width;
  const uint8_t* row = mask.pixels + offset;
  const uint8_t* row_above = y > 0 ? row - mask.width : row;
  int32_t label = 0;  // of the last run
  for (int32_t x = 0; x < mask.width;) {
    const int32_t count = ColumnsLeft(mask, x);
    int32_t* here = labels + offset + x;
    const int32_t* above = y > 0 ? here - mask.width : here;
    uint64_t starts = ReadColumns(mask, row, x).starts;
    uint64_t equal = y > 0 ? ReadEqual(mask, row, row_above, x) & LowBits(count) : 0;
    if (starts <= 1 && equal == LowBits(count)) {
      // One run that continues the one above.
      if (starts == 1) label = above[0];
      here[0] = label;
      const int32_t times = count - static_cast<int32_t>(starts);
      if (times > 0) JoinForPixels(labeller.table, label, above[0], times);
      x += count;
      continue;
    }
    const uint64_t starts_above = y > 0 ? ReadColumns(mask, row_above, x).starts | 1 : 1;
    int32_t next = labeller.count;
    const int32_t labelled = HandOutLabels(labeller, starts & ~equal, count);
    if (labelled == 0) return x;
    starts &= LowBits(labelled);
    equal &= LowBits(labelled);

    here[0] = label;
    for (uint64_t left = starts; left != 0; left &= left - 1) {
      const int i = std::countr_zero(left);
      const auto fresh = static_cast<int32_t>(~equal >> i & 1);
      const int32_t label_above = above[LastUpTo(starts_above, i)];
      label = label_above ^ ((label_above ^ next) & -fresh);
      next += fresh;
      here[i] = label;
    }
    // The first pixel of a run took its label from above, or found another value there; every later
    // one joins the run's label with the label above.
    uint64_t met = equal & ~starts;
    starts |= 1;
    while (met != 0) {
      const int i = std::countr_zero(met);
      JoinForPixels(labeller.table, here[LastUpTo(starts, i)], above[LastUpTo(starts_above, i)],
                    std::countr_one(met >> i));
      met &= met + (met & (~met + 1));
    }
    x += labelled;
    if (labelled < count) return x;
  }
  return mask.width;
}

// Here and below a whole word has a branch of its own: with its length known to the compiler it is
// written without a loop, which is 5 to 10 % of labelling a person.
HWY_INLINE void Fill(int32_t* labels, int32_t count, int32_t value) {
  if (count == kWord) {
    for (int32_t i = 0; i < kWord; ++i) labels[i] = value;
  } else {
    for (int32_t i = 0; i < count; ++i) labels[i] = value;
  }
}

// Replaces what the runs' first pixels hold by value(label, length) in all pixels of a row.
template <typename Value>
HWY_INLINE void ExpandRow(const MaskPixels& mask, int32_t y, int32_t columns, int32_t* labels,
                          const Value& value) {
  constexpr int kStore = 8;  // pixels written at a time; those behind a run's end are overwritten
  const ptrdiff_t offset = ptrdiff_t{y} * mask.width;
  for (int32_t x = 0; x < columns; x += std::min(kWord, columns - x)) {
    const int32_t count = std::min(kWord, columns - x);
    int32_t* here = labels + offset + x;
    uint64_t starts = (ReadColumns(mask, mask.pixels + offset, x).starts | 1) & LowBits(count);
    if (starts == 1) {
      Fill(here, count, value(here[0], count));
      continue;
    }
    int32_t expanded[kWord + kStore];
    while (starts != 0) {
      const int begin = std::countr_zero(starts);
      starts &= starts - 1;
      const int end = std::min(std::countr_zero(starts), count);
      const int32_t wanted = value(here[begin], end - begin);
      int i = begin;
      do {
        for (int k = 0; k < kStore; ++k) expanded[i + k] = wanted;
        i += kStore;
      } while (i < end);
    }
    if (count == kWord) {
      std::memcpy(here, expanded, kWord * sizeof(int32_t));
    } else {
      std::memcpy(here, expanded, static_cast<size_t>(count) * sizeof(int32_t));
    }
  }
}

void ExpandLabelsOfRow(const MaskPixels& mask, int32_t y, int32_t columns, int32_t* labels) {
  ExpandRow(mask, y, columns, labels, [](int32_t label, int32_t) { return label; });
}

void ExpandRegionsOfRows(LabelEntry* table, const MaskPixels& mask, int32_t* labels) {
  // One search a pixel, as long as it still shortens the path.
  const auto region = [table](int32_t label, int32_t length) {
    if (IsFlat(table, label)) return table[table[label].parent].region;
    int32_t root = FindRoot(table, label);
    if (table[label].parent != root) {
      for (int32_t i = 1; i < length && !IsFlat(table, label); ++i) FindRoot(table, label);
    }
    return table[root].region;
  };
  for (int32_t y = 0; y < mask.height; ++y) ExpandRow(mask, y, mask.width, labels, region);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"

namespace vantro {
namespace {
VANTRO_KERNEL_TABLE(LabelRunsOfRow);
VANTRO_KERNEL_TABLE(ExpandLabelsOfRow);
VANTRO_KERNEL_TABLE(ExpandRegionsOfRows);
}  // namespace

int32_t LabelRuns(ConnectedComponentsLabeling& labeller, const MaskPixels& mask, int32_t y,
                  int32_t* labels) {
  return VANTRO_KERNEL(LabelRunsOfRow)(labeller, mask, y, labels);
}

void ExpandLabels(const MaskPixels& mask, int32_t y, int32_t columns, int32_t* labels) {
  VANTRO_KERNEL(ExpandLabelsOfRow)(mask, y, columns, labels);
}

void ExpandRegions(LabelEntry* table, const MaskPixels& mask, int32_t* labels) {
  VANTRO_KERNEL(ExpandRegionsOfRows)(table, mask, labels);
}

}  // namespace vantro
#endif  // HWY_ONCE

// The order in which the floating-point bilinear resize computes the rows of its destination: rows
// of one weight together, because the products of weights then serve all of them. Sizes in a whole
// ratio have few weights.
#ifndef VANTRO_RENDER_ROW_PLAN_H_
#define VANTRO_RENDER_ROW_PLAN_H_

#include <cstddef>
#include <cstdint>
#include <span>

#include "render/sample_position.h"

namespace vantro {

// Sampled source rows that are held at a time: as many as stay in the first-level cache.
inline constexpr size_t kHeldRows = 10;

// A row of the destination, the source rows that it lies between, and where those are held.
struct PlannedRow {
  int32_t row;
  SamplePair sources;
  uint8_t held_first;
  uint8_t held_second;
};

// Some rows of the destination.
class RowPlan {
 public:
  static constexpr size_t kRows = 1280;

  // Plans up to kRows rows from `begin` to `end` - 1; `ratio` is the source's height by the
  // destination's.
  RowPlan(int64_t begin, int64_t end, float ratio, int32_t src_height);

  // Calls visit(rows) for groups of rows that share a weight and whose sources are all held in
  // places of their own.
  template <typename Visit>
  void ForEachGroup(Visit visit) const {
    for (size_t i = 0; i < count_; i = group_end_[i]) {
      visit(std::span(rows_ + i, group_end_[i] - i));
    }
  }

 private:
  void GroupByWeight(size_t begin, size_t end);

  size_t count_ = 0;
  PlannedRow rows_[kRows];
  uint16_t group_end_[kRows];  // at the first row of a group
};

}  // namespace vantro

#endif  // VANTRO_RENDER_ROW_PLAN_H_

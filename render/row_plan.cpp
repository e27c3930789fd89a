#include "render/row_plan.h"

#include <algorithm>

namespace vantro {
namespace {

// Hands out places for source rows, which come in rising order, in turns.
class Places {
 public:
  // The place of a source row; the sources of neighbouring rows overlap by one or two.
  uint8_t Of(int32_t source) {
    if (source == last_) return Place(count_ - 1);
    if (source == before_last_) return Place(count_ - 2);
    before_last_ = last_;
    last_ = source;
    return Place(count_++);
  }
  size_t count() const { return count_; }

 private:
  static uint8_t Place(size_t number) { return static_cast<uint8_t>(number % kHeldRows); }

  size_t count_ = 0;
  int32_t last_ = -1;
  int32_t before_last_ = -1;
};

}  // namespace

RowPlan::RowPlan(int64_t begin, int64_t end, float ratio, int32_t src_height)
    : count_(static_cast<size_t>(std::min<int64_t>(end - begin, kRows))) {
  Places places;
  size_t batch = 0;  // its first row
  size_t batch_sources = 0;
  for (size_t i = 0; i < count_; ++i) {
    const int64_t row = begin + static_cast<int64_t>(i);
    const SamplePair sources = PairAt(row, ratio, src_height);
    const size_t sources_before = places.count();
    const uint8_t first = places.Of(sources.first);
    const uint8_t second = places.Of(sources.second);
    if (places.count() - batch_sources > kHeldRows) {
      // A new batch begins, which may need the last two sources of the one before.
      GroupByWeight(batch, i);
      batch = i;
      batch_sources = std::max<size_t>(sources_before, 2) - 2;
    }
    rows_[i] = {static_cast<int32_t>(row), sources, first, second};
  }
  GroupByWeight(batch, count_);
}

void RowPlan::GroupByWeight(size_t begin, size_t end) {
  while (begin < end) {
    const float weight = rows_[begin].sources.second_weight;
    PlannedRow* other = std::partition(
        rows_ + begin + 1, rows_ + end,
        [weight](const PlannedRow& row) { return row.sources.second_weight == weight; });
    group_end_[begin] = static_cast<uint16_t>(other - rows_);
    begin = group_end_[begin];
  }
}

}  // namespace vantro

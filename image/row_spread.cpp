#include "image/row_spread.h"

#include <algorithm>
#include <cstring>

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "image/row_spread.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;

template <bool kWeighted, class DF>
HWY_INLINE void StoreSamples(DF d, hn::Vec<DF> left, hn::Vec<DF> right, const StripColumns& columns,
                             int x, SpreadRow& out) {
  hn::Store(right, d, out.right + x);
  if constexpr (kWeighted) {
    left = hn::Mul(hn::Load(d, columns.left_weight + x), left);
    right = hn::Mul(hn::Load(d, columns.right_weight + x), right);
    hn::Store(right, d, out.weighted_right + x);
  }
  hn::Store(left, d, out.left + x);
}

#if HWY_TARGET != HWY_SCALAR
using D8 = hn::Full128<uint8_t>;
using DGroup = hn::Half<D8>;
using DLanes = hn::CappedTag<int32_t, SpreadPlan::kGroup>;

template <bool kWeighted, class V>
HWY_INLINE void StoreBytes(V left, V right, const StripColumns& columns, int x, SpreadRow& out) {
  const DLanes d;
  const hn::Rebind<float, DLanes> df;
  StoreSamples<kWeighted>(df, hn::ConvertTo(df, hn::PromoteTo(d, left)),
                          hn::ConvertTo(df, hn::PromoteTo(d, right)), columns, x, out);
}

// Takes a group of left samples in the lower half, of right ones in the upper half.
template <bool kWeighted>
HWY_INLINE void StoreGroup(hn::Vec<D8> samples, const StripColumns& columns, int x,
                           SpreadRow& out) {
  const auto left = hn::LowerHalf(DGroup(), samples);
  const auto right = hn::UpperHalf(DGroup(), samples);
#if HWY_MAX_BYTES >= 32
  StoreBytes<kWeighted>(left, right, columns, x, out);
#else
  const hn::Half<DGroup> half;
  StoreBytes<kWeighted>(hn::LowerHalf(half, left), hn::LowerHalf(half, right), columns, x, out);
  StoreBytes<kWeighted>(hn::UpperHalf(half, left), hn::UpperHalf(half, right), columns, x + 4, out);
#endif
}

// Such a group from its windows.
HWY_INLINE hn::Vec<D8> CollectGroup(const uint8_t* row, const SpreadPlan& plan, int g) {
  const D8 d;
  const uint8_t* const window = row + plan.base[g];
  auto samples = hn::TableLookupBytesOr0(hn::LoadU(d, window), hn::Load(d, plan.choice[g][0]));
  for (int k = 1; k < plan.windows; ++k) {
    samples =
        hn::Or(samples, hn::TableLookupBytesOr0(hn::LoadU(d, window + k * SpreadPlan::kWindow),
                                                hn::Load(d, plan.choice[g][k])));
  }
  return samples;
}

// One word for each of a vector of columns, beginning with the left sample. They are collected in
// registers: a vector load of what several smaller stores have just written would wait for those.
template <int kStep>
HWY_INLINE hn::Vec<DLanes> CollectWords(const uint8_t* row, const int32_t* left) {
  const auto four = [&](int first) HWY_ATTR {
    const auto word = [&](int i) {
      int32_t bytes;
      std::memcpy(&bytes, row + int64_t{left[first + i]} * kStep, sizeof(bytes));
      return bytes;
    };
    auto words = hn::Set(hn::Full128<int32_t>(), word(0));
    words = hn::InsertLane(words, 1, word(1));
    words = hn::InsertLane(words, 2, word(2));
    return hn::InsertLane(words, 3, word(3));
  };
#if HWY_MAX_BYTES >= 32
  return hn::Combine(DLanes(), four(4), four(0));
#else
  return four(0);
#endif
}

// Both samples of a column are in its word.
template <bool kWeighted, int kStep>
HWY_INLINE int SpreadWords(const uint8_t* row, const StripColumns& columns, int count,
                           SpreadRow& out) {
  const DLanes d;
  const hn::Rebind<float, DLanes> df;
  const auto low_byte = hn::Set(d, 0xFF);
  constexpr auto kLanes = static_cast<int>(hn::MaxLanes(d));
  int x = 0;
  for (; x + kLanes <= count; x += kLanes) {
    const auto words = CollectWords<kStep>(row, columns.left + x);
    StoreSamples<kWeighted>(df, hn::ConvertTo(df, hn::And(words, low_byte)),
                            hn::ConvertTo(df, hn::And(hn::ShiftRight<8 * kStep>(words), low_byte)),
                            columns, x, out);
  }
  return x;
}
#endif  // HWY_TARGET != HWY_SCALAR

template <bool kWeighted>
HWY_INLINE void SpreadSamples(const uint8_t* row, int64_t step, const StripColumns& columns,
                              [[maybe_unused]] const SpreadPlan& plan, SpreadRow& out) {
  int x = 0;
#if HWY_TARGET != HWY_SCALAR
  if (plan.words > 0) {
    x = step == 1 ? SpreadWords<kWeighted, 1>(row, columns, plan.words, out)
                  : SpreadWords<kWeighted, 2>(row, columns, plan.words, out);
  } else if (plan.windows > 0) {
    for (int g = 0; x + SpreadPlan::kGroup <= columns.count; ++g, x += SpreadPlan::kGroup) {
      StoreGroup<kWeighted>(CollectGroup(row, plan, g), columns, x, out);
    }
  }
#endif
  for (; x < columns.count; ++x) {
    const hn::CappedTag<float, 1> d;
    StoreSamples<kWeighted>(d, hn::Set(d, row[columns.left[x] * step]),
                            hn::Set(d, row[columns.right[x] * step]), columns, x, out);
  }
}

void Spread(const uint8_t* row, int64_t step, const StripColumns& columns, const SpreadPlan& plan,
            SpreadRow& out) {
  if (columns.left_weight != nullptr) {
    SpreadSamples<true>(row, step, columns, plan, out);
  } else {
    SpreadSamples<false>(row, step, columns, plan, out);
  }
}

void CopyLeft(const uint8_t* row, int64_t step, const StripColumns& columns,
              [[maybe_unused]] const SpreadPlan& plan, uint8_t* out) {
  int x = 0;
#if HWY_TARGET != HWY_SCALAR
  if (plan.windows > 0) {
    for (int g = 0; x + SpreadPlan::kGroup <= columns.count; ++g, x += SpreadPlan::kGroup) {
      const DGroup d;
      hn::StoreU(hn::LowerHalf(d, CollectGroup(row, plan, g)), d, out + x);
    }
  }
#endif
  for (; x < columns.count; ++x) out[x] = row[columns.left[x] * step];
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"
namespace vantro {
namespace {

VANTRO_KERNEL_TABLE(Spread);
VANTRO_KERNEL_TABLE(CopyLeft);

constexpr uint8_t kNone = 0x80;  // shuffle index that gives 0 on every processor

// How many columns, from the left, find both samples in the word that begins with the left one.
int CountWords(const ChannelSource& source, const StripColumns& columns) {
  if (source.step > 2) return 0;
  const int64_t last = source.row_bytes - SpreadPlan::kWord;
  int x = 0;
  while (x < columns.count && columns.right[x] == columns.left[x] + 1 &&
         columns.left[x] * source.step <= last) {
    ++x;
  }
  return x;
}

void MakePlan(const ChannelSource& source, const StripColumns& columns, SpreadPlan& plan) {
  constexpr int kGroup = SpreadPlan::kGroup;
  constexpr int kWindow = SpreadPlan::kWindow;
  const int groups = columns.count / kGroup;
  int64_t span = 0;
  for (int g = 0; g < groups; ++g) {
    const int32_t* const left = columns.left + g * kGroup;
    const int32_t* const right = columns.right + g * kGroup;
    const int64_t begin = *std::min_element(left, left + kGroup);
    plan.base[g] = begin * source.step;
    span = std::max(span, (*std::max_element(right, right + kGroup) - begin) * source.step + 1);
  }
  plan.windows = 0;
  plan.words = 0;
  const int64_t windows = (span + kWindow - 1) / kWindow;
  if (windows > SpreadPlan::kMaxWindows || windows * kWindow > source.row_bytes) {
    plan.words = CountWords(source, columns);
    return;
  }
  plan.windows = static_cast<int>(windows);
  for (int g = 0; g < groups; ++g) {
    const int first = g * kGroup;
    // The last windows end with the row, so that nothing behind it is read.
    plan.base[g] = std::min(plan.base[g], source.row_bytes - windows * kWindow);
    std::fill_n(&plan.choice[g][0][0], windows * kWindow, kNone);
    for (int i = 0; i < kGroup; ++i) {
      const int64_t left = columns.left[first + i] * source.step - plan.base[g];
      const int64_t right = columns.right[first + i] * source.step - plan.base[g];
      plan.choice[g][left / kWindow][i] = static_cast<uint8_t>(left % kWindow);
      plan.choice[g][right / kWindow][kGroup + i] = static_cast<uint8_t>(right % kWindow);
    }
  }
}

}  // namespace

RowSpreader::RowSpreader(const ChannelSource& source, const StripColumns& columns)
    : source_(source), columns_(columns) {
  MakePlan(source_, columns_, plan_);
}

std::pair<const SpreadRow*, const SpreadRow*> RowSpreader::Rows(int32_t upper, int32_t lower) {
  const auto fill = [this](SpreadRow& slot, int32_t row) {
    if (slot.source_row == row) return;
    VANTRO_KERNEL(Spread)
    (source_.data + row * source_.pitch, source_.step, columns_, plan_, slot);
    slot.source_row = row;
  };
  // Going down, the lower row often becomes the upper one.
  if (slots_[upper_slot_].source_row != upper) upper_slot_ ^= 1;
  SpreadRow& first = slots_[upper_slot_];
  SpreadRow& second = slots_[upper_slot_ ^ 1];
  fill(first, upper);
  if (lower == upper) return {&first, &first};
  fill(second, lower);
  return {&first, &second};
}

void RowSpreader::CopyLeft(int32_t row, uint8_t* out) const {
  VANTRO_KERNEL(CopyLeft)
  (source_.data + row * source_.pitch, source_.step, columns_, plan_, out);
}

}  // namespace vantro
#endif  // HWY_ONCE

#include "image/row_spread.h"

#include <algorithm>
#include <bit>
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

// Pairs that stand side by side are fetched together. Stores of eight bytes reach the vector loads
// behind them sooner than smaller ones.
void SpreadAdjacent(const uint8_t* row, const StripColumns& columns, SpreadRow& out) {
  static_assert(std::endian::native == std::endian::little);
  alignas(64) uint16_t pairs[kStripColumns];
  const auto pair = [&](int x) {
    uint16_t bytes;
    std::memcpy(&bytes, row + columns.left[x], sizeof(bytes));
    return uint64_t{bytes};
  };
  int first = 0;
  for (; first + 4 <= columns.count; first += 4) {
    const uint64_t four =
        pair(first) | pair(first + 1) << 16 | pair(first + 2) << 32 | pair(first + 3) << 48;
    std::memcpy(&pairs[first], &four, sizeof(four));
  }
  for (; first < columns.count; ++first) pairs[first] = static_cast<uint16_t>(pair(first));
  for (int x = 0; x < columns.count; ++x) {
    out.left[x] = static_cast<float>(pairs[x] & 0xFF);
    out.right[x] = static_cast<float>(pairs[x] >> 8);
  }
}

// The same where every second byte belongs to the channel. Each word starts one byte early, so that
// it ends with its pair; only in front of the row's first pair there may be nothing to read.
void SpreadAdjacentSeconds(const uint8_t* row, const StripColumns& columns, SpreadRow& out) {
  alignas(64) uint32_t words[kStripColumns];
  const auto word = [&](int x) {
    const int64_t left = 2 * int64_t{columns.left[x]};
    uint32_t bytes;
    if (left == 0) {
      bytes = static_cast<uint32_t>(row[0]) << 8 | static_cast<uint32_t>(row[2]) << 24;
    } else {
      std::memcpy(&bytes, row + left - 1, sizeof(bytes));
    }
    return uint64_t{bytes};
  };
  int first = 0;
  for (; first + 2 <= columns.count; first += 2) {
    const uint64_t two = word(first) | word(first + 1) << 32;
    std::memcpy(&words[first], &two, sizeof(two));
  }
  if (first < columns.count) words[first] = static_cast<uint32_t>(word(first));
  for (int x = 0; x < columns.count; ++x) {
    out.left[x] = static_cast<float>(static_cast<int32_t>(words[x] >> 8 & 0xFF));
    out.right[x] = static_cast<float>(static_cast<int32_t>(words[x] >> 24));
  }
}

#if HWY_TARGET != HWY_SCALAR
using D8 = hn::Full128<uint8_t>;
using DGroup = hn::Half<D8>;

// A group of samples as floats.
HWY_INLINE void StoreGroup(hn::Vec<DGroup> samples, float* out) {
#if HWY_MAX_BYTES >= 32
  const hn::FixedTag<float, SpreadPlan::kGroup> d;
  const hn::RebindToSigned<decltype(d)> di;
  hn::Store(hn::ConvertTo(d, hn::PromoteTo(di, samples)), d, out);
#else
  uint8_t bytes[SpreadPlan::kGroup];
  hn::StoreU(samples, DGroup(), bytes);
  for (int i = 0; i < SpreadPlan::kGroup; ++i) out[i] = bytes[i];
#endif
}
#endif  // HWY_TARGET != HWY_SCALAR

void Spread(const uint8_t* row, int64_t step, const StripColumns& columns, const SpreadPlan& plan,
            SpreadRow& out) {
  if (plan.adjacent) {
    return step == 1 ? SpreadAdjacent(row, columns, out) : SpreadAdjacentSeconds(row, columns, out);
  }
  int x = 0;
#if HWY_TARGET != HWY_SCALAR
  if (plan.windows > 0) {
    const D8 d;
    for (int g = 0; x + SpreadPlan::kGroup <= columns.count; ++g, x += SpreadPlan::kGroup) {
      const uint8_t* const window = row + plan.base[g];
      auto samples = hn::TableLookupBytesOr0(hn::LoadU(d, window), hn::Load(d, plan.choice[g][0]));
      for (int k = 1; k < plan.windows; ++k) {
        samples =
            hn::Or(samples, hn::TableLookupBytesOr0(hn::LoadU(d, window + k * SpreadPlan::kWindow),
                                                    hn::Load(d, plan.choice[g][k])));
      }
      StoreGroup(hn::LowerHalf(DGroup(), samples), out.left + x);
      StoreGroup(hn::UpperHalf(DGroup(), samples), out.right + x);
    }
  }
#endif
  for (; x < columns.count; ++x) {
    out.left[x] = row[columns.left[x] * step];
    out.right[x] = row[columns.right[x] * step];
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

VANTRO_KERNEL_TABLE(Spread);

constexpr uint8_t kNone = 0x80;  // shuffle index that gives 0 on every processor

bool AreAdjacent(const StripColumns& columns) {
  for (int x = 0; x < columns.count; ++x) {
    if (columns.right[x] != columns.left[x] + 1) return false;
  }
  return true;
}

void MakePlan(const ChannelSource& source, const StripColumns& columns, SpreadPlan& plan) {
  constexpr int kGroup = SpreadPlan::kGroup;
  constexpr int kWindow = SpreadPlan::kWindow;
  const int groups = columns.count / kGroup;
  int64_t span = 0;
  for (int g = 0; g < groups; ++g) {
    const int first = g * kGroup;
    const int64_t distance = int64_t{columns.right[first + kGroup - 1]} - columns.left[first];
    span = std::max(span, distance * source.step + 1);
  }
  plan.windows = 0;
  plan.adjacent = false;
  const int64_t windows = (span + kWindow - 1) / kWindow;
  if (windows > SpreadPlan::kMaxWindows || windows * kWindow > source.row_bytes) {
    plan.adjacent = source.step <= 2 && AreAdjacent(columns);
    return;
  }
  plan.windows = static_cast<int>(windows);
  for (int g = 0; g < groups; ++g) {
    const int first = g * kGroup;
    // The last windows end with the row, so that nothing behind it is read.
    plan.base[g] =
        std::min(columns.left[first] * source.step, source.row_bytes - windows * kWindow);
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

}  // namespace vantro
#endif  // HWY_ONCE

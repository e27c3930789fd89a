// The destination is made in strips of columns. For each strip a source row is spread once into two
// rows of floats, the left and the right sample of every destination column; the weighted sum then
// streams through four such rows. A spread row serves all destination rows that sample it.

#include "image/channel_resize_kernels.h"

#include <algorithm>

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "image/channel_resize_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#ifndef VANTRO_IMAGE_CHANNEL_RESIZE_ONCE
#define VANTRO_IMAGE_CHANNEL_RESIZE_ONCE
namespace vantro {
namespace {

constexpr int kStrip = 512;      // columns; a strip's rows stay in the first-level cache
constexpr int kGroup = 8;        // columns whose samples one shuffle collects
constexpr int kWindow = 16;      // bytes that one shuffle chooses from
constexpr int kMaxWindows = 4;   // beyond, samples lie too far apart for shuffles to pay
constexpr uint8_t kNone = 0x80;  // shuffle index that gives 0 on every processor

// Where the samples of a strip's columns stand in a source row, prepared for shuffles: the group's
// left samples, then its right samples, each chosen from `windows` consecutive windows.
struct SpreadPlan {
  int windows;  // 0: no shuffles
  int64_t base[kStrip / kGroup];
  alignas(16) uint8_t choice[kStrip / kGroup][kMaxWindows][kWindow];
};

struct Strip {
  const ChannelSource& source;
  const int32_t* left;  // source columns
  const int32_t* right;
  const float* left_weight;
  const float* right_weight;
  int width;
};

void PlanSpread(const Strip& strip, SpreadPlan& plan) {
  const int64_t step = strip.source.step;
  const int groups = strip.width / kGroup;
  int64_t span = 0;
  for (int g = 0; g < groups; ++g) {
    const int first = g * kGroup;
    span = std::max(span, (strip.right[first + kGroup - 1] - strip.left[first]) * step + 1);
  }
  plan.windows = 0;
  const int64_t windows = (span + kWindow - 1) / kWindow;
  if (windows > kMaxWindows || windows * kWindow > strip.source.row_bytes) return;
  plan.windows = static_cast<int>(windows);
  for (int g = 0; g < groups; ++g) {
    const int first = g * kGroup;
    // The last windows end with the row, so that nothing behind it is read.
    plan.base[g] = std::min(strip.left[first] * step, strip.source.row_bytes - windows * kWindow);
    std::fill_n(&plan.choice[g][0][0], kMaxWindows * kWindow, kNone);
    for (int i = 0; i < kGroup; ++i) {
      const int64_t left = strip.left[first + i] * step - plan.base[g];
      const int64_t right = strip.right[first + i] * step - plan.base[g];
      plan.choice[g][left / kWindow][i] = static_cast<uint8_t>(left % kWindow);
      plan.choice[g][right / kWindow][kGroup + i] = static_cast<uint8_t>(right % kWindow);
    }
  }
}

// One source row as the strip's columns see it.
struct SpreadRow {
  int32_t source_row = -1;
  alignas(64) float left[kStrip];
  alignas(64) float right[kStrip];
};

}  // namespace
}  // namespace vantro
#endif  // VANTRO_IMAGE_CHANNEL_RESIZE_ONCE

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;

void Spread(const Strip& strip, [[maybe_unused]] const SpreadPlan& plan, int32_t source_row,
            SpreadRow& out) {
  const uint8_t* const row = strip.source.data + source_row * strip.source.pitch;
  alignas(64) uint8_t left[kStrip];
  alignas(64) uint8_t right[kStrip];
  int x = 0;
#if HWY_TARGET != HWY_SCALAR
  if (plan.windows > 0) {
    const hn::Full128<uint8_t> d;
    const hn::Half<decltype(d)> half;
    for (int g = 0; x + kGroup <= strip.width; ++g, x += kGroup) {
      const uint8_t* const window = row + plan.base[g];
      auto samples = hn::TableLookupBytesOr0(hn::LoadU(d, window), hn::Load(d, plan.choice[g][0]));
      for (int k = 1; k < plan.windows; ++k) {
        samples = hn::Or(samples, hn::TableLookupBytesOr0(hn::LoadU(d, window + k * kWindow),
                                                          hn::Load(d, plan.choice[g][k])));
      }
      hn::Store(hn::LowerHalf(half, samples), half, left + x);
      hn::Store(hn::UpperHalf(half, samples), half, right + x);
    }
  }
#endif
  const int64_t step = strip.source.step;
  for (; x < strip.width; ++x) {
    left[x] = row[strip.left[x] * step];
    right[x] = row[strip.right[x] * step];
  }
  for (int i = 0; i < strip.width; ++i) out.left[i] = left[i];
  for (int i = 0; i < strip.width; ++i) out.right[i] = right[i];
  out.source_row = source_row;
}

void SumGrouped(const Strip& strip, const SpreadRow& upper, const SpreadRow& lower, float wy0,
                float wy1, float bias, uint8_t* HWY_RESTRICT out) {
  for (int x = 0; x < strip.width; ++x) {
    const float wx0 = strip.left_weight[x];
    const float wx1 = strip.right_weight[x];
    const float value =
        wy1 * wx1 * lower.right[x] +
        ((wy0 * wx0 * upper.left[x] + wy0 * wx1 * upper.right[x]) + wy1 * wx0 * lower.left[x]);
    out[x] = static_cast<uint8_t>(static_cast<int32_t>(value + bias));
  }
}

void SumInOrder(const Strip& strip, const SpreadRow& upper, const SpreadRow& lower, float wy0,
                float wy1, float bias, uint8_t* HWY_RESTRICT out) {
  for (int x = 0; x < strip.width; ++x) {
    const float wx0 = strip.left_weight[x];
    const float wx1 = strip.right_weight[x];
    const float value = wy0 * (wx0 * upper.left[x]) + wy0 * (wx1 * upper.right[x]) +
                        wy1 * (wx0 * lower.left[x]) + wy1 * wx1 * lower.right[x];
    out[x] = static_cast<uint8_t>(static_cast<int32_t>(value + bias));
  }
}

void ResizeStrip(const Strip& strip, const BilinearAxis& rows, BilinearRule rule, uint8_t* dst,
                 int dst_height, int64_t dst_pitch, int64_t dst_step) {
  const auto sum = rule.sum == BilinearSum::kGrouped ? &SumGrouped : &SumInOrder;
  SpreadPlan plan;
  PlanSpread(strip, plan);
  SpreadRow slots[2];
  SpreadRow* upper = &slots[0];
  SpreadRow* lower = &slots[1];
  alignas(64) uint8_t packed[kStrip];
  for (int y = 0; y < dst_height; ++y, dst += dst_pitch) {
    if (upper->source_row != rows.first[y]) std::swap(upper, lower);
    if (upper->source_row != rows.first[y]) Spread(strip, plan, rows.first[y], *upper);
    const bool same = rows.second[y] == rows.first[y];
    if (!same && lower->source_row != rows.second[y]) Spread(strip, plan, rows.second[y], *lower);
    uint8_t* const out = dst_step == 1 ? dst : packed;
    sum(strip, *upper, same ? *upper : *lower, rows.first_weight[y], rows.second_weight[y],
        rule.bias, out);
    if (dst_step != 1) {
      for (int x = 0; x < strip.width; ++x) dst[x * dst_step] = packed[x];
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
VANTRO_KERNEL_TABLE(ResizeStrip);
}  // namespace

void ResizeChannel(const ChannelSource& source, const BilinearTables& tables, BilinearRule rule,
                   uint8_t* dst, int dst_width, int dst_height, int64_t dst_step) {
  const BilinearAxis& columns = tables.columns();
  for (int x = 0; x < dst_width;) {
    const int width = std::min(kStrip, dst_width - x);
    const Strip strip = {source,
                         columns.first + x,
                         columns.second + x,
                         columns.first_weight + x,
                         columns.second_weight + x,
                         width};
    VANTRO_KERNEL(ResizeStrip)
    (strip, tables.rows(), rule, dst + x * dst_step, dst_height, dst_width * dst_step, dst_step);
    x += width;
  }
}

}  // namespace vantro
#endif  // HWY_ONCE

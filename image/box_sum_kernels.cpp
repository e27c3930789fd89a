#include "image/box_sum_kernels.h"

#include <algorithm>

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "image/box_sum_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {

// The compiler turns these loops into vectors of every target.

// kCount rows of sums for kRun columns, which stay in registers while the source rows pass once.
template <int kCount, int kRun>
HWY_INLINE void SumRun(const FloatRows& rows, int64_t first, int64_t side, int x,
                       float* HWY_RESTRICT sums) {
  float run[kCount][kRun] = {};
  const auto add = [&](int64_t y, int from, int to) HWY_ATTR {
    const float* const row = rows.Row(first + y) + x;
    for (int k = from; k < to; ++k) {
      for (int i = 0; i < kRun; ++i) run[k][i] += row[i];
    }
  };
  // Source row y belongs to the sums k with k <= y < k + side.
  const int64_t rest = side + kCount - 1;
  const int64_t shared_end = std::max<int64_t>(side, kCount - 1);
  int64_t y = 0;
  for (; y < kCount - 1; ++y) {
    add(y, static_cast<int>(std::max<int64_t>(y - side + 1, 0)), static_cast<int>(y) + 1);
  }
  for (; y < shared_end; ++y) add(y, 0, kCount);
  for (; y < rest; ++y) add(y, static_cast<int>(y - side + 1), kCount);
  for (int k = 0; k < kCount; ++k) {
    for (int i = 0; i < kRun; ++i) sums[k * rows.stride + x + i] = run[k][i];
  }
}

template <int kCount>
void SumRows(const FloatRows& rows, int64_t first, int64_t side, float* sums) {
  constexpr int kRun = 32;
  int x = 0;
  for (; x + kRun <= rows.width; x += kRun) SumRun<kCount, kRun>(rows, first, side, x, sums);
  for (; x < rows.width; ++x) SumRun<kCount, 1>(rows, first, side, x, sums);
}

void Columns(const FloatRows& rows, int64_t first, int64_t side, int count, float* sums) {
  if (count == kSumRows) {
    SumRows<kSumRows>(rows, first, side, sums);
    return;
  }
  for (int k = 0; k < count; ++k) SumRows<1>(rows, first + k, side, sums + k * rows.stride);
}

void Slide(const float* sums, const float* leaving, const float* entering, int width,
           float* HWY_RESTRICT next) {
  for (int x = 0; x < width; ++x) next[x] = sums[x] - leaving[x] + entering[x];
}

void Divide(float* row, int width, float divisor) {
  for (int x = 0; x < width; ++x) row[x] /= divisor;
}

bool SmallWhole(const float* row, int width, float limit) {
  int others = 0;
  for (int x = 0; x < width; ++x) {
    // In this order of arguments not-a-number is limited too, and differs.
    const float limited = std::min(limit, std::max(-limit, row[x]));
    others |= static_cast<float>(static_cast<int32_t>(limited)) != row[x] ? 1 : 0;
  }
  return others == 0;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"
namespace vantro {
namespace {
VANTRO_KERNEL_TABLE(Columns);
VANTRO_KERNEL_TABLE(Slide);
VANTRO_KERNEL_TABLE(Divide);
VANTRO_KERNEL_TABLE(SmallWhole);
}  // namespace

void SumColumns(const FloatRows& rows, int64_t first, int64_t side, int count, float* sums) {
  VANTRO_KERNEL(Columns)(rows, first, side, count, sums);
}
void SlideDown(const float* sums, const float* leaving, const float* entering, int width,
               float* next) {
  VANTRO_KERNEL(Slide)(sums, leaving, entering, width, next);
}
void DivideRow(float* row, int width, float divisor) { VANTRO_KERNEL(Divide)(row, width, divisor); }
bool AreSmallWholeNumbers(const float* row, int width, float limit) {
  return VANTRO_KERNEL(SmallWhole)(row, width, limit);
}

}  // namespace vantro
#endif  // HWY_ONCE

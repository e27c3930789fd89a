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

void Columns(const FloatRows& rows, int64_t first, int64_t last, float* HWY_RESTRICT sums) {
  constexpr int kRun = 64;  // columns whose sums stay in registers
  int x = 0;
  for (; x + kRun <= rows.width; x += kRun) {
    float run[kRun] = {};
    for (int64_t y = first; y <= last; ++y) {
      const float* const row = rows.Row(y) + x;
      for (int i = 0; i < kRun; ++i) run[i] += row[i];
    }
    for (int i = 0; i < kRun; ++i) sums[x + i] = run[i];
  }
  if (x == rows.width) return;
  std::fill(sums + x, sums + rows.width, 0.0f);
  for (int64_t y = first; y <= last; ++y) {
    const float* const row = rows.Row(y);
    for (int i = x; i < rows.width; ++i) sums[i] += row[i];
  }
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

void SumColumns(const FloatRows& rows, int64_t first, int64_t last, float* sums) {
  VANTRO_KERNEL(Columns)(rows, first, last, sums);
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

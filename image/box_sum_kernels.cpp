#include "image/box_sum_kernels.h"

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

void Add(const float* a, const float* b, int width, float* HWY_RESTRICT sums) {
  for (int x = 0; x < width; ++x) sums[x] = a[x] + b[x];
}

void AddTo(const float* row, float factor, int width, float* HWY_RESTRICT sums) {
  for (int x = 0; x < width; ++x) sums[x] += factor * row[x];
}

void Divide(float* row, int width, float divisor) {
  for (int x = 0; x < width; ++x) row[x] /= divisor;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"
namespace vantro {
namespace {
VANTRO_KERNEL_TABLE(Add);
VANTRO_KERNEL_TABLE(AddTo);
VANTRO_KERNEL_TABLE(Divide);
}  // namespace

void AddRows(const float* a, const float* b, int width, float* sums) {
  VANTRO_KERNEL(Add)(a, b, width, sums);
}
void AddToRow(const float* row, float factor, int width, float* sums) {
  VANTRO_KERNEL(AddTo)(row, factor, width, sums);
}
void DivideRow(float* row, int width, float divisor) { VANTRO_KERNEL(Divide)(row, width, divisor); }

}  // namespace vantro
#endif  // HWY_ONCE

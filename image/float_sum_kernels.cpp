#include "image/float_sum_kernels.h"

#include <cstddef>

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "image/float_sum_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {

// The compiler turns the loops into vectors of every target; -ffp-contract=off keeps their
// roundings.

void Floats(const float* HWY_RESTRICT upper, const float* HWY_RESTRICT lower,
            const AxisWeights<float>& columns, const RowWeights<float>& row,
            float* HWY_RESTRICT out) {
  const float* HWY_RESTRICT const left = columns.left;
  const float* HWY_RESTRICT const right = columns.right;
  const float wy0 = row.upper;
  const float wy1 = row.lower;
  for (ptrdiff_t x = 0; x < columns.count; ++x) {
    const float wx0 = left[x];
    const float wx1 = right[x];
    out[x] = wy1 * wx1 * lower[2 * x + 1] +
             (wx0 * (wy1 * lower[2 * x]) +
              (wy0 * (wx1 * upper[2 * x + 1]) + wy0 * (upper[2 * x] * wx0)));
  }
}

void Rounded(const float* HWY_RESTRICT upper, const float* HWY_RESTRICT lower,
             const AxisWeights<double>& columns, const RowWeights<double>& row,
             float* HWY_RESTRICT out) {
  const double* HWY_RESTRICT const left = columns.left;
  const double* HWY_RESTRICT const right = columns.right;
  const double wy0 = row.upper;
  const double wy1 = row.lower;
  for (ptrdiff_t x = 0; x < columns.count; ++x) {
    const double wx0 = left[x];
    const double wx1 = right[x];
    const auto rounded = [](double sum) { return static_cast<float>(sum); };
    // From 0, so that a first term of -0 is not kept.
    float sum = rounded(0.0 + wx0 * wy0 * static_cast<double>(upper[2 * x]));
    sum = rounded(static_cast<double>(sum) + wx0 * wy1 * static_cast<double>(lower[2 * x]));
    sum = rounded(static_cast<double>(sum) + wx1 * wy0 * static_cast<double>(upper[2 * x + 1]));
    out[x] = rounded(static_cast<double>(sum) + wx1 * wy1 * static_cast<double>(lower[2 * x + 1]));
  }
}

void Double(const float* HWY_RESTRICT upper, const float* HWY_RESTRICT lower, int width,
            const RowWeights<float>& row, float* HWY_RESTRICT out) {
  const float wy0 = row.upper;
  const float wy1 = row.lower;
  for (ptrdiff_t x = 0; x + 1 < width; ++x) {
    const float p00 = upper[x] * wy0;
    const float p01 = upper[x + 1] * wy0;
    const float p10 = lower[x] * wy1;
    const float p11 = lower[x + 1] * wy1;
    out[2 * x] = p00 * 0.75f + p01 * 0.25f + p10 * 0.75f + p11 * 0.25f;
    out[2 * x + 1] = p00 * 0.25f + p01 * 0.75f + p10 * 0.25f + p11 * 0.75f;
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
VANTRO_KERNEL_TABLE(Floats);
VANTRO_KERNEL_TABLE(Rounded);
VANTRO_KERNEL_TABLE(Double);
}  // namespace

void SumFloats(const float* upper, const float* lower, const AxisWeights<float>& columns,
               const RowWeights<float>& row, float* out) {
  VANTRO_KERNEL(Floats)(upper, lower, columns, row, out);
}
void SumRounded(const float* upper, const float* lower, const AxisWeights<double>& columns,
                const RowWeights<double>& row, float* out) {
  VANTRO_KERNEL(Rounded)(upper, lower, columns, row, out);
}
void DoubleFloats(const float* upper, const float* lower, int width, const RowWeights<float>& row,
                  float* out) {
  VANTRO_KERNEL(Double)(upper, lower, width, row, out);
}

}  // namespace vantro
#endif  // HWY_ONCE

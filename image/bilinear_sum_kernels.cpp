#include "image/bilinear_sum_kernels.h"

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "image/bilinear_sum_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {

// The compiler turns these loops into vectors of every target; -ffp-contract=off keeps their
// roundings.

void Grouped(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<float>& columns,
             const RowWeights<float>& row, float bias, uint8_t* HWY_RESTRICT out) {
  const float wy0 = row.upper;
  const float wy1 = row.lower;
  for (int x = 0; x < columns.count; ++x) {
    const float wx0 = columns.left[x];
    const float wx1 = columns.right[x];
    const float sum =
        wy1 * wx1 * lower.right[x] +
        ((wy0 * wx0 * upper.left[x] + wy0 * wx1 * upper.right[x]) + wy1 * wx0 * lower.left[x]);
    out[x] = static_cast<uint8_t>(static_cast<int32_t>(sum + bias));
  }
}

void InOrder(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<float>& columns,
             const RowWeights<float>& row, float bias, uint8_t* HWY_RESTRICT out) {
  const float wy0 = row.upper;
  const float wy1 = row.lower;
  for (int x = 0; x < columns.count; ++x) {
    const float wx0 = columns.left[x];
    const float wx1 = columns.right[x];
    const float sum = wy0 * (wx0 * upper.left[x]) + wy0 * (wx1 * upper.right[x]) +
                      wy1 * (wx0 * lower.left[x]) + wy1 * wx1 * lower.right[x];
    out[x] = static_cast<uint8_t>(static_cast<int32_t>(sum + bias));
  }
}

// Both rules where the upper row has all the weight: the other terms are zeros.
void UpperOnly(const SpreadRow& upper, const AxisWeights<float>& columns, float bias,
               uint8_t* HWY_RESTRICT out) {
  for (int x = 0; x < columns.count; ++x) {
    const float sum = columns.left[x] * upper.left[x] + columns.right[x] * upper.right[x];
    out[x] = static_cast<uint8_t>(static_cast<int32_t>(sum + bias));
  }
}

void Once(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<double>& columns,
          const RowWeights<double>& row, uint8_t* HWY_RESTRICT out) {
  const double wy0 = row.upper;
  const double wy1 = row.lower;
  for (int x = 0; x < columns.count; ++x) {
    const double wx0 = columns.left[x];
    const double wx1 = columns.right[x];
    const double sum = ((wx0 * wy0 * static_cast<double>(upper.left[x]) +
                         wx0 * wy1 * static_cast<double>(lower.left[x])) +
                        wx1 * wy0 * static_cast<double>(upper.right[x])) +
                       wx1 * wy1 * static_cast<double>(lower.right[x]);
    out[x] = static_cast<uint8_t>(static_cast<int32_t>(sum));
  }
}

void Terms(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<double>& columns,
           const RowWeights<double>& row, uint8_t* HWY_RESTRICT out) {
  const double wy0 = row.upper;
  const double wy1 = row.lower;
  for (int x = 0; x < columns.count; ++x) {
    const double wx0 = columns.left[x];
    const double wx1 = columns.right[x];
    out[x] =
        static_cast<uint8_t>(static_cast<int32_t>(wx0 * wy0 * static_cast<double>(upper.left[x])) +
                             static_cast<int32_t>(wx0 * wy1 * static_cast<double>(lower.left[x])) +
                             static_cast<int32_t>(wx1 * wy0 * static_cast<double>(upper.right[x])) +
                             static_cast<int32_t>(wx1 * wy1 * static_cast<double>(lower.right[x])));
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
VANTRO_KERNEL_TABLE(Grouped);
VANTRO_KERNEL_TABLE(InOrder);
VANTRO_KERNEL_TABLE(UpperOnly);
VANTRO_KERNEL_TABLE(Once);
VANTRO_KERNEL_TABLE(Terms);
}  // namespace

void SumGrouped(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<float>& columns,
                const RowWeights<float>& row, float bias, uint8_t* out) {
  VANTRO_KERNEL(Grouped)(upper, lower, columns, row, bias, out);
}
void SumInOrder(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<float>& columns,
                const RowWeights<float>& row, float bias, uint8_t* out) {
  VANTRO_KERNEL(InOrder)(upper, lower, columns, row, bias, out);
}
void SumUpperOnly(const SpreadRow& upper, const AxisWeights<float>& columns, float bias,
                  uint8_t* out) {
  VANTRO_KERNEL(UpperOnly)(upper, columns, bias, out);
}
void SumOnce(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<double>& columns,
             const RowWeights<double>& row, uint8_t* out) {
  VANTRO_KERNEL(Once)(upper, lower, columns, row, out);
}
void SumTerms(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<double>& columns,
              const RowWeights<double>& row, uint8_t* out) {
  VANTRO_KERNEL(Terms)(upper, lower, columns, row, out);
}

}  // namespace vantro
#endif  // HWY_ONCE

#include "render/bilinear_kernels.h"

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/bilinear_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {

void BlendSampledRows(uint8_t* HWY_RESTRICT dst, size_t count, const SampledRow& upper,
                      const SampledRow& lower, float lower_weight, const float* right_weight) {
  const float upper_weight = 1.0f - lower_weight;
  for (size_t c = 0; c < count; ++c) {
    const float wx = right_weight[c];
    const float left_weight = 1.0f - wx;
    const float value =
        upper_weight * left_weight * upper.left[c] + upper_weight * wx * upper.right[c] +
        lower_weight * left_weight * lower.left[c] + lower_weight * wx * lower.right[c];
    dst[c] = static_cast<uint8_t>(static_cast<int32_t>(value));
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"

namespace vantro {

VANTRO_KERNEL_TABLE(BlendSampledRows);

void BlendSampledRows(uint8_t* dst, size_t count, const SampledRow& upper, const SampledRow& lower,
                      float lower_weight, const float* right_weight) {
  VANTRO_KERNEL(BlendSampledRows)(dst, count, upper, lower, lower_weight, right_weight);
}

}  // namespace vantro
#endif  // HWY_ONCE

#include "render/average_kernels.h"

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/average_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {

void Average2x2(uint8_t* HWY_RESTRICT dst, const uint8_t* upper, const uint8_t* lower,
                size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const int sum = upper[2 * i] + upper[2 * i + 1] + lower[2 * i] + lower[2 * i + 1];
    dst[i] = static_cast<uint8_t>(sum >> 2);
  }
}

void AverageUp2x2(uint8_t* HWY_RESTRICT dst, const uint8_t* upper, const uint8_t* lower,
                  size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const int top = (upper[2 * i] + upper[2 * i + 1] + 1) >> 1;
    const int bottom = (lower[2 * i] + lower[2 * i + 1] + 1) >> 1;
    dst[i] = static_cast<uint8_t>((top + bottom + 1) >> 1);
  }
}

void Average4x4(uint8_t* HWY_RESTRICT dst, const uint8_t* src, ptrdiff_t stride, size_t count) {
  const uint8_t* rows[4] = {src, src + stride, src + 2 * stride, src + 3 * stride};
  for (size_t i = 0; i < count; ++i) {
    int sum = 8;
    for (const uint8_t* row : rows) {
      sum += row[4 * i] + row[4 * i + 1] + row[4 * i + 2] + row[4 * i + 3];
    }
    dst[i] = static_cast<uint8_t>(sum >> 4);
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"

namespace vantro {

VANTRO_KERNEL_TABLE(Average2x2);
VANTRO_KERNEL_TABLE(AverageUp2x2);
VANTRO_KERNEL_TABLE(Average4x4);

void Average2x2(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, size_t count) {
  VANTRO_KERNEL(Average2x2)(dst, upper, lower, count);
}

void AverageUp2x2(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, size_t count) {
  VANTRO_KERNEL(AverageUp2x2)(dst, upper, lower, count);
}

void Average4x4(uint8_t* dst, const uint8_t* src, ptrdiff_t stride, size_t count) {
  VANTRO_KERNEL(Average4x4)(dst, src, stride, count);
}

}  // namespace vantro
#endif  // HWY_ONCE

#include "render/upscale_kernels.h"

#include <cstddef>

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/upscale_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;

// Every sum below fits into 16 bits.

int32_t NearFar(const uint8_t* near, const uint8_t* far, size_t i) { return 3 * near[i] + far[i]; }

void DoubleRow(uint8_t* dst, const uint8_t* near, const uint8_t* far, int32_t width,
               Rounding rounding) {
  const auto n = static_cast<size_t>(width);
  const int32_t round = rounding == Rounding::kHalfUp ? 8 : 0;
  dst[0] = static_cast<uint8_t>((NearFar(near, far, 0) + round / 4) >> 2);
  dst[2 * n - 1] = static_cast<uint8_t>((NearFar(near, far, n - 1) + round / 4) >> 2);
  size_t j = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint16_t> dw;
  const hn::Rebind<uint8_t, decltype(dw)> dh;
  const hn::Repartition<uint8_t, decltype(dw)> d;
  const auto three = hn::Set(dw, 3);
  const auto bias = hn::Set(dw, static_cast<uint16_t>(round));
  for (; j + hn::Lanes(dw) + 1 <= n; j += hn::Lanes(dw)) {
    const auto left = hn::PromoteTo(dw, hn::LoadU(dh, near + j)) * three +
                      hn::PromoteTo(dw, hn::LoadU(dh, far + j));
    const auto right = hn::PromoteTo(dw, hn::LoadU(dh, near + j + 1)) * three +
                       hn::PromoteTo(dw, hn::LoadU(dh, far + j + 1));
    const auto sum = left + right + bias;
    const auto odd = hn::ShiftRight<4>(sum + left + left);
    const auto even = hn::ShiftRight<4>(sum + right + right);
    hn::StoreU(hn::BitCast(d, odd | hn::ShiftLeft<8>(even)), d, dst + 2 * j + 1);
  }
#endif
  for (; j + 1 < n; ++j) {
    const int32_t left = NearFar(near, far, j);
    const int32_t right = NearFar(near, far, j + 1);
    dst[2 * j + 1] = static_cast<uint8_t>((3 * left + right + round) >> 4);
    dst[2 * j + 2] = static_cast<uint8_t>((left + 3 * right + round) >> 4);
  }
}

// The four samples between columns p and q.
void QuadSamples(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, size_t p, size_t q,
                 RowWeights weights) {
  const int32_t left = weights.upper * upper[p] + weights.lower * lower[p];
  const int32_t right = weights.upper * upper[q] + weights.lower * lower[q];
  for (int32_t phase = 0; phase < 4; ++phase) {
    const int32_t right_weight = 2 * phase + 1;
    dst[phase] = static_cast<uint8_t>(((8 - right_weight) * left + right_weight * right + 32) >> 6);
  }
}

void QuadRow(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, int32_t width,
             RowWeights weights) {
  const auto n = static_cast<size_t>(width);
  if (n == 1) {
    QuadSamples(dst, upper, lower, 0, 0, weights);
    return;
  }
  size_t p = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint16_t> dw;
  const hn::Rebind<uint8_t, decltype(dw)> dh;
  const auto upper_weight = hn::Set(dw, static_cast<uint16_t>(weights.upper));
  const auto lower_weight = hn::Set(dw, static_cast<uint16_t>(weights.lower));
  const auto bias = hn::Set(dw, 32);
  // The samples are put together without a mask, so they have to fit a byte.
  const size_t end = weights.upper + weights.lower <= 8 ? n : 0;
  for (; p + hn::Lanes(dw) + 1 <= end; p += hn::Lanes(dw)) {
    const auto left = hn::PromoteTo(dw, hn::LoadU(dh, upper + p)) * upper_weight +
                      hn::PromoteTo(dw, hn::LoadU(dh, lower + p)) * lower_weight;
    const auto right = hn::PromoteTo(dw, hn::LoadU(dh, upper + p + 1)) * upper_weight +
                       hn::PromoteTo(dw, hn::LoadU(dh, lower + p + 1)) * lower_weight;
    // From one sample to the next the weights move by two eighths; the difference may be negative,
    // and wraps back in the sums.
    const auto difference = right - left;
    const auto step = difference + difference;
    const auto first = hn::ShiftLeft<3>(left) + difference + bias;
    const auto second = first + step;
    const auto third = second + step;
    const auto fourth = third + step;
    hn::StoreInterleaved2(hn::ShiftRight<6>(first) | hn::ShiftLeft<8>(hn::ShiftRight<6>(second)),
                          hn::ShiftRight<6>(third) | hn::ShiftLeft<8>(hn::ShiftRight<6>(fourth)),
                          dw, reinterpret_cast<uint16_t*>(dst + 4 * p + 2));
  }
#endif
  for (; p + 1 < n; ++p) QuadSamples(dst + 4 * p + 2, upper, lower, p, p + 1, weights);
  dst[0] = dst[1] = dst[2];
  dst[4 * n - 2] = dst[4 * n - 1] = dst[4 * n - 3];
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"

namespace vantro {

VANTRO_KERNEL_TABLE(DoubleRow);
VANTRO_KERNEL_TABLE(QuadRow);

void DoubleRow(uint8_t* dst, const uint8_t* near, const uint8_t* far, int32_t width,
               Rounding rounding) {
  VANTRO_KERNEL(DoubleRow)(dst, near, far, width, rounding);
}

void QuadRow(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, int32_t width,
             RowWeights weights) {
  VANTRO_KERNEL(QuadRow)(dst, upper, lower, width, weights);
}

}  // namespace vantro
#endif  // HWY_ONCE

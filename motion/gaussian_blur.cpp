// The blur's entry point: checks, weights, and the member for the kernel length.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "motion/gaussian_kernel.h"
#include "support/log.h"
#include "support/scratch.h"
#include "vantro/bounded.h"
#include "vantro/motion.h"

namespace vantro {
namespace {

using BlurMember = int (*)(const unsigned char*, unsigned char*, int, int, int, int,
                           const unsigned short*);

// Null for a length that has no member.
BlurMember MemberFor(int k_length) {
  switch (k_length) {
    case 3:
      return GaussianBlur3x3_u8;
    case 5:
      return GaussianBlur5x5_u8;
    case 7:
      return GaussianBlur7x7_u8;
    case 9:
      return GaussianBlur9x9_u8;
    case 11:
      return GaussianBlur11x11_u8;
    case 13:
      return GaussianBlur13x13_u8;
    default:
      return nullptr;
  }
}

// Whole rows with their padding, as far as both planes have it. Planes of one stride are a single
// block, so that memcpy_s sees whether they overlap.
void CopyPlane(const uint8_t* src, uint8_t* dst, int height, int src_stride, int dst_stride) {
  const int row_bytes = std::min(src_stride, dst_stride);
  if (row_bytes < 1 || height < 1) return;
  const size_t plane_bytes = static_cast<size_t>(height) * static_cast<size_t>(row_bytes);
  if (src_stride == dst_stride && plane_bytes <= std::numeric_limits<int32_t>::max()) {
    memcpy_s(dst, plane_bytes, src, plane_bytes);
    return;
  }
  for (ptrdiff_t y = 0; y < height; ++y) {
    memcpy_s(dst + y * dst_stride, static_cast<size_t>(row_bytes), src + y * src_stride,
             static_cast<size_t>(row_bytes));
  }
}

}  // namespace
}  // namespace vantro

int gaussian_blur(const unsigned char* src, unsigned char* dst, int width, int height,
                  int src_stride, int dst_stride, int k_length, float sigma, MThreadPool* pool,
                  int thread_count, unsigned char* /*unused*/) {
  using vantro::kTagPlain;
  static constexpr char kSelf[] = "gaussian_blur";
  if (src_stride < width || dst_stride < width) {
    VANTRO_LOGE(kTagPlain, "[%s] ERROR: src_stride[%d] or dst_stride[%d] is less than width[%d]!!!",
                kTagPlain, src_stride, dst_stride, width);
    return -1;
  }
  if (src == nullptr || dst == nullptr) {
    VANTRO_LOGE(kTagPlain, "[%s] ERROR: org_Img[%p] or blur_img[%p] is NULL!!!", kTagPlain,
                static_cast<const void*>(src), static_cast<const void*>(dst));
    return -1;
  }
  if (pool == nullptr && thread_count != 1) {
    VANTRO_LOGE(kTagPlain, "[%s] if th_pool is NULL, program will be executed in single thread!",
                kTagPlain);
    return -1;
  }
  const vantro::BlurMember member = vantro::MemberFor(k_length);
  if (member == nullptr) {
    VANTRO_LOGE(kTagPlain, "[%s] ATTENTION: k_length is wrong!k_length[%d]", kTagPlain, k_length);
    if (src != dst) vantro::CopyPlane(src, dst, height, src_stride, dst_stride);
    return -1;
  }
  if (sigma < 0.0f) {
    VANTRO_LOGE(kTagPlain, "[%s] ATTENTION: sigma is wrong!sigma[%f]", kTagPlain,
                static_cast<double>(sigma));
    return -1;
  }

  vantro::TrackedBlock<float> weights =
      vantro::AllocTracked<float>(static_cast<uint64_t>(k_length), "get_gaussian_kernel");
  if (weights == nullptr) {
    VANTRO_LOGE(kTagPlain, "[%s] cf Malloc failed!\n", kTagPlain);
    VANTRO_LOGE(kTagPlain, "[%s] %s error!!!\n", kTagPlain, kSelf);
    return -1;
  }
  vantro::GaussianWeights(weights.get(), k_length, sigma);
  uint16_t fixed[vantro::kLongestBlur];
  vantro::FixedPointWeights(weights.get(), fixed, k_length);
  weights.reset();

  if (member(src, dst, width, height, src_stride, dst_stride, fixed) != 0) {
    VANTRO_LOGE(kTagPlain, "[%s] %s error!, k_length[%d]", kTagPlain, kSelf, k_length);
    return -1;
  }
  return 0;
}

int gaussian_blur(const unsigned char* src, unsigned char* dst, int width, int height, int k_length,
                  float sigma, MThreadPool* pool, int thread_count, unsigned char* unused) {
  return gaussian_blur(src, dst, width, height, width, width, k_length, sigma, pool, thread_count,
                       unused);
}

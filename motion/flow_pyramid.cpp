// The expansion of an image at every level of its pyramid.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "image/try_resize.h"
#include "motion/flow_handle.h"
#include "motion/polynomial_expansion.h"
#include "support/log.h"
#include "vantro/bounded.h"
#include "vantro/motion.h"

namespace vantro {
namespace {

// Returns false when there was no memory to resize the image.
bool BuildLevel(ME_Handler* handle, const uint8_t* image, int level, int n, float sigma,
                float* poly) {
  const float scale = handle->level_scale[level];
  const LevelSize size = SizeOfLevel(*handle, level);
  const float smooth_sigma = (1.0f / scale - 1.0f) * 0.5f;
  const int smooth_size = std::max(RoundHalfUp(smooth_sigma * 5.0f) | 1, 3);
  VANTRO_LOGI(kTagPlain, "k = %d scale = %f sigma = %f smooth_sz = %d size[%dx%d]", level,
              static_cast<double>(scale), static_cast<double>(smooth_sigma), smooth_size,
              size.width, size.height);

  auto* resized = reinterpret_cast<uint8_t*>(handle->tmp_fImg);
  if (!TryResizeUcharC(image, resized, handle->width, handle->height, size.width, size.height)) {
    return false;
  }
  const int k_length = static_cast<int>(scale * static_cast<float>(smooth_size));
  const size_t pixels = static_cast<size_t>(int64_t{size.width} * size.height);
  if (gaussian_blur(resized, handle->blur_img, size.width, size.height, size.width, size.width,
                    k_length, scale * smooth_sigma, nullptr, 1, nullptr) != 0) {
    // A level whose kernel shrinks to a length that the blur refuses is expanded as it is, and so
    // is one that there is no memory to blur.
    memcpy_s(handle->blur_img, pixels, resized, pixels);
  }
  __convertToFloat(handle->blur_img, handle->src_f, size.width, size.height);
  float* const kernel_buffer = handle->tmp_fImg;
  float* const row_buffer = kernel_buffer + 6 * static_cast<ptrdiff_t>(n) + 3;
  if (ExpandImage(handle->src_f, poly, kernel_buffer, row_buffer, size.width, size.height, n,
                  static_cast<double>(sigma), true) != 0) {
    // No structure, rather than what an earlier image or nothing at all has left here.
    memset_s(poly, 5 * pixels * sizeof(float), 0, 5 * pixels * sizeof(float));
  }
  return true;
}

}  // namespace
}  // namespace vantro

int build_OF_Pyramid(ME_Handler* handle, unsigned char* image, int n, float sigma) {
  using namespace vantro;
  if (handle == nullptr || image == nullptr) {
    VANTRO_LOGE(kTagPlain, "invalid input parameter: %p %p ", static_cast<void*>(handle),
                static_cast<void*>(image));
    return -1;
  }
  if (n < 0 ||
      ExpansionScratch(handle->width, n) > ScratchImageSize(handle->width, handle->height)) {
    return -1;
  }
  float* const* const set = handle->poly[handle->next_set];
  for (int level = handle->max_level; level >= 0; --level) {
    if (!BuildLevel(handle, image, level, n, sigma, set[level])) return -1;
  }
  handle->next_set = 1 - handle->next_set;
  return 0;
}

void __convertToFloat(const unsigned char* src, float* dst, int width, int height) {
  if (src == nullptr || dst == nullptr || width < 1 || height < 1) return;
  const int64_t count = int64_t{width} * height;
  for (int64_t i = 0; i < count; ++i) dst[i] = static_cast<float>(src[i]);
}

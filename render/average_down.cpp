#include "render/average_kernels.h"
#include "vantro/render.h"

namespace {

using PairKernel = void (*)(uint8_t*, const uint8_t*, const uint8_t*, size_t);

void HalveBy(PairKernel kernel, uint8_t* dst, const uint8_t* src, int width, int height,
             int dst_stride, int src_stride) {
  if (dst == nullptr || src == nullptr || width < 1) return;
  for (int64_t y = 0; y < height; ++y) {
    const uint8_t* upper = src + 2 * y * src_stride;
    kernel(dst + y * dst_stride, upper, upper + src_stride, static_cast<size_t>(width));
  }
}

void Quarter(uint8_t* dst, const uint8_t* src, int width, int height, int dst_stride,
             int src_stride) {
  if (dst == nullptr || src == nullptr || width < 1) return;
  for (int64_t y = 0; y < height; ++y) {
    vantro::Average4x4(dst + y * dst_stride, src + 4 * y * src_stride, src_stride,
                       static_cast<size_t>(width));
  }
}

}  // namespace

unsigned char* averageGrayU8Down2x2(unsigned char* dst, const unsigned char* src, int dstWidth,
                                    int dstHeight, int dstStride, int /*unused0*/, int /*unused1*/,
                                    int srcStride) {
  HalveBy(&vantro::Average2x2, dst, src, dstWidth, dstHeight, dstStride, srcStride);
  return dst;
}

unsigned char* averageGrayU8Down4x4(unsigned char* dst, const unsigned char* src, int dstWidth,
                                    int dstHeight, int dstStride, int /*unused0*/, int /*unused1*/,
                                    int srcStride) {
  Quarter(dst, src, dstWidth, dstHeight, dstStride, srcStride);
  return dst;
}

unsigned char* downscale_x4_avg(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight,
                                int srcStride, int dstStride) {
  HalveBy(&vantro::AverageUp2x2, dst, src, srcWidth / 2, srcHeight / 2, dstStride, srcStride);
  return dst;
}

unsigned char* downscale_x16_avg(unsigned char* src, unsigned char* dst, int srcWidth,
                                 int srcHeight, int srcStride, int dstStride) {
  Quarter(dst, src, srcWidth / 4, srcHeight / 4, dstStride, srcStride);
  return dst;
}

// Resizers of planes and NV21 frames with one scale factor for both axes: bilinear in double
// precision, and by integer steps.

#include <algorithm>
#include <cstdint>

#include "image/plane_resize.h"
#include "support/log.h"
#include "vantro/image.h"

namespace vantro {
namespace {

struct Sizes {
  int src_width;
  int src_height;
  int src_stride;
  int dst_width;
  int dst_height;
};

bool Drawable(const void* src, const void* dst, const Sizes& s) {
  return src != nullptr && dst != nullptr && s.src_width >= 1 && s.src_height >= 1 &&
         s.src_stride >= s.src_width && s.dst_width >= 1 && s.dst_height >= 1;
}

PlaneResize MakeResize(const uint8_t* src, const Sizes& s, decltype(&SumOnce) sum) {
  const AxisRule rule = {static_cast<double>(s.src_width) / static_cast<double>(s.dst_width),
                         false};
  return {MakeChannelSource(src, 1, s.src_stride, s.src_width),
          s.src_width,
          s.src_height,
          rule,
          rule,
          sum};
}

// Both channels of the chroma plane; its row positions are rounded to single precision.
void ResizeChroma(const uint8_t* src, const Sizes& s, uint8_t* dst) {
  PlaneResize chroma = MakeResize(src, s, &SumTerms);
  chroma.src_width = s.src_width / 2;
  chroma.src_height = s.src_height / 2;
  chroma.rows.single = true;
  if (chroma.src_width < 1 || chroma.src_height < 1) return;
  for (int channel = 0; channel < 2; ++channel) {
    chroma.source = MakeChannelSource(src + channel, 2, s.src_stride, chroma.src_width);
    ResizeStraight(chroma, s.dst_width / 2, s.dst_height / 2, dst + channel, 2, s.dst_width);
  }
}

// Every step-th element of `size` bytes from columns and rows that are limited to the plane.
template <int size>
void SampleByStep(const uint8_t* src, int src_width, int src_height, int64_t src_stride,
                  int64_t step, uint8_t* dst, int dst_width, int dst_height, int64_t dst_pitch) {
  for (int y = 0; y < dst_height; ++y) {
    const uint8_t* const row = src + std::min<int64_t>(y * step, src_height - 1) * src_stride;
    uint8_t* const out = dst + y * dst_pitch;
    for (int64_t x = 0; x < dst_width; ++x) {
      const uint8_t* const element = row + std::min<int64_t>(x * step, src_width - 1) * size;
      std::copy_n(element, size, out + x * size);
    }
  }
}

void SampleLuma(const uint8_t* src, uint8_t* dst, const Sizes& s) {
  SampleByStep<1>(src, s.src_width, s.src_height, s.src_stride, s.src_width / s.dst_width, dst,
                  s.dst_width, s.dst_height, s.dst_width);
}

}  // namespace
}  // namespace vantro

void resize(const unsigned char* src, unsigned char* dst, int srcW, int srcH, int srcStride,
            int dstW, int dstH) {
  if (src == nullptr || dst == nullptr || srcW < 1 || srcH < 1 || srcStride < 1 || dstW < 1 ||
      dstH < 1) {
    VANTRO_LOGE(vantro::kTagPlain,
                "invalid parameter: src[%p] dst[%p] srcW[%d] srcH[%d] stride[%d] dstW[%d] dstH[%d]",
                static_cast<const void*>(src), static_cast<void*>(dst), srcW, srcH, srcStride, dstW,
                dstH);
    return;
  }
  if (int64_t{srcW} * 4 == dstW) {
    upscale4X(src, dst, srcW, srcH, srcStride, dstW, dstH);
    return;
  }
  const vantro::Sizes sizes = {srcW, srcH, srcStride, dstW, dstH};
  if (!vantro::Drawable(src, dst, sizes)) return;
  vantro::ResizeStraight(vantro::MakeResize(src, sizes, &vantro::SumOnce), dstW, dstH, dst, 1,
                         dstW);
}

const unsigned char* resizeNV21(const unsigned char* src, unsigned char* dst, int srcW, int srcH,
                                int srcStride, int dstW, int dstH) {
  const vantro::Sizes sizes = {srcW, srcH, srcStride, dstW, dstH};
  if (!vantro::Drawable(src, dst, sizes)) return src;
  vantro::ResizeStraight(vantro::MakeResize(src, sizes, &vantro::SumTerms), dstW, dstH, dst, 1,
                         dstW);
  vantro::ResizeChroma(src + int64_t{srcH} * srcStride, sizes, dst + int64_t{dstH} * dstW);
  return src;
}

void resizeNV21Integer(const unsigned char* src, unsigned char* dst, int srcW, int srcH,
                       int srcStride, int dstW, int dstH) {
  const vantro::Sizes sizes = {srcW, srcH, srcStride, dstW, dstH};
  if (!vantro::Drawable(src, dst, sizes)) return;
  vantro::SampleLuma(src, dst, sizes);
  if (srcW < 2 || srcH < 2) return;
  vantro::SampleByStep<2>(src + int64_t{srcH} * srcStride, srcW / 2, srcH / 2, srcStride,
                          srcW / dstW, dst + int64_t{dstH} * dstW, dstW / 2, dstH / 2, dstW);
}

void resizeYInteger(const unsigned char* src, unsigned char* dst, int srcW, int srcH, int srcStride,
                    int dstW, int dstH) {
  const vantro::Sizes sizes = {srcW, srcH, srcStride, dstW, dstH};
  if (vantro::Drawable(src, dst, sizes)) vantro::SampleLuma(src, dst, sizes);
}

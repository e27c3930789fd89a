// Resizers of planes and NV21 frames with one scale factor for both axes: bilinear in double
// precision, and by integer steps.

#include <algorithm>
#include <cstdint>

#include "image/plane_geometry.h"
#include "image/plane_resize.h"
#include "support/log.h"
#include "vantro/image.h"

namespace vantro {
namespace {

PlaneResize MakeResize(const PlaneGeometry& g, decltype(&SumOnce) sum) {
  const AxisRule rule = {static_cast<double>(g.src_width) / static_cast<double>(g.dst_width),
                         false};
  return {MakeChannelSource(g.src, 1, g.src_stride, g.src_width),
          g.src_width,
          g.src_height,
          rule,
          rule,
          sum};
}

// Both channels of the chroma plane; its row positions are rounded to single precision.
void ResizeChroma(const PlaneGeometry& g, uint8_t* dst) {
  if (!g.has_chroma()) return;
  PlaneResize chroma = MakeResize(g, &SumTerms);
  chroma.src_width = g.src_width / 2;
  chroma.src_height = g.src_height / 2;
  chroma.rows.single = true;
  for (int channel = 0; channel < 2; ++channel) {
    chroma.source = MakeChannelSource(g.chroma() + channel, 2, g.src_stride, chroma.src_width);
    ResizeStraight(chroma, g.dst_width / 2, g.dst_height / 2, dst + channel, 2, g.dst_pitch);
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

void SampleLuma(const PlaneGeometry& g, uint8_t* dst) {
  SampleByStep<1>(g.src, g.src_width, g.src_height, g.src_stride, g.src_width / g.dst_width, dst,
                  g.dst_width, g.dst_height, g.dst_pitch);
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
  const vantro::PlaneGeometry geometry = {src, srcW, srcH, srcStride, dstW, dstH, dstW};
  if (!geometry.Drawable(dst)) return;
  vantro::ResizeStraight(vantro::MakeResize(geometry, &vantro::SumOnce), dstW, dstH, dst, 1, dstW);
}

const unsigned char* resizeNV21(const unsigned char* src, unsigned char* dst, int srcW, int srcH,
                                int srcStride, int dstW, int dstH) {
  const vantro::PlaneGeometry geometry = {src, srcW, srcH, srcStride, dstW, dstH, dstW};
  if (!geometry.Drawable(dst)) return src;
  vantro::ResizeStraight(vantro::MakeResize(geometry, &vantro::SumTerms), dstW, dstH, dst, 1, dstW);
  vantro::ResizeChroma(geometry, dst + int64_t{dstH} * dstW);
  return src;
}

void resizeNV21Integer(const unsigned char* src, unsigned char* dst, int srcW, int srcH,
                       int srcStride, int dstW, int dstH) {
  const vantro::PlaneGeometry geometry = {src, srcW, srcH, srcStride, dstW, dstH, dstW};
  if (!geometry.Drawable(dst)) return;
  vantro::SampleLuma(geometry, dst);
  if (!geometry.has_chroma()) return;
  vantro::SampleByStep<2>(geometry.chroma(), srcW / 2, srcH / 2, srcStride, srcW / dstW,
                          dst + int64_t{dstH} * dstW, dstW / 2, dstH / 2, dstW);
}

void resizeYInteger(const unsigned char* src, unsigned char* dst, int srcW, int srcH, int srcStride,
                    int dstW, int dstH) {
  const vantro::PlaneGeometry geometry = {src, srcW, srcH, srcStride, dstW, dstH, dstW};
  if (geometry.Drawable(dst)) vantro::SampleLuma(geometry, dst);
}

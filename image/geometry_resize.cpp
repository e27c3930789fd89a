// Resizers of planes and NV21 frames with one scale factor for both axes: bilinear in double
// precision, and by integer steps.

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "image/plane_geometry.h"
#include "image/plane_resize.h"
#include "image/strided_copy.h"
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

// Columns by integer steps need no limit: dst_width steps of src_width / dst_width end in the row.
void SampleLuma(const PlaneGeometry& g, uint8_t* dst) {
  const int64_t step = g.src_width / g.dst_width;
  for (int y = 0; y < g.dst_height; ++y) {
    const int64_t row = std::min<int64_t>(y * step, g.src_height - 1);
    CopyStrided(g.src + row * g.src_stride, step, g.dst_width, dst + int64_t{y} * g.dst_pitch);
  }
}

void SampleChroma(const PlaneGeometry& g, uint8_t* dst) {
  if (!g.has_chroma()) return;
  constexpr int kPair = 2;
  const int64_t step = g.src_width / g.dst_width;
  for (int y = 0; y < g.dst_height / 2; ++y, dst += g.dst_pitch) {
    const int64_t row = std::min<int64_t>(y * step, g.src_height / 2 - 1);
    const uint8_t* const pairs = g.chroma() + row * g.src_stride;
    for (int64_t x = 0; x < g.dst_width / 2; ++x) {
      std::memcpy(dst + x * kPair, pairs + x * step * kPair, kPair);
    }
  }
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
  vantro::SampleChroma(geometry, dst + int64_t{dstH} * dstW);
}

void resizeYInteger(const unsigned char* src, unsigned char* dst, int srcW, int srcH, int srcStride,
                    int dstW, int dstH) {
  const vantro::PlaneGeometry geometry = {src, srcW, srcH, srcStride, dstW, dstH, dstW};
  if (geometry.Drawable(dst)) vantro::SampleLuma(geometry, dst);
}

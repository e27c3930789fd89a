// Resizers of whole NV21, NV12 and UYVY frames, plane by plane and channel by channel.

#include <cstddef>
#include <cstdint>

#include "image/strided_copy.h"
#include "support/log.h"
#include "vantro/image.h"

namespace vantro {
namespace {

struct FrameSizes {
  int src_width;
  int src_stride;
  int src_height;
  int dst_width;
  int dst_height;

  bool Halves() const {
    return src_width == 2 * int64_t{dst_width} && src_height == 2 * int64_t{dst_height};
  }
  bool HasPairs() const { return src_width >= 2 && dst_width >= 2 && src_stride >= src_width; }
  int DstPairs() const { return HasPairs() ? dst_width / 2 : 0; }
};

// A null plane stays null, so that the channel resizer refuses it.
template <typename Byte>
Byte* Offset(Byte* plane, int64_t bytes) {
  return plane == nullptr ? nullptr : plane + bytes;
}

void ResizeLuma(const unsigned char* src, unsigned char* dst, const FrameSizes& s) {
  ResizeUcharChl(src, dst, s.src_width, s.src_stride, s.src_height, s.dst_width, s.dst_height, 1);
}

// `channel` 0 or 1 of the chroma pairs. A frame without any, or with rows that overlap, has no
// chroma plane to point at.
void ResizeChroma(const unsigned char* src, unsigned char* dst, const FrameSizes& s, int channel) {
  if (s.HasPairs() && s.src_height >= 2 && s.dst_height >= 2) {
    src = Offset(src, int64_t{s.src_height} * s.src_stride + channel);
    dst = Offset(dst, int64_t{s.dst_height} * s.dst_width + channel);
  }
  ResizeUcharChl(src, dst, s.src_width / 2, s.src_stride / 2, s.src_height / 2, s.DstPairs(),
                 s.dst_height / 2, 2);
}

void HalveSemiPlanar(const unsigned char* src, unsigned char* dst, const FrameSizes& s) {
  if (s.src_stride < s.src_width) return;
  ResizeUcharHalfSemiPlanar(src, dst, s.src_width, s.src_height, s.dst_width, s.dst_height,
                            s.src_stride, s.dst_width);
}

// A pair of UYVY pixels takes U, Y and V of the first of its two source pairs and the first luma of
// the second.
void HalvePacked(const unsigned char* src, unsigned char* dst, const FrameSizes& s) {
  if (src == nullptr || dst == nullptr || s.dst_height < 1 || s.dst_width < 2 ||
      s.src_stride < s.src_width) {
    return;
  }
  for (int y = 0; y < s.dst_height; ++y) {
    const unsigned char* const src_row = src + int64_t{2} * y * s.src_stride * 2;
    unsigned char* const dst_row = dst + int64_t{y} * s.dst_width * 2;
    for (ptrdiff_t i = 0; i < s.dst_width / 2; ++i) {
      dst_row[4 * i] = src_row[8 * i];
      dst_row[4 * i + 1] = src_row[8 * i + 1];
      dst_row[4 * i + 2] = src_row[8 * i + 2];
      dst_row[4 * i + 3] = src_row[8 * i + 5];
    }
  }
}

}  // namespace
}  // namespace vantro

void ResizeUcharNV21(const unsigned char* src, unsigned char* dst, int srcW, int srcStride,
                     int srcH, int dstW, int dstH) {
  VANTRO_LOGI(vantro::kTagVideo, "%s ResizeUcharNV21+++", "ResizeUcharNV21");
  const vantro::FrameSizes sizes = {srcW, srcStride, srcH, dstW, dstH};
  if (sizes.Halves()) {
    vantro::HalveSemiPlanar(src, dst, sizes);
    return;
  }
  vantro::ResizeChroma(src, dst, sizes, 1);
  vantro::ResizeLuma(src, dst, sizes);
  vantro::ResizeChroma(src, dst, sizes, 0);
}

void ResizeUcharNV12(const unsigned char* src, unsigned char* dst, int srcW, int srcStride,
                     int srcH, int dstW, int dstH) {
  const vantro::FrameSizes sizes = {srcW, srcStride, srcH, dstW, dstH};
  if (sizes.Halves()) {
    vantro::HalveSemiPlanar(src, dst, sizes);
    return;
  }
  vantro::ResizeLuma(src, dst, sizes);
  vantro::ResizeChroma(src, dst, sizes, 0);
  vantro::ResizeChroma(src, dst, sizes, 1);
}

void ResizeUcharUYVY(const unsigned char* src, unsigned char* dst, int srcW, int srcStride,
                     int srcH, int dstW, int dstH) {
  const vantro::FrameSizes sizes = {srcW, srcStride, srcH, dstW, dstH};
  if (sizes.Halves()) {
    vantro::HalvePacked(src, dst, sizes);
    return;
  }
  ResizeUcharChl(src, dst, srcW / 2, srcStride / 2, srcH, sizes.DstPairs(), dstH, 4);
  ResizeUcharChl(vantro::Offset(src, 1), vantro::Offset(dst, 1), srcW, srcStride, srcH, dstW, dstH,
                 2);
  ResizeUcharChl(vantro::Offset(src, 2), vantro::Offset(dst, 2), srcW / 2, srcStride / 2, srcH,
                 sizes.DstPairs(), dstH, 4);
}

void ResizeUcharHalfSemiPlanar(const unsigned char* src, unsigned char* dst, int /*srcW*/, int srcH,
                               int dstW, int dstH, int srcStride, int dstStride) {
  // The last sampled row and column must lie in the source.
  if (src == nullptr || dst == nullptr || dstW < 1 || dstH < 1 || dstStride < dstW ||
      int64_t{srcH} < int64_t{2} * dstH - 1 || int64_t{srcStride} < int64_t{2} * dstW - 1) {
    return;
  }
  const int64_t two_rows = int64_t{2} * srcStride;
  for (int y = 0; y < dstH; ++y) {
    vantro::CopyStrided(src + y * two_rows, 2, dstW, dst + int64_t{y} * dstStride);
  }
  const unsigned char* const src_chroma = src + int64_t{srcH} * srcStride;
  unsigned char* const dst_chroma = dst + int64_t{dstH} * dstStride;
  for (int y = 0; y < dstH / 2; ++y) {
    const unsigned char* const src_row = src_chroma + y * two_rows;
    unsigned char* const dst_row = dst_chroma + int64_t{y} * dstStride;
    for (ptrdiff_t i = 0; i < dstW / 2; ++i) {
      dst_row[2 * i] = src_row[4 * i];
      dst_row[2 * i + 1] = src_row[4 * i + 1];
    }
  }
}

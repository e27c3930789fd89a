// The exported fixed-factor bilinear upscalers that no stage calls.
#include <cstddef>
#include <cstring>

#include "render/upscale_rows.h"
#include "vantro/render.h"

namespace {

using vantro::Enlargement;

// Corner-aligned interpolation along one line: source sample i lands on destination index 4i, with
// the quarters of the way to the next sample between. `step` is the distance of neighbours.
void FillAlignedLine(uint8_t* dst, ptrdiff_t dst_step, const uint8_t* src, ptrdiff_t src_step,
                     int32_t count) {
  for (int32_t i = 0; i + 1 < count; ++i, dst += 4 * dst_step, src += src_step) {
    const int32_t a = src[0];
    const int32_t b = src[src_step];
    dst[0] = static_cast<uint8_t>(a);
    dst[dst_step] = static_cast<uint8_t>((3 * a + b) >> 2);
    dst[2 * dst_step] = static_cast<uint8_t>((a + b) >> 1);
    dst[3 * dst_step] = static_cast<uint8_t>((a + 3 * b) >> 2);
  }
  dst[0] = dst[dst_step] = src[0];
}

void CopyColumn(uint8_t* column, ptrdiff_t stride, ptrdiff_t to, int64_t row_begin,
                int64_t row_end) {
  for (int64_t row = row_begin; row < row_end; ++row) {
    column[row * stride + to] = column[row * stride];
  }
}

}  // namespace

unsigned char* upscale_x4_blinear(unsigned char* src, unsigned char* dst, int srcWidth,
                                  int srcHeight, int srcStride, int dstStride) {
  if (dst == nullptr || src == nullptr || srcWidth < 1 || srcHeight < 1) return dst;
  const Enlargement plane{src, srcStride, dst, dstStride, srcWidth, srcHeight};
  vantro::DoubleRows(plane, 0, 2 * int64_t{srcHeight}, vantro::Rounding::kHalfUp);
  return dst;
}

unsigned char* upscale_x16_blinear(unsigned char* src, unsigned char* dst, int srcWidth,
                                   int srcHeight, int srcStride, int dstStride) {
  if (dst == nullptr || src == nullptr || srcWidth < 2 || srcHeight < 2) return dst;
  const int64_t rows = 4 * int64_t{srcHeight};
  const int64_t columns = 4 * int64_t{srcWidth};
  const Enlargement plane{src, srcStride, dst, dstStride, srcWidth, srcHeight};
  vantro::QuadRows(plane, 2, rows - 2, vantro::QuadFilter::kRepeatEdges);

  // Where the lines meet, the later one counts.
  FillAlignedLine(dst, dstStride, src, srcStride, srcHeight);
  CopyColumn(dst, dstStride, 1, 0, rows - 2);
  const size_t landed = static_cast<size_t>(columns - 2);
  FillAlignedLine(dst, 1, src, 1, srcWidth);
  std::memcpy(plane.DstRow(1), dst, landed);
  FillAlignedLine(plane.DstRow(rows - 2), 1, plane.SrcRow(srcHeight - 1), 1, srcWidth);
  std::memcpy(plane.DstRow(rows - 1), plane.DstRow(rows - 2), landed);
  uint8_t* right = dst + columns - 2;
  FillAlignedLine(right, dstStride, src + srcWidth - 1, srcStride, srcHeight);
  right[(rows - 1) * dstStride] = right[(rows - 2) * dstStride] = right[(rows - 3) * dstStride];
  CopyColumn(right, dstStride, 1, 0, rows);
  return dst;
}

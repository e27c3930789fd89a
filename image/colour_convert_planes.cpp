// Whole pictures between YUV layouts and three-byte colour. Rows of pixel pairs go through the row
// kernels; what an odd size leaves over is done here.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "image/colour_formulas.h"
#include "image/colour_row_kernels.h"
#include "vantro/image.h"

namespace vantro {
namespace {

bool Drawable(const void* src, const void* dst, int width, int height) {
  return src != nullptr && dst != nullptr && width >= 1 && height >= 1;
}

// A row whose frame has no chroma for it.
void NeutralRowToBgr(const uint8_t* luma, int width, uint8_t* bgr) {
  for (ptrdiff_t x = 0; x < width; ++x) StoreBgr(FullRangeToRgb(luma[x], 128, 128), bgr + 3 * x);
}

}  // namespace
}  // namespace vantro

void convertI420ToRGBU8(unsigned char* dst, const unsigned char* src, int width, int height,
                        int dstStride, int srcStride) {
  if (!vantro::Drawable(src, dst, width, height) || dstStride < width || srcStride < width) return;
  const int64_t luma_size = int64_t{srcStride} * height;
  const int64_t chroma_stride = srcStride / 2;
  const unsigned char* const u = src + luma_size;
  const unsigned char* const v = u + luma_size / 4;
  for (int y = 0; y < height / 2 * 2; ++y) {
    const int64_t chroma_row = y / 2 * chroma_stride;
    vantro::PlanarRowToRgb(src + int64_t{y} * srcStride, u + chroma_row, v + chroma_row, width / 2,
                           dst + int64_t{y} * dstStride * 3);
  }
}

int YV16ToRGB(unsigned char* src, int width, int height, unsigned char* dst) {
  if (!vantro::Drawable(src, dst, width, height)) return 0;
  const int64_t luma_size = int64_t{width} * height;
  const int pairs = width / 2;
  const unsigned char* const u_plane = src + luma_size;
  const unsigned char* const v_plane = u_plane + luma_size / 2;
  for (int y = 0; y < height; ++y) {
    const unsigned char* const luma = src + int64_t{y} * width;
    unsigned char* const bgr = dst + int64_t{y} * width * 3;
    if (pairs == 0) {
      vantro::NeutralRowToBgr(luma, width, bgr);
      continue;
    }
    const unsigned char* const u = u_plane + int64_t{y} * pairs;
    const unsigned char* const v = v_plane + int64_t{y} * pairs;
    vantro::PlanarRowToBgr(luma, u, v, pairs, bgr);
    if (width % 2 != 0) {
      vantro::StoreBgr(vantro::FullRangeToRgb(luma[width - 1], u[pairs - 1], v[pairs - 1]),
                       bgr + int64_t{6} * pairs);
    }
  }
  return 0;
}

int UYVYToRGB(unsigned char* src, int stride, int width, int rowBegin, int rowEnd,
              unsigned char* dst) {
  if (!vantro::Drawable(src, dst, width, rowEnd) || stride < width) return 0;
  const int pairs = width / 2;
  for (int y = std::max(rowBegin, 0); y < rowEnd; ++y) {
    const unsigned char* const row = src + int64_t{y} * stride * 2;
    unsigned char* const bgr = dst + int64_t{y} * width * 3;
    vantro::UyvyRowToBgr(row, pairs, bgr);
    if (width % 2 != 0) {
      // The row ends with U and Y of the last group; V is that of the group before.
      const unsigned char* const group = row + int64_t{4} * pairs;
      const int v = pairs > 0 ? group[-2] : 128;
      vantro::StoreBgr(vantro::FullRangeToRgb(group[1], group[0], v), bgr + int64_t{6} * pairs);
    }
  }
  return 0;
}

int RGBToUYVY(unsigned char* src, int width, int height, unsigned char* dst, int dstStride) {
  if (!vantro::Drawable(src, dst, width, height) || dstStride < width) return 0;
  const int pairs = width / 2;
  for (int y = 0; y < height; ++y) {
    const unsigned char* const bgr = src + int64_t{y} * width * 3;
    unsigned char* const row = dst + int64_t{y} * dstStride * 2;
    vantro::BgrRowToUyvy(bgr, pairs, row);
    if (width % 2 != 0) {
      const unsigned char* const pixel = bgr + int64_t{6} * pairs;
      unsigned char* const group = row + int64_t{4} * pairs;
      group[0] = vantro::BlueChromaOf(pixel[2], pixel[1], pixel[0]);
      group[1] = vantro::LumaOf(pixel[2], pixel[1], pixel[0]);
    }
  }
  return 0;
}

int NV21ToRGB(unsigned char* src, int stride, int width, int height, unsigned char* dst) {
  if (!vantro::Drawable(src, dst, width, height) || stride < width) return 0;
  const int pairs = width / 2;
  const int chroma_rows = height / 2;
  for (int y = 0; y < height; ++y) {
    const unsigned char* const luma = src + int64_t{y} * stride;
    unsigned char* const bgr = dst + int64_t{y} * width * 3;
    if (pairs == 0 || chroma_rows == 0) {
      vantro::NeutralRowToBgr(luma, width, bgr);
      continue;
    }
    const int chroma_row = std::min(y / 2, chroma_rows - 1);
    const unsigned char* const vu = src + (int64_t{height} + chroma_row) * stride;
    vantro::Nv21RowToBgr(luma, vu, pairs, bgr);
    if (width % 2 != 0) {
      const unsigned char* const last = vu + int64_t{2} * (pairs - 1);
      vantro::StoreBgr(vantro::FullRangeToRgb(luma[width - 1], last[1], last[0]),
                       bgr + int64_t{6} * pairs);
    }
  }
  return 0;
}

int RGBToNV21(unsigned char* src, int width, int height, unsigned char* dst, int dstStride) {
  if (!vantro::Drawable(src, dst, width, height) || dstStride < width) return 0;
  const int pairs = width / 2;
  for (int y = 0; y < height; ++y) {
    const unsigned char* const bgr = src + int64_t{y} * width * 3;
    unsigned char* const luma = dst + int64_t{y} * dstStride;
    // The lower row of a pair gives the chroma; the last row of an odd height has no chroma row.
    unsigned char* const vu = y % 2 == 0 ? nullptr : dst + (int64_t{height} + y / 2) * dstStride;
    vantro::BgrRowToNv21(bgr, pairs, luma, vu);
    if (width % 2 != 0) {
      const unsigned char* const pixel = bgr + int64_t{6} * pairs;
      luma[width - 1] = vantro::LumaOf(pixel[2], pixel[1], pixel[0]);
    }
  }
  return 0;
}

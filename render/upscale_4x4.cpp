#include <algorithm>
#include <cstddef>
#include <cstring>

#include "render/upscale_rows.h"
#include "vantro/render.h"

void upScale4x4BorderRows(unsigned char* upperDst, unsigned char* lowerDst, unsigned char* upperSrc,
                          unsigned char* lowerSrc, int srcWidth, int upperWeight, int lowerWeight) {
  if (upperDst == nullptr || lowerDst == nullptr || upperSrc == nullptr || lowerSrc == nullptr ||
      srcWidth < 1 || upperWeight < 0 || lowerWeight < 0 || upperWeight > 8 || lowerWeight > 8) {
    return;
  }
  vantro::QuadRow(upperDst, upperSrc, lowerSrc, srcWidth,
                  vantro::RowWeights{upperWeight, lowerWeight});
  std::memcpy(lowerDst, upperDst, 4 * static_cast<size_t>(srcWidth));
}

void upScale4x4(unsigned char* dst, unsigned char* src, int srcWidth, int srcHeight, int dstStride,
                int srcStride) {
  if (dst == nullptr || src == nullptr || srcWidth < 1 || srcHeight < 1) return;
  const vantro::Enlargement plane{src, srcStride, dst, dstStride, srcWidth, srcHeight};
  vantro::QuadInnerRows(plane);
  const ptrdiff_t last = srcHeight - 1;
  const auto row = [=](ptrdiff_t y) { return src + y * srcStride; };
  upScale4x4BorderRows(plane.DstRow(0), plane.DstRow(1), src, row(std::min<ptrdiff_t>(1, last)),
                       srcWidth, 7, 1);
  upScale4x4BorderRows(plane.DstRow(4 * last + 2), plane.DstRow(4 * last + 3),
                       row(std::max<ptrdiff_t>(last - 1, 0)), row(last), srcWidth, 1, 7);
}

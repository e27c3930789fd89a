#include <algorithm>

#include "render/upscale_rows.h"
#include "vantro/render.h"

void upScale2x2(unsigned char* dst, const unsigned char* src, int dstWidth, int dstHeight,
                int dstStride, int srcWidth, int srcHeight, int srcStride, int rowBegin,
                int rowEnd) {
  if (dst == nullptr || src == nullptr || srcWidth < 1 || srcHeight < 1) return;
  if (dstWidth != 2 * int64_t{srcWidth} || dstHeight != 2 * int64_t{srcHeight}) {
    bilinearGrayU8BorderLines(dst, src, dstWidth, dstHeight, dstStride, srcWidth, srcHeight,
                              srcStride, rowBegin, rowEnd);
    return;
  }
  // At the exact factor 2 all weights are quarters, whose products and sums are exact in single
  // precision, so the integer rows equal the floating-point ones at the border too.
  vantro::DoubleRows({src, srcStride, dst, dstStride, srcWidth, srcHeight}, std::max(rowBegin, 0),
                     std::min(rowEnd, dstHeight), vantro::Rounding::kTruncate);
}

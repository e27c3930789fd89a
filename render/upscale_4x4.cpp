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
                  vantro::RowWeights{upperWeight, lowerWeight}, vantro::QuadFilter::kRepeatEdges);
  std::memcpy(lowerDst, upperDst, 4 * static_cast<size_t>(srcWidth));
}

void upScale4x4(unsigned char* dst, unsigned char* src, int srcWidth, int srcHeight, int dstStride,
                int srcStride) {
  if (dst == nullptr || src == nullptr || srcWidth < 1 || srcHeight < 1) return;
  vantro::QuadRows({src, srcStride, dst, dstStride, srcWidth, srcHeight}, 0, 4 * int64_t{srcHeight},
                   vantro::QuadFilter::kRepeatEdges);
}

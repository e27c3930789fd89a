// The fixed-factor upscalers over the rows of a plane.
#ifndef VANTRO_RENDER_UPSCALE_ROWS_H_
#define VANTRO_RENDER_UPSCALE_ROWS_H_

#include <cstdint>

#include "render/upscale_kernels.h"

namespace vantro {

// A plane to enlarge and the place of the result; both sizes are those of the source, at least 1.
struct Enlargement {
  const uint8_t* src;
  int64_t src_stride;
  uint8_t* dst;
  int64_t dst_stride;
  int32_t width;
  int32_t height;

  const uint8_t* SrcRow(int64_t row) const { return src + row * src_stride; }
  uint8_t* DstRow(int64_t row) const { return dst + row * dst_stride; }
};

// The rows row_begin to row_end - 1 of the doubled plane.
void DoubleRows(const Enlargement& plane, int64_t row_begin, int64_t row_end, Rounding rounding);

// The rows row_begin to row_end - 1 of the quadrupled plane.
void QuadRows(const Enlargement& plane, int64_t row_begin, int64_t row_end, QuadFilter filter);

}  // namespace vantro

#endif  // VANTRO_RENDER_UPSCALE_ROWS_H_

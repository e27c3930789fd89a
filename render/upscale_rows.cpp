#include "render/upscale_rows.h"

#include <algorithm>

namespace vantro {

void DoubleRows(const Enlargement& plane, int64_t row_begin, int64_t row_end, Rounding rounding) {
  for (int64_t row = row_begin; row < row_end; ++row) {
    const int64_t near = row / 2;
    const int64_t far = row % 2 != 0 ? std::min<int64_t>(near + 1, plane.height - 1)
                                     : std::max<int64_t>(near - 1, 0);
    DoubleRow(plane.DstRow(row), plane.SrcRow(near), plane.SrcRow(far), plane.width, rounding);
  }
}

void QuadInnerRows(const Enlargement& plane) {
  for (int64_t k = 0; k + 1 < plane.height; ++k) {
    for (int phase = 0; phase < 4; ++phase) {
      QuadRow(plane.DstRow(4 * k + 2 + phase), plane.SrcRow(k), plane.SrcRow(k + 1), plane.width,
              RowWeights{7 - 2 * phase, 1 + 2 * phase});
    }
  }
}

}  // namespace vantro

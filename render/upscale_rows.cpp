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

void QuadRows(const Enlargement& plane, int64_t row_begin, int64_t row_end) {
  // Rows 0 and 1 repeat row 2, and the last two the one before them.
  const int64_t inner_end = 4 * int64_t{plane.height} - 2;
  for (int64_t row = row_begin; row < row_end; ++row) {
    const int64_t inner = std::clamp<int64_t>(row, 2, inner_end - 1) - 2;
    const int64_t upper = std::min<int64_t>(inner / 4, plane.height - 1);
    const int64_t lower = std::min<int64_t>(upper + 1, plane.height - 1);
    const auto phase = static_cast<int32_t>(inner % 4);
    QuadRow(plane.DstRow(row), plane.SrcRow(upper), plane.SrcRow(lower), plane.width,
            RowWeights{7 - 2 * phase, 1 + 2 * phase});
  }
}

}  // namespace vantro

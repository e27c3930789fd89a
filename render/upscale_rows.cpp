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

void QuadRows(const Enlargement& plane, int64_t row_begin, int64_t row_end, QuadFilter filter) {
  const int64_t last = plane.height - 1;
  for (int64_t row = row_begin; row < row_end; ++row) {
    // Rows count from the first one between the centres of the source rows 0 and 1.
    int64_t inner = row - 2;
    if (filter == QuadFilter::kRepeatEdges)
      inner = std::clamp<int64_t>(inner, 0, std::max<int64_t>(4 * last - 1, 0));
    const int64_t upper = std::clamp<int64_t>(inner >> 2, 0, last);
    const int64_t lower = std::clamp<int64_t>((inner >> 2) + 1, 0, last);
    const auto phase = static_cast<int32_t>(inner & 3);
    QuadRow(plane.DstRow(row), plane.SrcRow(upper), plane.SrcRow(lower), plane.width,
            RowWeights{7 - 2 * phase, 1 + 2 * phase}, filter);
  }
}

}  // namespace vantro

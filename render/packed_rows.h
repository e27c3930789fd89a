// How a rectangle covers a row of packed groups U, Y0, V, Y1.
#ifndef VANTRO_RENDER_PACKED_ROWS_H_
#define VANTRO_RENDER_PACKED_ROWS_H_

#include <cstddef>
#include <cstdint>

#include "render/frame_region.h"
#include "render/gray_kernels.h"

namespace vantro {

// The groups of four bytes from byte 2 * x_begin on that begin before byte 2 * x_end. An odd width
// takes the pixel behind it into its last group; where the row ends first, the group is cut to its
// first two bytes.
struct PackedSpan {
  PackedSpan(const FrameRegion& region, int64_t stride)
      : begin(2 * region.x_begin),
        whole_groups(static_cast<size_t>((region.x_end - region.x_begin + 1) / 2)),
        cut_group(begin + 4 * static_cast<int64_t>(whole_groups) > 2 * stride) {
    if (cut_group) --whole_groups;
  }

  int64_t cut_begin() const { return begin + 4 * static_cast<int64_t>(whole_groups); }

  int64_t begin;
  size_t whole_groups;
  bool cut_group;
};

// The two bytes of a cut group.
inline void GrayCutGroup(const ContrastCurve& curve, uint8_t* group) {
  group[0] = kNeutralChroma;
  group[1] = curve.table[group[1]];
}

}  // namespace vantro

#endif  // VANTRO_RENDER_PACKED_ROWS_H_

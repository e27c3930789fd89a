// The part of a frame that an effect may touch.
#ifndef VANTRO_RENDER_FRAME_REGION_H_
#define VANTRO_RENDER_FRAME_REGION_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "vantro/vantro.h"

namespace vantro {

// Columns x_begin to x_end - 1 of the rows y_begin to y_end - 1.
struct FrameRegion {
  int64_t x_begin;
  int64_t x_end;
  int64_t y_begin;
  int64_t y_end;

  bool empty() const { return x_begin >= x_end || y_begin >= y_end; }
};

// The rectangle's part inside `height` rows of `stride` pixels.
inline FrameRegion ClipToFrame(const Rect_t& rect, int32_t stride, int32_t height) {
  return {std::max<int64_t>(rect.x, 0), std::min<int64_t>(int64_t{rect.x} + rect.width, stride),
          std::max<int64_t>(rect.y, 0), std::min<int64_t>(int64_t{rect.y} + rect.height, height)};
}

// Runs operation(first byte, number of bytes) on the region's rows of a plane of bytes. Rows that
// follow each other without a gap are treated as one.
template <typename Operation>
void ForEachRow(uint8_t* plane, int64_t stride, const FrameRegion& region, Operation operation) {
  const int64_t columns = region.x_end - region.x_begin;
  if (columns == stride) {
    operation(plane + region.y_begin * stride,
              static_cast<size_t>((region.y_end - region.y_begin) * stride));
    return;
  }
  for (int64_t y = region.y_begin; y < region.y_end; ++y) {
    operation(plane + y * stride + region.x_begin, static_cast<size_t>(columns));
  }
}

}  // namespace vantro

#endif  // VANTRO_RENDER_FRAME_REGION_H_

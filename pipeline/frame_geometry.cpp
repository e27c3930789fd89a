#include "pipeline/frame_geometry.h"

#include <algorithm>
#include <limits>

namespace vantro {
namespace {

// Moves the span [start, start + size) to even bounds; one that then leaves the frame moves or
// shrinks by one pair.
void AlignEven(int32_t* start, int32_t* size, int32_t limit) {
  int64_t first = *start - *start % 2;
  int64_t count = int64_t{*size} + *size % 2;
  if (first + count > limit) (first >= 2 ? first : count) -= 2;
  *start = static_cast<int32_t>(first);
  *size = static_cast<int32_t>(count);
}

}  // namespace

int64_t FrameBytes(const Vantro_t& frame) {
  const int64_t luma = int64_t{std::max(frame.stride, 0)} * frame.height;
  switch (frame.yuv_format) {
    case VANTRO_FORMAT_NV21:
    case VANTRO_FORMAT_NV12:
      return luma + int64_t{std::max(frame.stride, 0)} * (frame.height / 2);
    case VANTRO_FORMAT_UYVY:
      return luma * 2;
    default:
      return luma;
  }
}

bool IsRenderedFormat(uint8_t yuv_format) {
  return yuv_format == VANTRO_FORMAT_NV21 || yuv_format == VANTRO_FORMAT_NV12 ||
         yuv_format == VANTRO_FORMAT_UYVY;
}

bool IsOversized(const Vantro_t& frame) {
  return IsRenderedFormat(frame.yuv_format) &&
         FrameBytes(frame) > std::numeric_limits<int32_t>::max();
}

Rect_t RenderRect(const Vantro_t& frame) {
  Rect_t rect = frame.rect;
  const bool valid = rect.x >= 0 && rect.y >= 0 && rect.width >= 1 && rect.height >= 1 &&
                     int64_t{rect.x} + rect.width <= frame.width &&
                     int64_t{rect.y} + rect.height <= frame.height;
  if (!valid) {
    rect.x = 0;
    rect.y = 0;
    rect.width = frame.width;
    rect.height = frame.height;
  }
  if (frame.yuv_format == VANTRO_FORMAT_NV21 || frame.yuv_format == VANTRO_FORMAT_UYVY) {
    AlignEven(&rect.x, &rect.width, frame.width);
  }
  if (frame.yuv_format == VANTRO_FORMAT_NV21) AlignEven(&rect.y, &rect.height, frame.height);
  return rect;
}

}  // namespace vantro

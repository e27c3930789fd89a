// Random frames for the effects, and the effects pixel by pixel.
#ifndef VANTRO_TESTS_RENDER_PLAIN_FRAMES_H_
#define VANTRO_TESTS_RENDER_PLAIN_FRAMES_H_

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

#include "tests/image/image_buffers.h"
#include "vantro/algo_context.h"

namespace vantro::test {

inline void FillBuiltInCurve(AlgoCxt* cxt) {
  for (int v = 0; v < 256; ++v) {
    double g = v / 5.0;
    if (v > 25) g = (v - 25) * 245.0 / 205.0 + 5.0;
    if (v > 229) g = (v - 230) / 5.0 + 250.0;
    cxt->contrastTable[v] = static_cast<uint8_t>(std::floor(g + 0.5));
  }
}

// The bytes that a record describes.
inline size_t FrameSize(int format, int stride, int height) {
  return format == VANTRO_FORMAT_UYVY ? 2 * Area(stride, height)
                                      : Area(stride, height) + Area(stride, height / 2);
}

// A rectangle that mostly lies inside the frame; sometimes it reaches outside, by up to all an int
// can hold.
inline Rect_t RandomRect(Random& random, int stride, int height) {
  Rect_t rect{};
  switch (random.Int(0, 5)) {
    case 0:
      rect = {0, 0, height, stride, 0, 0};
      break;
    case 1: {
      const int extremes[] = {std::numeric_limits<int>::min(), -7, -2, 0, 3, 100,
                              std::numeric_limits<int>::max()};
      const auto extreme = [&] { return extremes[random.Int(0, 6)]; };
      rect = {extreme(), extreme(), extreme(), extreme(), 0, 0};
      break;
    }
    default:
      rect.x = random.Int(0, stride - 1);
      rect.y = random.Int(0, height - 1);
      rect.width = random.Int(0, stride - rect.x);
      rect.height = random.Int(0, height - rect.y);
      break;
  }
  return rect;
}

// A box that is mostly inside the frame.
inline CROP_BOX RandomBox(Random& random, int width, int height) {
  CROP_BOX box{};
  box.crop_left = random.Int(-3, width - 1);
  box.crop_right = random.Int(box.crop_left - 1, width + 3);
  box.crop_top = random.Int(-3, height - 1);
  box.crop_bottom = random.Int(box.crop_top - 1, height + 3);
  return box;
}

// Rows and columns of the rectangle inside the frame, as half-open ranges.
struct Inside {
  int64_t left, right, top, bottom;
  Inside(const Rect_t& rect, int stride, int height)
      : left(std::max(rect.x, 0)),
        right(std::min(int64_t{rect.x} + rect.width, int64_t{stride})),
        top(std::max(rect.y, 0)),
        bottom(std::min(int64_t{rect.y} + rect.height, int64_t{height})) {}
};

// Whether the pixel of a row and a column keeps its colour.
using Keep = std::function<bool(int64_t, int64_t)>;

// Greys a semi-planar frame; `pairs` neutralises whole chroma pairs, otherwise single bytes.
inline void PlainSemiPlanar(Bytes* frame, const uint8_t* curve, int stride, int height,
                            const Rect_t& rect, bool pairs, const Keep& keep) {
  const Inside inside(rect, stride, height);
  for (int64_t r = inside.top; r < inside.bottom; ++r) {
    for (int64_t c = inside.left; c < inside.right; ++c) {
      uint8_t& luma = (*frame)[static_cast<size_t>(r * stride + c)];
      luma = curve[luma];
      if (keep(r, c) || r / 2 >= height / 2) continue;
      const int64_t first = (height + r / 2) * stride + (pairs ? c / 2 * 2 : c);
      for (int64_t at = first; at < first + (pairs ? 2 : 1); ++at) {
        if (static_cast<size_t>(at) < frame->size()) (*frame)[static_cast<size_t>(at)] = 128;
      }
    }
  }
}

inline void PlainPacked(Bytes* frame, const uint8_t* curve, int stride, int height,
                        const Rect_t& rect, const Keep& keep) {
  const Inside inside(rect, stride, height);
  for (int64_t r = inside.top; r < inside.bottom; ++r) {
    for (int64_t group = 2 * inside.left; group < 2 * inside.right; group += 4) {
      const bool kept = keep(r, group / 2);
      for (int64_t at = group; at < std::min<int64_t>(group + 4, 2 * stride); ++at) {
        uint8_t& byte = (*frame)[static_cast<size_t>(r * stride * 2 + at)];
        if ((at - group) % 2 != 0) {
          byte = curve[byte];
        } else if (!kept) {
          byte = 128;
        }
      }
    }
  }
}

}  // namespace vantro::test

#endif  // VANTRO_TESTS_RENDER_PLAIN_FRAMES_H_

// Random frames for the effects, and the effects pixel by pixel.
#ifndef VANTRO_TESTS_RENDER_PLAIN_FRAMES_H_
#define VANTRO_TESTS_RENDER_PLAIN_FRAMES_H_

#include <algorithm>
#include <functional>
#include <limits>

#include "render/contrast_curve.h"
#include "tests/image/image_buffers.h"
#include "vantro/algo_context.h"

namespace vantro::test {

inline AlgoCxt BuiltInContext() {
  AlgoCxt cxt{};
  std::copy(kBuiltInCurve.begin(), kBuiltInCurve.end(), cxt.contrastTable);
  return cxt;
}

// The bytes that a record describes.
inline size_t FrameSize(int format, int stride, int height) {
  return format == VANTRO_FORMAT_UYVY ? 2 * Area(stride, height)
                                      : Area(stride, height) + Area(stride, height / 2);
}

// A rectangle that mostly lies inside the frame; sometimes it reaches outside, by up to all an int
// can hold.
inline Rect_t RandomRect(Random& random, int stride, int height) {
  const int kind = random.Int(0, 5);
  if (kind == 0) return {0, 0, height, stride, 0, 0};
  if (kind == 1) {
    constexpr int kExtremes[] = {std::numeric_limits<int>::min(), -7, -2, 0, 3, 100,
                                 std::numeric_limits<int>::max()};
    const auto extreme = [&] { return kExtremes[random.Int(0, 6)]; };
    return {extreme(), extreme(), extreme(), extreme(), 0, 0};
  }
  Rect_t rect{};
  rect.x = random.Int(0, stride - 1);
  rect.y = random.Int(0, height - 1);
  rect.width = random.Int(0, stride - rect.x);
  rect.height = random.Int(0, height - rect.y);
  return rect;
}

// Whether the pixel of a row and a column keeps its colour.
using Keep = std::function<bool(int64_t, int64_t)>;

inline bool Contains(const CROP_BOX& box, int64_t r, int64_t c) {
  return r >= box.crop_top && r <= box.crop_bottom && c >= box.crop_left && c <= box.crop_right;
}

inline bool KeepNothing(int64_t, int64_t) { return false; }

struct Picture {
  int format, height, stride;
  Bytes bytes;

  // Greys the rectangle; `pairs` neutralises whole chroma pairs, otherwise single bytes.
  Bytes Effect(const uint8_t* curve, const Rect_t& rect, bool pairs, const Keep& keep) const {
    Bytes out = bytes;
    const bool packed = format == VANTRO_FORMAT_UYVY;
    if (!packed && format != VANTRO_FORMAT_NV21 && format != VANTRO_FORMAT_NV12) return out;
    const auto set = [&](int64_t at, uint8_t value) { out.at(static_cast<size_t>(at)) = value; };
    const auto left = std::max<int64_t>(rect.x, 0);
    auto right = std::min<int64_t>(int64_t{rect.x} + rect.width, stride);
    const auto bottom = std::min<int64_t>(int64_t{rect.y} + rect.height, height);
    // Groups of two pixels begin at the left edge; the first pixel speaks for both.
    if (packed && right > left) right = std::min<int64_t>(right + (right - left) % 2, stride);
    for (int64_t r = std::max(rect.y, 0); r < bottom; ++r) {
      for (int64_t c = left; c < right; ++c) {
        const int64_t at = r * stride + c;
        const int64_t luma = packed ? 2 * at + 1 : at;
        set(luma, curve[bytes[static_cast<size_t>(luma)]]);
        if (keep(r, packed ? c - (c - left) % 2 : c)) continue;
        if (packed) {
          set(2 * at, 128);
        } else if (r / 2 < height / 2) {
          const int64_t chroma = (height + r / 2) * stride;
          set(chroma + (pairs ? c / 2 * 2 : c), 128);
          // The pair of a last, odd column may lie partly behind the frame.
          const int64_t second = chroma + c / 2 * 2 + 1;
          if (pairs && static_cast<size_t>(second) < out.size()) set(second, 128);
        }
      }
    }
    return out;
  }
};

}  // namespace vantro::test

#endif  // VANTRO_TESTS_RENDER_PLAIN_FRAMES_H_

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

inline bool KeepNothing(int64_t, int64_t) { return false; }

struct Picture {
  int format;
  int height;
  int stride;
  Bytes bytes;

  // Greys the rectangle; `pairs` neutralises whole chroma pairs, otherwise single bytes.
  Bytes Effect(const uint8_t* curve, const Rect_t& rect, bool pairs, const Keep& keep) const {
    Bytes out = bytes;
    const auto right = std::min<int64_t>(int64_t{rect.x} + rect.width, stride);
    const auto bottom = std::min<int64_t>(int64_t{rect.y} + rect.height, height);
    for (int64_t r = std::max(rect.y, 0); r < bottom; ++r) {
      if (format == VANTRO_FORMAT_UYVY) {
        GreyPackedRow(&out, curve, r, std::max(rect.x, 0), right, keep);
      } else if (format == VANTRO_FORMAT_NV21 || format == VANTRO_FORMAT_NV12) {
        for (int64_t c = std::max(rect.x, 0); c < right; ++c) {
          uint8_t& luma = out[static_cast<size_t>(r * stride + c)];
          luma = curve[luma];
          if (keep(r, c) || r / 2 >= height / 2) continue;
          const int64_t first = (height + r / 2) * stride + (pairs ? c / 2 * 2 : c);
          for (int64_t at = first; at < first + (pairs ? 2 : 1); ++at) {
            if (static_cast<size_t>(at) < out.size()) out[static_cast<size_t>(at)] = 128;
          }
        }
      }
    }
    return out;
  }

 private:
  void GreyPackedRow(Bytes* out, const uint8_t* curve, int64_t r, int64_t left, int64_t right,
                     const Keep& keep) const {
    for (int64_t group = 2 * left; group < 2 * right; group += 4) {
      const bool kept = keep(r, group / 2);
      for (int64_t at = group; at < std::min<int64_t>(group + 4, 2 * stride); ++at) {
        uint8_t& byte = (*out)[static_cast<size_t>(r * stride * 2 + at)];
        if ((at - group) % 2 != 0) {
          byte = curve[byte];
        } else if (!kept) {
          byte = 128;
        }
      }
    }
  }
};

}  // namespace vantro::test

#endif  // VANTRO_TESTS_RENDER_PLAIN_FRAMES_H_

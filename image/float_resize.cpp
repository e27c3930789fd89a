// Resizers of packed float planes.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "image/bilinear_position.h"
#include "vantro/image.h"

namespace vantro {
namespace {

bool Drawable(const float* src, const float* dst, int src_width, int src_height, int dst_width,
              int dst_height) {
  return src != nullptr && dst != nullptr && src_width >= 1 && src_height >= 1 && dst_width >= 1 &&
         dst_height >= 1;
}

float Ratio(int numerator, int denominator) {
  return static_cast<float>(numerator) / static_cast<float>(denominator);
}

// A position that is not negative, truncated; wide, because it may pass the largest int.
int64_t Truncate(float position) { return static_cast<int64_t>(position); }

// Each element is the mean of its 2x2 block.
void Halve(const float* src, float* dst, int dst_width, int dst_height) {
  const ptrdiff_t src_width = 2 * static_cast<ptrdiff_t>(dst_width);
  for (int y = 0; y < dst_height; ++y, src += 2 * src_width, dst += dst_width) {
    const float* const lower = src + src_width;
    for (ptrdiff_t x = 0; x < dst_width; ++x) {
      dst[x] = (src[2 * x] + src[2 * x + 1] + lower[2 * x] + lower[2 * x + 1]) * 0.25f;
    }
  }
}

// The sample pair and the first sample's weight of position `i` of an axis that is doubled. The
// pairs at both ends stay inside; a lone sample is its own neighbour.
struct DoubledPosition {
  int first;
  int second;
  float first_weight;
  float second_weight;

  DoubledPosition(int i, int src_size)
      : first(std::max(std::min((i - 1) >> 1, src_size - 2), 0)),
        second(std::min(first + 1, src_size - 1)),
        first_weight(i % 2 == 0 ? 0.25f : 0.75f),
        second_weight(i % 2 == 0 ? 0.75f : 0.25f) {}
};

void Double(const float* src, float* dst, int src_width, int src_height) {
  for (int y = 0; y < 2 * src_height; ++y) {
    const DoubledPosition row(y, src_height);
    const float* const upper = src + static_cast<ptrdiff_t>(row.first) * src_width;
    const float* const lower = src + static_cast<ptrdiff_t>(row.second) * src_width;
    for (int x = 0; x < 2 * src_width; ++x) {
      const DoubledPosition column(x, src_width);
      *dst++ = upper[column.first] * row.first_weight * column.first_weight +
               upper[column.second] * row.first_weight * column.second_weight +
               lower[column.first] * row.second_weight * column.first_weight +
               lower[column.second] * row.second_weight * column.second_weight;
    }
  }
}

void ResizeBilinear(const float* src, float* dst, int src_width, int src_height, int dst_width,
                    int dst_height) {
  const float step_x = Ratio(src_width, dst_width);
  const float step_y = Ratio(src_height, dst_height);
  float position_y = 0.0f;
  for (int y = 0; y < dst_height; ++y, position_y += step_y) {
    const int64_t y0 = Truncate(position_y);
    const float ay = position_y - static_cast<float>(y0);
    const float* const upper = src + std::min<int64_t>(y0, src_height - 1) * src_width;
    const float* const lower = src + std::min<int64_t>(y0 + 1, src_height - 1) * src_width;
    float position_x = 0.0f;
    for (int x = 0; x < dst_width; ++x, position_x += step_x) {
      const int64_t x0 = Truncate(position_x);
      const float ax = position_x - static_cast<float>(x0);
      const int64_t left = std::min<int64_t>(x0, src_width - 1);
      const int64_t right = std::min<int64_t>(x0 + 1, src_width - 1);
      *dst++ = ay * ax * lower[right] +
               ((1 - ax) * (ay * lower[left]) +
                ((1 - ay) * (ax * upper[right]) + (1 - ay) * (upper[left] * (1 - ax))));
    }
  }
}

}  // namespace
}  // namespace vantro

const float* Resize_secure(const float* src, float* dst, int srcW, int srcH, int dstW, int dstH) {
  using vantro::AxisPosition;
  if (!vantro::Drawable(src, dst, srcW, srcH, dstW, dstH)) return src;
  const double scale_x = static_cast<double>(vantro::Ratio(srcW, dstW));
  const double scale_y = static_cast<double>(vantro::Ratio(srcH, dstH));
  for (int y = 0; y < dstH; ++y) {
    const AxisPosition row = vantro::LocateOnAxis(scale_y * y, srcH);
    const float* const upper = src + static_cast<ptrdiff_t>(row.first) * srcW;
    const float* const lower = src + static_cast<ptrdiff_t>(row.second) * srcW;
    for (int x = 0; x < dstW; ++x) {
      const AxisPosition column = vantro::LocateOnAxis(scale_x * x, srcW);
      // The sum is rounded to single precision after each term.
      const auto add = [](float sum, double weight_x, double weight_y, float sample) {
        return static_cast<float>(static_cast<double>(sum) +
                                  weight_x * weight_y * static_cast<double>(sample));
      };
      float sum = 0.0f;
      sum = add(sum, column.first_weight, row.first_weight, upper[column.first]);
      sum = add(sum, column.first_weight, row.second_weight, lower[column.first]);
      sum = add(sum, column.second_weight, row.first_weight, upper[column.second]);
      sum = add(sum, column.second_weight, row.second_weight, lower[column.second]);
      *dst++ = sum;
    }
  }
  return src;
}

const float* resizeSpareDisparityNearest(const float* src, float* dst, int srcW, int srcH, int dstW,
                                         int dstH, float invalid) {
  if (!vantro::Drawable(src, dst, srcW, srcH, dstW, dstH)) return src;
  const float value_scale = vantro::Ratio(dstW, srcW);
  const float step_x = vantro::Ratio(srcW, dstW);
  const float step_y = vantro::Ratio(srcH, dstH);
  const auto nearest = [](float position, int size) {
    return std::min(static_cast<int64_t>(std::floor(static_cast<double>(position) + 0.5)),
                    static_cast<int64_t>(size - 1));
  };
  float position_y = 0.0f;
  for (int y = 0; y < dstH; ++y, position_y += step_y) {
    const float* const row = src + nearest(position_y, srcH) * srcW;
    float position_x = 0.0f;
    for (int x = 0; x < dstW; ++x, position_x += step_x) {
      const float sample = row[nearest(position_x, srcW)];
      *dst++ = static_cast<double>(sample - invalid) < 0.1 ? invalid : sample * value_scale;
    }
  }
  return src;
}

const float* resizeFloat_Bilinear(const float* src, float* dst, int srcW, int srcH, int dstW,
                                  int dstH) {
  if (!vantro::Drawable(src, dst, srcW, srcH, dstW, dstH)) return src;
  const auto is_double = [](int64_t large, int64_t small) { return large == 2 * small; };
  if (is_double(srcW, dstW) && is_double(srcH, dstH)) {
    vantro::Halve(src, dst, dstW, dstH);
  } else if (is_double(dstW, srcW) && is_double(dstH, srcH)) {
    vantro::Double(src, dst, srcW, srcH);
  } else {
    vantro::ResizeBilinear(src, dst, srcW, srcH, dstW, dstH);
  }
  return src;
}

const float* resizeFloat_Nearest_2Ch(const float* src, float* dst, int srcW, int srcH, int dstW,
                                     int dstH) {
  if (!vantro::Drawable(src, dst, srcW, srcH, dstW, dstH)) return src;
  const auto nearest = [](float scale, int i, int size) {
    return std::min<int64_t>(vantro::Truncate(scale * static_cast<float>(i)), size - 1);
  };
  const float scale_x = vantro::Ratio(srcW, dstW);
  const float scale_y = vantro::Ratio(srcH, dstH);
  constexpr int kStrip = 512;
  constexpr size_t kPair = 2 * sizeof(float);
  int64_t columns[kStrip];
  for (int first = 0; first < dstW;) {
    const int count = std::min(kStrip, dstW - first);
    for (int x = 0; x < count; ++x) columns[x] = 2 * nearest(scale_x, first + x, srcW);
    float* out = dst + int64_t{2} * first;
    int64_t above = -1;
    for (int y = 0; y < dstH; ++y, out += int64_t{2} * dstW) {
      const int64_t row = nearest(scale_y, y, srcH);
      // As bytes: the values need not be numbers.
      if (row == above) {
        std::memcpy(out, out - int64_t{2} * dstW, static_cast<size_t>(count) * kPair);
      } else {
        const float* const samples = src + row * 2 * srcW;
        for (int x = 0; x < count; ++x) std::memcpy(out + 2 * x, samples + columns[x], kPair);
      }
      above = row;
    }
    first += count;
  }
  return src;
}

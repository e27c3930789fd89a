// Resizers of packed float planes.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "image/bilinear_position.h"
#include "image/float_sum_kernels.h"
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

// Weights and samples of position `i` of an axis that is doubled. The pairs at both ends stay
// inside; a lone sample is its own neighbour.
struct DoubledPosition {
  int first;
  int second;
  RowWeights<float> weights;

  DoubledPosition(int i, int src_size)
      : first(std::max(std::min((i - 1) >> 1, src_size - 2), 0)),
        second(std::min(first + 1, src_size - 1)),
        weights(i % 2 == 0 ? RowWeights<float>{0.25f, 0.75f} : RowWeights<float>{0.75f, 0.25f}) {}
};

void Double(const float* src, float* dst, int src_width, int src_height) {
  const ptrdiff_t dst_width = 2 * static_cast<ptrdiff_t>(src_width);
  for (int y = 0; y < 2 * src_height; ++y, dst += dst_width) {
    const DoubledPosition row(y, src_height);
    const float* const upper = src + static_cast<ptrdiff_t>(row.first) * src_width;
    const float* const lower = src + static_cast<ptrdiff_t>(row.second) * src_width;
    DoubleFloats(upper, lower, src_width, row.weights, dst + 1);
    for (const int x : {0, 2 * src_width - 1}) {
      const DoubledPosition column(x, src_width);
      const auto [wx0, wx1] = column.weights;
      const auto [wy0, wy1] = row.weights;
      dst[x] = upper[column.first] * wy0 * wx0 + upper[column.second] * wy0 * wx1 +
               lower[column.first] * wy1 * wx0 + lower[column.second] * wy1 * wx1;
    }
  }
}

// The positions of an axis, one after the other.

// Multiples of the ratio.
class ScaledAxis {
 public:
  using Real = double;
  ScaledAxis(int src_size, int dst_size)
      : size_(src_size), scale_(static_cast<double>(Ratio(src_size, dst_size))) {}

  AxisPosition<double> Next() { return LocateOnAxis(scale_ * index_++, size_); }

 private:
  int size_;
  double scale_;
  int index_ = 0;
};

// Accumulated in single precision. The samples are limited to the axis, the fraction is not.
class SteppedAxis {
 public:
  using Real = float;
  SteppedAxis(int src_size, int dst_size) : last_(src_size - 1), step_(Ratio(src_size, dst_size)) {}

  AxisPosition<float> Next() {
    const int64_t first = Truncate(position_);
    const float fraction = position_ - static_cast<float>(first);
    position_ += step_;
    return {static_cast<int32_t>(std::min(first, last_)),
            static_cast<int32_t>(std::min(first + 1, last_)), 1 - fraction, fraction};
  }

 private:
  int64_t last_;
  float step_;
  float position_ = 0.0f;
};

// The samples that the columns of a strip lie between, for two neighbouring rows.
class FloatSpreader {
 public:
  FloatSpreader(const float* src, int width, const int32_t* left, int count)
      : src_(src), width_(width), left_(left), count_(count) {
    while (inside_ < count && left[inside_] < width - 1) ++inside_;
  }

  // The left and the right sample of each column; valid until the row after the next is asked for.
  const float* Row(int32_t row) {
    Slot& slot = slots_[row % 2];
    if (slot.row == row) return slot.samples;
    slot.row = row;
    const float* const src = src_ + int64_t{row} * width_;
    const int32_t* const left = left_;
    const ptrdiff_t inside = inside_;
    for (ptrdiff_t x = 0; x < inside; ++x) {
      std::memcpy(slot.samples + 2 * x, src + left[x], 2 * sizeof(float));
    }
    std::fill(slot.samples + 2 * inside, slot.samples + 2 * count_, src[width_ - 1]);
    return slot.samples;
  }

 private:
  struct Slot {
    int32_t row = -1;
    alignas(64) float samples[2 * kStripColumns];
  };

  const float* src_;
  int width_;
  const int32_t* left_;
  int count_;
  int inside_ = 0;  // columns before the last sample
  Slot slots_[2];
};

template <typename Axis, typename Sum>
void ResizeBilinear(const float* src, float* dst, int src_width, int src_height, int dst_width,
                    int dst_height, Sum sum) {
  using Real = typename Axis::Real;
  int32_t left[kStripColumns];
  alignas(64) Real left_weight[kStripColumns];
  alignas(64) Real right_weight[kStripColumns];
  Axis columns(src_width, dst_width);
  for (int first = 0; first < dst_width;) {
    const int count = std::min(kStripColumns, dst_width - first);
    for (int x = 0; x < count; ++x) {
      const AxisPosition<Real> column = columns.Next();
      left[x] = column.first;
      left_weight[x] = column.first_weight;
      right_weight[x] = column.second_weight;
    }
    FloatSpreader spreader(src, src_width, left, count);
    Axis rows(src_height, dst_height);
    float* out = dst + first;
    for (int y = 0; y < dst_height; ++y, out += dst_width) {
      const AxisPosition<Real> row = rows.Next();
      const float* const upper = spreader.Row(row.first);
      const float* const lower = spreader.Row(row.second);
      sum(upper, lower, {left_weight, right_weight, count}, {row.first_weight, row.second_weight},
          out);
    }
    first += count;
  }
}

// Writes each of `count` pixels of two channels twice.
void RepeatPixels(const float* src, int count, float* dst) {
  for (ptrdiff_t i = 0; i < count; ++i) {
    uint64_t pixel;
    std::memcpy(&pixel, src + 2 * i, sizeof(pixel));
    std::memcpy(dst + 4 * i, &pixel, sizeof(pixel));
    std::memcpy(dst + 4 * i + 2, &pixel, sizeof(pixel));
  }
}

}  // namespace
}  // namespace vantro

const float* Resize_secure(const float* src, float* dst, int srcW, int srcH, int dstW, int dstH) {
  if (!vantro::Drawable(src, dst, srcW, srcH, dstW, dstH)) return src;
  vantro::ResizeBilinear<vantro::ScaledAxis>(src, dst, srcW, srcH, dstW, dstH, &vantro::SumRounded);
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
  int64_t columns[vantro::kStripColumns];
  float position_x = 0.0f;
  for (int first = 0; first < dstW;) {
    const int count = std::min(vantro::kStripColumns, dstW - first);
    for (int x = 0; x < count; ++x, position_x += step_x) columns[x] = nearest(position_x, srcW);
    float* out = dst + first;
    float position_y = 0.0f;
    for (int y = 0; y < dstH; ++y, position_y += step_y, out += dstW) {
      const float* const row = src + nearest(position_y, srcH) * srcW;
      for (int x = 0; x < count; ++x) {
        const float sample = row[columns[x]];
        out[x] = static_cast<double>(sample - invalid) < 0.1 ? invalid : sample * value_scale;
      }
    }
    first += count;
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
    vantro::ResizeBilinear<vantro::SteppedAxis>(src, dst, srcW, srcH, dstW, dstH,
                                                &vantro::SumFloats);
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
  constexpr int kMostExact = 1 << 24;  // columns that single precision holds
  const bool doubled = srcW <= kMostExact / 2 && dstW == 2 * srcW;
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
      } else if (const float* const samples = src + row * 2 * srcW; doubled) {
        vantro::RepeatPixels(samples + first, count / 2, out);
      } else {
        for (int x = 0; x < count; ++x) std::memcpy(out + 2 * x, samples + columns[x], kPair);
      }
      above = row;
    }
    first += count;
  }
  return src;
}

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "render/bilinear_kernels.h"
#include "render/sample_position.h"
#include "render/upscale_rows.h"
#include "vantro/render.h"

namespace {

using vantro::kBilinearColumns;
using vantro::SampledRow;

// Two neighbouring samples of an axis, clamped to it, and the weight of the second.
struct SamplePair {
  int64_t first;
  int64_t second;
  float second_weight;
};

SamplePair PairAt(int64_t i, float ratio, int32_t size) {
  const float position = vantro::SourcePosition(i, ratio);
  const float base = std::floor(position);
  const int64_t last = int64_t{size} - 1;
  const auto index = static_cast<int64_t>(base);
  return {std::clamp<int64_t>(index, 0, last), std::clamp<int64_t>(index + 1, 0, last),
          position - base};
}

// Up to kBilinearColumns destination columns and the source rows sampled at them last.
class ColumnStrip {
 public:
  ColumnStrip(const uint8_t* src, int64_t stride, int32_t src_width, float ratio, int64_t begin,
              int64_t end)
      : src_(src), stride_(stride), count_(static_cast<size_t>(end - begin)) {
    for (size_t c = 0; c < count_; ++c) {
      const SamplePair pair = PairAt(begin + static_cast<int64_t>(c), ratio, src_width);
      left_[c] = pair.first;
      right_[c] = pair.second;
      right_weight_[c] = pair.second_weight;
    }
  }

  void WriteRow(uint8_t* dst, const SamplePair& rows) {
    // The lower row of one destination row is mostly the upper row of a later one.
    if (upper_row_ != rows.first && lower_row_ == rows.first) SwapRows();
    if (upper_row_ != rows.first) Sample(rows.first, upper_, &upper_row_);
    if (lower_row_ != rows.second) Sample(rows.second, lower_, &lower_row_);
    vantro::BlendSampledRows(dst, count_, *upper_, *lower_, rows.second_weight, right_weight_);
  }

 private:
  void SwapRows() {
    std::swap(upper_, lower_);
    std::swap(upper_row_, lower_row_);
  }

  void Sample(int64_t row, SampledRow* out, int64_t* out_row) {
    const uint8_t* samples = src_ + row * stride_;
    for (size_t c = 0; c < count_; ++c) {
      out->left[c] = samples[left_[c]];
      out->right[c] = samples[right_[c]];
    }
    *out_row = row;
  }

  const uint8_t* src_;
  int64_t stride_;
  size_t count_;
  int64_t left_[kBilinearColumns];
  int64_t right_[kBilinearColumns];
  float right_weight_[kBilinearColumns];
  SampledRow rows_[2];
  SampledRow* upper_ = &rows_[0];
  SampledRow* lower_ = &rows_[1];
  int64_t upper_row_ = -1;
  int64_t lower_row_ = -1;
};

// True when both sizes grow exactly `factor` times, 2 or 4. All weights are then eighths or
// quarters, whose products and sums are exact in single precision, so the integer filters give the
// same values. Beyond a million samples positions are no longer exact.
bool GrowsBy(int64_t factor, const vantro::Enlargement& plane, int dst_width, int dst_height) {
  constexpr int kExactPositions = 1 << 20;
  return dst_width == factor * plane.width && dst_height == factor * plane.height &&
         dst_width <= kExactPositions && dst_height <= kExactPositions;
}

}  // namespace

void bilinearGrayU8BorderLines(unsigned char* dst, const unsigned char* src, int dstWidth,
                               int dstHeight, int dstStride, int srcWidth, int srcHeight,
                               int srcStride, int rowBegin, int rowEnd) {
  if (dst == nullptr || src == nullptr || dstWidth < 1 || dstHeight < 1 || srcWidth < 1 ||
      srcHeight < 1) {
    return;
  }
  const int64_t begin = std::max(rowBegin, 0);
  const int64_t end = std::min(rowEnd, dstHeight);
  const vantro::Enlargement plane{src, srcStride, dst, dstStride, srcWidth, srcHeight};
  if (GrowsBy(2, plane, dstWidth, dstHeight)) {
    vantro::DoubleRows(plane, begin, end, vantro::Rounding::kTruncate);
    return;
  }
  if (GrowsBy(4, plane, dstWidth, dstHeight)) {
    vantro::QuadRows(plane, begin, end, vantro::QuadFilter::kClampEdges);
    return;
  }
  const float ratio_x = vantro::SizeRatio(srcWidth, dstWidth);
  const float ratio_y = vantro::SizeRatio(srcHeight, dstHeight);
  for (int64_t x = 0; x < dstWidth && begin < end; x += kBilinearColumns) {
    const int64_t x_end = std::min<int64_t>(x + int64_t{kBilinearColumns}, dstWidth);
    ColumnStrip strip(src, srcStride, srcWidth, ratio_x, x, x_end);
    for (int64_t row = begin; row < end; ++row) {
      strip.WriteRow(dst + row * dstStride + x, PairAt(row, ratio_y, srcHeight));
    }
  }
}

#include <algorithm>
#include <cstddef>
#include <span>

#include "render/bilinear_kernels.h"
#include "render/row_plan.h"
#include "render/upscale_rows.h"
#include "vantro/render.h"

namespace {

using vantro::kHeldRows;
using vantro::kStripColumns;
using vantro::PlannedRow;
using vantro::RowPlan;
using vantro::SampledRow;
using vantro::SamplePair;

// Some columns of the destination, with the source rows that were sampled at them.
class ColumnStrip {
 public:
  ColumnStrip(const uint8_t* src, int64_t stride, int32_t src_width, float ratio, int64_t begin,
              int64_t end)
      : src_(src), stride_(stride), begin_(begin), count_(static_cast<size_t>(end - begin)) {
    for (size_t c = 0; c < count_; ++c) {
      const SamplePair pair = vantro::PairAt(begin + static_cast<int64_t>(c), ratio, src_width);
      left_.column[c] = pair.first;
      right_.column[c] = pair.second;
      right_weight_.at(c) = pair.second_weight;
    }
    left_.Prepare(count_, src_width);
    right_.Prepare(count_, src_width);
    std::fill_n(held_row_, kHeldRows, -1);
  }

  // Writes a group of rows of a plan to `dst`, the destination.
  void WriteRows(uint8_t* dst, int64_t stride, std::span<const PlannedRow> rows) {
    constexpr size_t kTogether = 64;
    vantro::BlendedRow blended[kTogether];
    for (size_t i = 0; i < rows.size(); i += kTogether) {
      const size_t count = std::min(rows.size() - i, kTogether);
      for (size_t r = 0; r < count; ++r) {
        const PlannedRow& row = rows[i + r];
        blended[r] = {dst + row.row * stride + begin_, Sampled(row.sources.first, row.held_first),
                      Sampled(row.sources.second, row.held_second)};
      }
      vantro::BlendRows(blended, count, rows[i].sources.second_weight, right_weight_, count_);
    }
  }

 private:
  const SampledRow* Sampled(int32_t row, uint8_t place) {
    SampledRow& sampled = held_[place];
    if (held_row_[place] != row) {
      vantro::SampleRow(src_ + row * stride_, left_, right_, &sampled);
      held_row_[place] = row;
    }
    return &sampled;
  }

  const uint8_t* src_;
  int64_t stride_;
  int64_t begin_;
  size_t count_;
  vantro::SampleColumns left_;
  vantro::SampleColumns right_;
  vantro::ColumnValues right_weight_{};
  SampledRow held_[kHeldRows];
  int32_t held_row_[kHeldRows];
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
  for (int64_t row = begin; row < end; row += int64_t{RowPlan::kRows}) {
    const RowPlan plan(row, end, ratio_y, srcHeight);
    for (int64_t x = 0; x < dstWidth; x += int64_t{kStripColumns}) {
      const int64_t x_end = std::min<int64_t>(x + int64_t{kStripColumns}, dstWidth);
      ColumnStrip strip(src, srcStride, srcWidth, ratio_x, x, x_end);
      plan.ForEachGroup(
          [&](std::span<const PlannedRow> rows) { strip.WriteRows(dst, dstStride, rows); });
    }
  }
}

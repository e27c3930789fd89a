#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "render/sample_position.h"
#include "vantro/render.h"

namespace {

// The sample at or before a position, how far behind it the position lies (negative near the
// first), and whether it is the last of its axis.
struct NearestBase {
  int64_t index;
  float offset;
  bool last;
};

NearestBase BaseAt(int64_t i, float ratio, int32_t size) {
  const float position = vantro::SourcePosition(i, ratio);
  const int64_t index = std::clamp<int64_t>(static_cast<int64_t>(position), 0, int64_t{size} - 1);
  return {index, position - static_cast<float>(index), index == int64_t{size} - 1};
}

bool SecondIsNearer(float offset) { return offset >= 1.0f - offset; }

// Which of the four samples round a position is nearest: squared distances in single precision,
// the first of equals in reading order.
struct Corner {
  bool lower;
  bool right;
};

Corner NearestCorner(float wy, float wx) {
  const float up = wy * wy;
  const float down = (1.0f - wy) * (1.0f - wy);
  const float left = wx * wx;
  const float right = (1.0f - wx) * (1.0f - wx);
  float best = up + left;
  Corner corner{false, false};
  const auto consider = [&](float distance, Corner candidate) {
    if (distance < best) {
      best = distance;
      corner = candidate;
    }
  };
  consider(up + right, {false, true});
  consider(down + left, {true, false});
  consider(down + right, {true, true});
  return corner;
}

Corner ChooseCorner(const NearestBase& row, const NearestBase& column) {
  if (row.last) return {false, !column.last && SecondIsNearer(column.offset)};
  if (column.last) return {SecondIsNearer(row.offset), false};
  return NearestCorner(row.offset, column.offset);
}

// By how much the squared distances along one axis differ. Adding the other axis' distance, which
// is below 2.5, and rounding keeps their order when they are equal or kClearGap apart.
float DistanceGap(const NearestBase& base) {
  const float second = 1.0f - base.offset;
  return std::abs(base.offset * base.offset - second * second);
}
constexpr float kClearGap = 1e-6f;

// Some destination columns, the source column of each where the columns decide alone.
class NearestStrip {
 public:
  static constexpr int64_t kColumns = 256;

  NearestStrip(float ratio, int32_t src_width, int64_t begin, int64_t end)
      : count_(static_cast<size_t>(end - begin)) {
    for (size_t c = 0; c < count_; ++c) {
      bases_[c] = BaseAt(begin + static_cast<int64_t>(c), ratio, src_width);
      decided_[c] =
          bases_[c].index + (!bases_[c].last && NearestCorner(0.0f, bases_[c].offset).right);
      const float gap = DistanceGap(bases_[c]);
      all_decide_ = all_decide_ && (bases_[c].last || gap == 0.0f || gap > kClearGap);
    }
  }

  void WriteRow(const NearestBase& row, const uint8_t* src, int64_t stride, uint8_t* out) {
    if (!all_decide_ || !Decides(row)) {
      for (size_t c = 0; c < count_; ++c) {
        const Corner corner = ChooseCorner(row, bases_[c]);
        out[c] = src[(row.index + corner.lower) * stride + bases_[c].index + corner.right];
      }
      return;
    }
    const int64_t decided_row = row.index + NearestCorner(row.offset, 0.0f).lower;
    if (decided_row == last_row_) {
      std::memcpy(out, last_out_, count_);
      return;
    }
    const uint8_t* samples = src + decided_row * stride;
    for (size_t c = 0; c < count_; ++c) out[c] = samples[decided_[c]];
    last_row_ = decided_row;
    last_out_ = out;
  }

 private:
  // Ties go to the first row but in the last column.
  bool Decides(const NearestBase& row) const {
    const float gap = DistanceGap(row);
    return !row.last && (gap > kClearGap || (gap == 0.0f && !bases_[count_ - 1].last));
  }

  size_t count_;
  NearestBase bases_[kColumns];
  int64_t decided_[kColumns];
  bool all_decide_ = true;
  // The source row of the last decided row, and where it went.
  int64_t last_row_ = -1;
  const uint8_t* last_out_ = nullptr;
};

}  // namespace

unsigned char* up_scale_context(unsigned char* src, int srcWidth, int srcHeight, int srcStride,
                                unsigned char* dst, int dstWidth, int dstHeight, int dstStride) {
  if (dst == nullptr || src == nullptr || srcWidth < 1 || srcHeight < 1 || dstHeight < 1) {
    return src;
  }
  const float ratio_x = vantro::SizeRatio(srcWidth, dstWidth);
  const float ratio_y = vantro::SizeRatio(srcHeight, dstHeight);
  for (int64_t x = 0; x < dstWidth; x += NearestStrip::kColumns) {
    const int64_t x_end = std::min<int64_t>(x + NearestStrip::kColumns, dstWidth);
    NearestStrip strip(ratio_x, srcWidth, x, x_end);
    for (int64_t y = 0; y < dstHeight; ++y) {
      strip.WriteRow(BaseAt(y, ratio_y, srcHeight), src, srcStride, dst + y * dstStride + x);
    }
  }
  return src;
}

#include "image/plane_resize.h"

#include <algorithm>

#include "image/bilinear_position.h"
#include "image/strided_copy.h"
#include "image/transpose.h"

namespace vantro {
namespace {

AxisPosition<double> Locate(const AxisRule& rule, int index, int size) {
  const double position = rule.scale * index;
  return LocateOnAxis(rule.single ? static_cast<double>(static_cast<float>(position)) : position,
                      size);
}

struct StripPositions {
  StripPositions(const AxisRule& rule, int size, int first, int count) {
    for (int i = 0; i < count; ++i) {
      const AxisPosition<double> column = Locate(rule, first + i, size);
      left[i] = column.first;
      right[i] = column.second;
      left_weight[i] = column.first_weight;
      right_weight[i] = column.second_weight;
    }
  }

  int32_t left[kStripColumns];
  int32_t right[kStripColumns];
  alignas(64) double left_weight[kStripColumns];
  alignas(64) double right_weight[kStripColumns];
};

// One strip of destination columns: its positions, and the sums of any row.
class Strip {
 public:
  Strip(const PlaneResize& plane, int first, int count)
      : plane_(plane),
        positions_(plane.columns, plane.src_width, first, count),
        weights_{positions_.left_weight, positions_.right_weight, count},
        left_only_(weights_.left_only()),
        spreader_(plane.source, {positions_.left, positions_.right, count}) {}

  void Row(int index, uint8_t* out) {
    const AxisPosition<double> row = Locate(plane_.rows, index, plane_.src_height);
    const bool upper_only = row.second_weight == 0.0;
    if (upper_only && left_only_) {
      spreader_.CopyLeft(row.first, out);
    } else {
      const auto [upper, lower] = spreader_.Rows(row.first, upper_only ? row.first : row.second);
      plane_.sum(*upper, *lower, weights_, {row.first_weight, row.second_weight}, out);
    }
  }

 private:
  const PlaneResize& plane_;
  StripPositions positions_;
  AxisWeights<double> weights_;
  bool left_only_;
  RowSpreader spreader_;
};

}  // namespace

void ResizeStraight(const PlaneResize& plane, int dst_width, int dst_height, uint8_t* dst,
                    int64_t dst_step, int64_t dst_pitch) {
  uint8_t packed[kStripColumns];
  for (int first = 0; first < dst_width;) {
    const int count = std::min(kStripColumns, dst_width - first);
    Strip strip(plane, first, count);
    uint8_t* row = dst + first * dst_step;
    for (int y = 0; y < dst_height; ++y, row += dst_pitch) {
      strip.Row(y, dst_step == 1 ? row : packed);
      if (dst_step != 1) ScatterStrided(packed, count, dst_step, row);
    }
    first += count;
  }
}

void ResizeRotated(const PlaneResize& plane, int dst_width, int dst_height, uint8_t* dst,
                   int64_t dst_pitch) {
  constexpr int kTile = 32;  // destination columns made before they are turned
  alignas(64) uint8_t tile[kTile][kStripColumns];
  for (int first = 0; first < dst_height;) {
    const int count = std::min(kStripColumns, dst_height - first);
    Strip strip(plane, first, count);
    uint8_t* const bottom = dst + (int64_t{dst_height} - 1 - first) * dst_pitch;
    for (int x = 0; x < dst_width;) {
      const int columns = std::min(kTile, dst_width - x);
      for (int i = 0; i < columns; ++i) strip.Row(x + i, tile[i]);
      TransposeUpwards({tile[0], kStripColumns, columns, count}, bottom + x, dst_pitch);
      x += columns;
    }
    first += count;
  }
}

}  // namespace vantro

#include <algorithm>
#include <cstddef>

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

}  // namespace

unsigned char* up_scale_context(unsigned char* src, int srcWidth, int srcHeight, int srcStride,
                                unsigned char* dst, int dstWidth, int dstHeight, int dstStride) {
  if (dst == nullptr || src == nullptr || srcWidth < 1 || srcHeight < 1) return src;
  const float ratio_x = vantro::SizeRatio(srcWidth, dstWidth);
  const float ratio_y = vantro::SizeRatio(srcHeight, dstHeight);
  for (int64_t y = 0; y < dstHeight; ++y) {
    const NearestBase row = BaseAt(y, ratio_y, srcHeight);
    unsigned char* out = dst + y * dstStride;
    for (int64_t x = 0; x < dstWidth; ++x) {
      const NearestBase column = BaseAt(x, ratio_x, srcWidth);
      const Corner corner = ChooseCorner(row, column);
      out[x] = src[(row.index + corner.lower) * srcStride + column.index + corner.right];
    }
  }
  return src;
}

#include "engine/mask_writer.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace vantro::engine {
namespace {

// Where a mask sample falls between two samples of the map.
struct Position {
  int first;
  int second;
  float fraction;  // share of the second
};

using Positions = std::array<Position, kMaskSide>;

// `begin` and `length` place the box, `origin` and `pitch` the map on one axis of the frame.
Positions Place(float begin, float length, float origin, float pitch, int count) {
  Positions positions;
  for (int i = 0; i < kMaskSide; ++i) {
    const float frame = begin + (static_cast<float>(i) + 0.5f) * length / kMaskSide;
    const float at =
        std::clamp((frame - origin) / pitch - 0.5f, 0.0f, static_cast<float>(count - 1));
    const int first = static_cast<int>(at);
    positions[static_cast<size_t>(i)] = {first, std::min(first + 1, count - 1),
                                         at - static_cast<float>(first)};
  }
  return positions;
}

float Mix(float first, float second, float fraction) { return first + fraction * (second - first); }

}  // namespace

void WriteMask(const ProbabilityMap& map, const CROP_BOX& box, uint8_t* mask) {
  const Positions rows = Place(static_cast<float>(box.crop_top),
                               static_cast<float>(box.crop_bottom - box.crop_top + 1),
                               map.region.top, map.row_pitch(), map.rows);
  const Positions columns = Place(static_cast<float>(box.crop_left),
                                  static_cast<float>(box.crop_right - box.crop_left + 1),
                                  map.region.left, map.column_pitch(), map.columns);
  for (const Position& row : rows) {
    const float* upper = map.row(row.first);
    const float* lower = map.row(row.second);
    for (const Position& column : columns) {
      const float above = Mix(upper[column.first], upper[column.second], column.fraction);
      const float below = Mix(lower[column.first], lower[column.second], column.fraction);
      *mask++ = Mix(above, below, row.fraction) > kPersonProbability ? 1 : 0;
    }
  }
}

}  // namespace vantro::engine

// Positions and weights of resizers that limit the position, or its samples, to the axis.
#ifndef VANTRO_IMAGE_BILINEAR_POSITION_H_
#define VANTRO_IMAGE_BILINEAR_POSITION_H_

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace vantro {

// Where a position falls between two samples of an axis.
template <typename Real>
struct AxisPosition {
  int32_t first;
  int32_t second;  // first + 1, or the last sample
  Real first_weight;
  Real second_weight;
};

// `position` is limited to the axis of `size` samples first.
inline AxisPosition<double> LocateOnAxis(double position, int32_t size) {
  position = std::clamp(position, 0.0, static_cast<double>(size - 1));
  const auto first = static_cast<int32_t>(position);
  const double fraction = position - first;
  return {first, std::min(first, size - 2) + 1, 1.0 - fraction, fraction};
}

}  // namespace vantro

#endif  // VANTRO_IMAGE_BILINEAR_POSITION_H_

// Double-precision sampling of the geometry resizers, one pixel at a time.
#ifndef VANTRO_TESTS_IMAGE_DOUBLE_REFERENCE_H_
#define VANTRO_TESTS_IMAGE_DOUBLE_REFERENCE_H_

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace vantro::test {

struct Plane {
  const uint8_t* data;
  int width;
  int height;
  int stride;
  int step = 1;

  int At(int64_t x, int64_t y) const {
    x = std::min<int64_t>(x, width - 1);
    y = std::min<int64_t>(y, height - 1);
    return data[y * stride + x * step];
  }
};

enum class Truncation { kOnce, kEachTerm };

inline uint8_t SampleDouble(const Plane& plane, double fx, double fy, Truncation truncation) {
  fx = std::min(std::max(fx, 0.0), plane.width - 1.0);
  fy = std::min(std::max(fy, 0.0), plane.height - 1.0);
  const double x0 = std::trunc(fx), y0 = std::trunc(fy);
  const double ax = fx - x0, ay = fy - y0;
  const auto x = static_cast<int>(x0), y = static_cast<int>(y0);
  const double terms[4] = {
      std::fabs(1 - ax) * std::fabs(1 - ay) * plane.At(x, y),
      std::fabs(1 - ax) * std::fabs(ay) * plane.At(x, y + 1),
      std::fabs(ax) * std::fabs(1 - ay) * plane.At(x + 1, y),
      std::fabs(ax) * std::fabs(ay) * plane.At(x + 1, y + 1),
  };
  if (truncation == Truncation::kOnce) {
    return static_cast<uint8_t>(((terms[0] + terms[1]) + terms[2]) + terms[3]);
  }
  int sum = 0;
  for (double term : terms) sum += static_cast<int>(term);
  return static_cast<uint8_t>(sum);
}

}  // namespace vantro::test

#endif  // VANTRO_TESTS_IMAGE_DOUBLE_REFERENCE_H_

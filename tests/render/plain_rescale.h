// The upscalers a sample at a time.
#ifndef VANTRO_TESTS_RENDER_PLAIN_RESCALE_H_
#define VANTRO_TESTS_RENDER_PLAIN_RESCALE_H_

#include "tests/image/image_buffers.h"

namespace vantro::test {

// A plane without gaps.
struct Plane {
  int width;
  int height;
  Bytes samples;

  Plane(int columns, int rows, uint8_t value = 0)
      : width(columns), height(rows), samples(Area(columns, rows), value) {}
  uint8_t& At(int row, int column) {
    return samples[Area(row, width) + static_cast<size_t>(column)];
  }
  int At(int row, int column) const {
    return samples[Area(row, width) + static_cast<size_t>(column)];
  }
};

inline Plane RandomPlane(Random& random, int width, int height) {
  Plane plane(width, height);
  // Extremes show overflows, small values rounding.
  const int kind = random.Int(0, 2);
  for (uint8_t& sample : plane.samples) {
    sample = kind == 0   ? random.Byte()
             : kind == 1 ? static_cast<uint8_t>(255 * random.Int(0, 1))
                         : static_cast<uint8_t>(random.Int(0, 2));
  }
  return plane;
}

Plane PlainBilinear(const Plane& src, int width, int height);
Plane PlainNearest(const Plane& src, int width, int height);
Plane PlainQuadruple(const Plane& src);
Plane PlainX4(const Plane& src);
Plane PlainX16(const Plane& src);

}  // namespace vantro::test

#endif  // VANTRO_TESTS_RENDER_PLAIN_RESCALE_H_

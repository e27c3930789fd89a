// Planes with gaps between inaccessible pages.
#ifndef VANTRO_TESTS_RENDER_GUARDED_PLANE_H_
#define VANTRO_TESTS_RENDER_GUARDED_PLANE_H_

#include "tests/render/plain_rescale.h"

namespace vantro::test {

// A copy of a plane with rows `stride` bytes apart. The gaps hold a pattern, and the last row has
// none behind it.
class GuardedPlane {
 public:
  GuardedPlane(const Plane& plane, int stride)
      : width_(plane.width), height_(plane.height), stride_(stride), bytes_(Spread(plane)) {}

  uint8_t* get() { return bytes_.get(); }
  int stride() const { return stride_; }

  // The plane's samples and the untouched gaps.
  testing::AssertionResult Holds(const Plane& expected) const {
    return SamePlanes(bytes_.values(), Spread(expected), stride_);
  }

 private:
  Bytes Spread(const Plane& plane) const {
    Bytes spread(Area(stride_, height_ - 1) + static_cast<size_t>(width_), 0xEE);
    for (int row = 0; row < height_; ++row) {
      std::copy_n(plane.samples.begin() + ptrdiff_t{row} * width_, width_,
                  spread.begin() + ptrdiff_t{row} * stride_);
    }
    return spread;
  }

  int width_;
  int height_;
  int stride_;
  Guarded<uint8_t> bytes_;
};

}  // namespace vantro::test

#endif  // VANTRO_TESTS_RENDER_GUARDED_PLANE_H_

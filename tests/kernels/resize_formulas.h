// What the resizers and rotations of bytes and floats have to give, one element at a time.
#ifndef VANTRO_TESTS_KERNELS_RESIZE_FORMULAS_H_
#define VANTRO_TESTS_KERNELS_RESIZE_FORMULAS_H_

#include "tests/kernels/case.h"

namespace vantro::test {

struct Sizes {
  int src_w, src_h, src_stride, dst_w, dst_h;
  int64_t src() const { return int64_t{src_w} * src_h; }
  int64_t dst() const { return int64_t{dst_w} * dst_h; }
  int64_t src_plane() const { return Case::Plane(src_w, src_h, src_stride); }
  int64_t src_frame() const { return Case::SemiPlanar(src_w, src_h, src_stride); }
  int64_t dst_frame() const { return Case::SemiPlanar(dst_w, dst_h, dst_w); }
  bool halves() const { return src_w == 2 * dst_w && src_h == 2 * dst_h; }
  bool doubles() const { return dst_w == 2 * src_w && dst_h == 2 * src_h; }
};

// A plane, or one channel of some; its last row and column go on beyond it.
template <typename T>
struct Samples {
  const T* data;
  int width, height;
  int64_t pitch;
  int step = 1;

  T At(int64_t x, int64_t y) const {
    return data[std::min<int64_t>(y, height - 1) * pitch + std::min<int64_t>(x, width - 1) * step];
  }
};
using ByteSamples = Samples<uint8_t>;

// Bilinear in single precision. The rules differ in the order of the terms and in the last step.
enum class Blend { kPlane, kToPlane, kChannel };
int Blended(Blend rule, const ByteSamples& src, int dst_w, int dst_h, int x, int y);

// Elements of byte planes, and of semi-planar frames: the rows of the chroma follow those of the
// luma. Negative for an element that keeps its value.
using ByteFormula = int(const Sizes& s, const uint8_t* src, int x, int y);

// By one factor for both axes, that of the widths.
ByteFormula PlaneByFactor;
ByteFormula FrameByFactor;
ByteFormula PlaneByStep;
ByteFormula FrameByStep;
ByteFormula FourTimes;
ByteFormula MeanOf4x4;
ByteFormula ChromaMeanOf4x4;  // rows counted from the first of the chroma
ByteFormula PlaneDoubled;
ByteFormula FrameHalved;
ByteFormula FrameByChannels;
ByteFormula PackedByChannels;
ByteFormula Colour;

// Turned by minus 90 degrees; of frames three planes below each other.
ByteFormula Rotated;
ByteFormula RotatedByStep;
ByteFormula RotatedFrame;
ByteFormula RotatedFrameByAddress;
ByteFormula RotatedFrameByPairs;

using FloatFormula = float(const Sizes& s, const float* src, int x, int y);
FloatFormula FloatSecure;
FloatFormula FloatBilinear;
FloatFormula FloatNearestPair;
float Disparity(const Sizes& s, const float* src, float invalid, int x, int y);

}  // namespace vantro::test

#endif  // VANTRO_TESTS_KERNELS_RESIZE_FORMULAS_H_

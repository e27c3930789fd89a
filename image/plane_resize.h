// The double-precision bilinear core of the geometry resizers: straight and rotated.
#ifndef VANTRO_IMAGE_PLANE_RESIZE_H_
#define VANTRO_IMAGE_PLANE_RESIZE_H_

#include <cstdint>

#include "image/bilinear_sum_kernels.h"
#include "image/row_spread.h"

namespace vantro {

// Source position of destination index i on one axis: i * scale, limited to the axis.
struct AxisRule {
  double scale;
  bool single;  // the position is rounded to single precision
};

struct PlaneResize {
  ChannelSource source;
  int src_width;  // elements
  int src_height;
  AxisRule columns;
  AxisRule rows;
  decltype(&SumOnce) sum;
};

// Destination pixel (x, y) samples column position x and row position y.
void ResizeStraight(const PlaneResize& plane, int dst_width, int dst_height, uint8_t* dst,
                    int64_t dst_step, int64_t dst_pitch);

// Destination pixel (x, dst_height-1-k) samples column position k and row position x.
void ResizeRotated(const PlaneResize& plane, int dst_width, int dst_height, uint8_t* dst,
                   int64_t dst_pitch);

}  // namespace vantro

#endif  // VANTRO_IMAGE_PLANE_RESIZE_H_

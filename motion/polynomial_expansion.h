#ifndef VANTRO_MOTION_POLYNOMIAL_EXPANSION_H_
#define VANTRO_MOTION_POLYNOMIAL_EXPANSION_H_

namespace vantro {

// opticalFKPolyExp with buffers that are there and a size of at least 1x1. With `from_bytes` the
// image is known to have byte range.
int ExpandImage(const float* src, float* dst, float* kernel_buffer, float* row_buffer, int width,
                int height, int n, double sigma, bool from_bytes);

}  // namespace vantro

#endif  // VANTRO_MOTION_POLYNOMIAL_EXPANSION_H_

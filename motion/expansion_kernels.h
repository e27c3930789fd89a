// The two passes of the polynomial expansion on one image row.
#ifndef VANTRO_MOTION_EXPANSION_KERNELS_H_
#define VANTRO_MOTION_EXPANSION_KERNELS_H_

#include <cstddef>

namespace vantro {

// Weights of a neighbourhood of `reach` pixels to every side, centred: g[-reach] to g[reach]. g and
// xxg are even, xg is odd; the passes read offsets 0 to reach.
struct ExpansionKernel {
  const float* g;    // Gaussian
  const float* xg;   // x * g
  const float* xxg;  // x * x * g
  ptrdiff_t reach;
  float ig11, ig03, ig33, ig55;  // elements of the inverse moment matrix
  // The weights are the tables for reach 7, and HasByteRange(image): ExpandRow may then take a
  // shorter way to the same sums.
  bool byte_moments;
};

// Vertical moments of one row: t0, t1, t2 for the weights g, xg, xxg. Each pointer is at column 0
// of a line with `reach` more columns on both sides.
struct MomentRows {
  float* t0;
  float* t1;
  float* t2;
};

// Is every value 0, or 1 to 255?
bool HasByteRange(const float* image, ptrdiff_t count);

// Weighs the image's columns around row y; rows beyond the image repeat its border row.
void ExpandColumns(const float* image, ptrdiff_t width, ptrdiff_t height, ptrdiff_t y,
                   const ExpansionKernel& kernel, const MomentRows& rows);

// Weighs the moments along the row and writes five coefficients a pixel. The lines' columns beyond
// the image are filled in.
void ExpandRow(const MomentRows& rows, ptrdiff_t width, const ExpansionKernel& kernel, float* dst);

}  // namespace vantro

#endif  // VANTRO_MOTION_EXPANSION_KERNELS_H_

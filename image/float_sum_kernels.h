// Weighted sums of four floats of every column of a strip: P00 and P01 the left and right sample of
// the upper row, P10 and P11 of the lower one; weights (wx0, wx1) of the column, (wy0, wy1) of the
// row.
#ifndef VANTRO_IMAGE_FLOAT_SUM_KERNELS_H_
#define VANTRO_IMAGE_FLOAT_SUM_KERNELS_H_

#include "image/bilinear_sum_kernels.h"

namespace vantro {

// `upper` and `lower` hold the left and the right sample of one column after the other.

// (wy1*wx1)*P11 + (wx0*(wy1*P10) + (wy0*(wx1*P01) + wy0*(P00*wx0)))
void SumFloats(const float* upper, const float* lower, const AxisWeights<float>& columns,
               const RowWeights<float>& row, float* out);
// The terms (wx0*wy0)*P00, (wx0*wy1)*P10, (wx1*wy0)*P01 and (wx1*wy1)*P11 in double precision; the
// sum is rounded to single precision after each.
void SumRounded(const float* upper, const float* lower, const AxisWeights<double>& columns,
                const RowWeights<double>& row, float* out);

// A row of twice the width, without its first and its last element, of rows of `width` samples:
// behind sample x of both rows the elements with the column weights (3/4, 1/4) and (1/4, 3/4).
// Each is P00*wy0*wx0 + P01*wy0*wx1 + P10*wy1*wx0 + P11*wy1*wx1.
void DoubleFloats(const float* upper, const float* lower, int width, const RowWeights<float>& row,
                  float* out);

}  // namespace vantro

#endif  // VANTRO_IMAGE_FLOAT_SUM_KERNELS_H_

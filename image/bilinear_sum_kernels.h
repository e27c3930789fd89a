// Weighted sums of four samples of every column of a strip: P00 and P01 the left and right sample
// of the upper row, P10 and P11 of the lower one; weights (wx0, wx1) of the column, (wy0, wy1) of
// the row. The rules differ in the last bit of a sum, which decides what it is truncated to. Bytes
// take the low 8 bits of the truncated sum.
#ifndef VANTRO_IMAGE_BILINEAR_SUM_KERNELS_H_
#define VANTRO_IMAGE_BILINEAR_SUM_KERNELS_H_

#include <algorithm>
#include <cstdint>

#include "image/row_spread.h"

namespace vantro {

template <typename Real>
struct AxisWeights {
  const Real* left;
  const Real* right;
  int count;

  // A row that has all the weight then gives its left samples.
  bool left_only() const {
    return std::all_of(right, right + count, [](Real weight) { return weight == 0; });
  }
};

template <typename Real>
struct RowWeights {
  Real upper;
  Real lower;
};

// Single precision; `bias` is added before the truncation.
// (wy1*wx1)*P11 + (((wy0*wx0)*P00 + (wy0*wx1)*P01) + (wy1*wx0)*P10)
void SumGrouped(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<float>& columns,
                const RowWeights<float>& row, float bias, uint8_t* out);
// wy0*(wx0*P00) + wy0*(wx1*P01) + wy1*(wx0*P10) + (wy1*wx1)*P11
void SumInOrder(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<float>& columns,
                const RowWeights<float>& row, float bias, uint8_t* out);
// (wy1*wx1)*P11 + (wy0*(wx0*P00) + wy0*(wx1*P01) + wx0*(wy1*P10)), without a bias
void SumColour(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<float>& columns,
               const RowWeights<float>& row, uint8_t* out);
// SumInOrder of rows of weighted samples: wx0*P00, wx1*P01 and wx0*P10 are there already.
void SumWeighted(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<float>& columns,
                 const RowWeights<float>& row, float bias, uint8_t* out);
// SumGrouped, SumInOrder or SumColour, for the row weights (1, 0).
void SumUpperOnly(const SpreadRow& upper, const AxisWeights<float>& columns, float bias,
                  uint8_t* out);

// Double precision, w00 = wx0*wy0, w10 = wx0*wy1 and so on.
// trunc(((w00*P00 + w10*P10) + w01*P01) + w11*P11)
void SumOnce(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<double>& columns,
             const RowWeights<double>& row, uint8_t* out);
// trunc(w00*P00) + trunc(w10*P10) + trunc(w01*P01) + trunc(w11*P11)
void SumTerms(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<double>& columns,
              const RowWeights<double>& row, uint8_t* out);

}  // namespace vantro

#endif  // VANTRO_IMAGE_BILINEAR_SUM_KERNELS_H_

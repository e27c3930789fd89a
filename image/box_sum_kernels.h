// Row loops of the float box filter.
#ifndef VANTRO_IMAGE_BOX_SUM_KERNELS_H_
#define VANTRO_IMAGE_BOX_SUM_KERNELS_H_

namespace vantro {

// sums[x] = a[x] + b[x]; `sums` is neither of the two.
void AddRows(const float* a, const float* b, int width, float* sums);
// sums[x] += factor * row[x]
void AddToRow(const float* row, float factor, int width, float* sums);
void DivideRow(float* row, int width, float divisor);

}  // namespace vantro

#endif  // VANTRO_IMAGE_BOX_SUM_KERNELS_H_

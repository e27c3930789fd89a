// Row kernel of the floating-point bilinear resize.
#ifndef VANTRO_RENDER_BILINEAR_KERNELS_H_
#define VANTRO_RENDER_BILINEAR_KERNELS_H_

#include <cstddef>
#include <cstdint>

namespace vantro {

// Columns that are treated together.
inline constexpr size_t kBilinearColumns = 256;

// The two samples of a source row that each column lies between.
struct SampledRow {
  float left[kBilinearColumns];
  float right[kBilinearColumns];
};

// dst[c] = (1-wy)(1-wx)*UL + (1-wy)*wx*UR + wy*(1-wx)*LL + wy*wx*LR, each weight product formed
// first, summed from left to right and truncated; wx is right_weight[c].
void BlendSampledRows(uint8_t* dst, size_t count, const SampledRow& upper, const SampledRow& lower,
                      float lower_weight, const float* right_weight);

}  // namespace vantro

#endif  // VANTRO_RENDER_BILINEAR_KERNELS_H_

// Row kernels of the box-average downscalers.
#ifndef VANTRO_RENDER_AVERAGE_KERNELS_H_
#define VANTRO_RENDER_AVERAGE_KERNELS_H_

#include <cstddef>
#include <cstdint>

namespace vantro {

// Means of 2x2 blocks of two source rows, truncated.
void Average2x2(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, size_t count);

// Means of 2x2 blocks: each row's pair rounded up, then the two rounded up.
void AverageUp2x2(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, size_t count);

// Means of 4x4 blocks of four source rows, rounded half up.
void Average4x4(uint8_t* dst, const uint8_t* src, ptrdiff_t stride, size_t count);

}  // namespace vantro

#endif  // VANTRO_RENDER_AVERAGE_KERNELS_H_

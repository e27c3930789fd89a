// Vector kernels of the windows that erosion and dilation slide over a mask.
#ifndef VANTRO_RENDER_WINDOW_KERNELS_H_
#define VANTRO_RENDER_WINDOW_KERNELS_H_

#include <cstddef>
#include <cstdint>

namespace vantro {

// dst[i] = 1 where src[i] is 0 (`zeros`) or nonzero, else 0.
void MarkHits(const uint8_t* src, uint8_t* dst, size_t count, bool zeros);

// bytes[i] |= bytes[i + distance] for i < count, in rising order; `distance` is at least 1.
void OrAhead(uint8_t* bytes, size_t count, size_t distance);

}  // namespace vantro

#endif  // VANTRO_RENDER_WINDOW_KERNELS_H_

// Vector kernels over the bytes of a mask.
#ifndef VANTRO_MASK_MASK_KERNELS_H_
#define VANTRO_MASK_MASK_KERNELS_H_

#include <cstddef>
#include <cstdint>

namespace vantro {

// Clears every byte that differs from `value`; returns how many stay.
size_t KeepValue(uint8_t* bytes, size_t count, uint8_t value);

// The number of bytes equal to `value`.
size_t CountValue(const uint8_t* bytes, size_t count, uint8_t value);

}  // namespace vantro

#endif  // VANTRO_MASK_MASK_KERNELS_H_

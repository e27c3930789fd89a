// Turning a plane of bytes by 90 degrees against the clock.
#ifndef VANTRO_IMAGE_TRANSPOSE_H_
#define VANTRO_IMAGE_TRANSPOSE_H_

#include <cstdint>

namespace vantro {

// `rows` source rows of `columns` bytes become columns: source column 0 is written to the row at
// `dst`, column k to the row k pitches above it.
void TransposeUpwards(const uint8_t* src, int64_t src_pitch, int rows, int columns, uint8_t* dst,
                      int64_t dst_pitch);

}  // namespace vantro

#endif  // VANTRO_IMAGE_TRANSPOSE_H_

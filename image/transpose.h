// Turning a plane of bytes by 90 degrees against the clock.
#ifndef VANTRO_IMAGE_TRANSPOSE_H_
#define VANTRO_IMAGE_TRANSPOSE_H_

#include <cstdint>

namespace vantro {

struct TurnSource {
  const uint8_t* data;
  int64_t pitch;  // bytes from one row to the next
  int rows;
  int columns;  // samples of a row
};

// Source rows become columns: source column 0 is written to the row at `dst`, column k to the row
// k pitches above it.
void TransposeUpwards(const TurnSource& source, uint8_t* dst, int64_t dst_pitch);

// The same with every second byte of a row, from the first; the bytes behind them are read too.
void TransposeSecondsUpwards(const TurnSource& source, uint8_t* dst, int64_t dst_pitch);

// The same with pairs of bytes, whose first and second bytes go to planes of their own.
void TransposePairsUpwards(const TurnSource& source, uint8_t* first, uint8_t* second,
                           int64_t dst_pitch);

}  // namespace vantro

#endif  // VANTRO_IMAGE_TRANSPOSE_H_

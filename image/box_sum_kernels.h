// Row loops of the float box filter.
#ifndef VANTRO_IMAGE_BOX_SUM_KERNELS_H_
#define VANTRO_IMAGE_BOX_SUM_KERNELS_H_

#include <cstddef>
#include <cstdint>

namespace vantro {

// A plane with `stride` elements a row, its rows repeated beyond both ends.
struct FloatRows {
  const float* data;
  int64_t stride;
  int width;
  int height;

  const float* Row(int64_t y) const {
    return data + (y < 0 ? 0 : y < height ? y : height - 1) * stride;
  }
};

// Rows of sums that SumColumns makes from one reading of the source.
inline constexpr int kSumRows = 8;

// Sums of each column over `side` rows, added from the top: row k of `count` rows of sums, which
// lie `rows.stride` apart, starts at source row first + k. At most kSumRows.
void SumColumns(const FloatRows& rows, int64_t first, int64_t side, int count, float* sums);

// next[x] = sums[x] - leaving[x] + entering[x]
void SlideDown(const float* sums, const float* leaving, const float* entering, int width,
               float* next);

void DivideRow(float* row, int width, float divisor);

// True if all values are whole numbers between -limit and limit; limit is at most 2^24.
bool AreSmallWholeNumbers(const float* row, int width, float limit);

}  // namespace vantro

#endif  // VANTRO_IMAGE_BOX_SUM_KERNELS_H_

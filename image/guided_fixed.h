// Steps of the fixed-point guided filter: reduction, coefficients, averaging.
#ifndef VANTRO_IMAGE_GUIDED_FIXED_H_
#define VANTRO_IMAGE_GUIDED_FIXED_H_

#include <cstdint>
#include <cstring>

#include "support/scratch.h"
#include "vantro/bounded.h"

namespace vantro {

// A zeroed block of the C heap; null when there is no memory.
template <typename T>
HeapBlock<T> AllocZeroed(uint64_t count) {
  auto block = AllocFromHeap<T>(count);
  if (block) memset_s(block.get(), count * sizeof(T), 0, count * sizeof(T));
  return block;
}

// Samples a plane of `width` * `height` bytes, `stride` a row, at half_width * half_height
// positions: every second one where that is exact, otherwise by a table. Logs failures; false when
// the table cannot be had.
bool ReduceNearest(const uint8_t* src, int width, int height, int stride, uint8_t* dst,
                   int half_width, int half_height);

// Reduced planes, without row gaps.
struct ReducedSize {
  int width;
  int height;

  uint64_t area() const { return static_cast<uint64_t>(width) * static_cast<uint64_t>(height); }
};

// A plane of signed 16-bit values in bytes of any alignment.
class Plane16 {
 public:
  explicit Plane16(uint8_t* data) : data_(data) {}
  int16_t Get(int64_t i) const {
    int16_t value;
    std::memcpy(&value, data_ + 2 * i, sizeof(value));
    return value;
  }
  void Set(int64_t i, int16_t value) const { std::memcpy(data_ + 2 * i, &value, sizeof(value)); }

 private:
  uint8_t* data_;
};

// Fits input = a * guide + b over boxes of `radius`: a with 10 fraction bits, b with 10 divided by
// 255. eps is in units of squared grey values. False when working memory cannot be had.
bool FitCoefficients(const uint8_t* guide, const int8_t* input, const ReducedSize& size, int radius,
                     int64_t eps, Plane16 a, Plane16 b);

// Box means, quotients truncated. `column_sums` holds size.width elements.
void AverageBoxes(Plane16 values, const ReducedSize& size, int radius, int32_t* column_sums,
                  int16_t* means);

}  // namespace vantro

#endif  // VANTRO_IMAGE_GUIDED_FIXED_H_

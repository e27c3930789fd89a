// The two passes of the Gaussian blur on one row.
#ifndef VANTRO_MOTION_BLUR_KERNELS_H_
#define VANTRO_MOTION_BLUR_KERNELS_H_

#include <cstddef>
#include <cstdint>

namespace vantro {

inline constexpr int kLongestReach = 6;
inline constexpr int kMostTaps = 2 * kLongestReach + 1;

// A row of weights and what their weighted sum is divided by.
struct BlurWeights {
  int reach;                 // taps on either side of the centre, 1 to 6
  uint16_t taps[kMostTaps];  // 2 * reach + 1 weights
  uint32_t divisor;          // 0 makes every result 0
  bool sums_to_256;          // the taps are symmetric and sum to 256: sums of bytes fit 16 bits
};

// Reads the first half of the weights and the centre (three weights at reach 1).
BlurWeights ReadWeights(const uint16_t* weights, int reach);

// Index of a sample of a line of `size` samples that is mirrored about its end samples without
// repeating them, as often as `i` needs.
inline size_t Mirror(ptrdiff_t i, size_t size) {
  if (i >= 0 && static_cast<size_t>(i) < size) return static_cast<size_t>(i);
  if (size == 1) return 0;
  const ptrdiff_t period = 2 * (static_cast<ptrdiff_t>(size) - 1);
  ptrdiff_t phase = i % period;
  if (phase < 0) phase += period;
  return static_cast<size_t>(phase < static_cast<ptrdiff_t>(size) ? phase : period - phase);
}

// out[x] = (divisor / 2 + sum of taps[i] * lines[i][x]) / divisor, low byte, for x < width. `out`
// does not overlap the lines.
void BlurAcross(const uint8_t* const* lines, const BlurWeights& weights, size_t width,
                uint8_t* out);

// The same with lines[i][x] = the mirrored row at x + i - reach. `out` does not overlap the row.
void BlurAlong(const uint8_t* row, const BlurWeights& weights, size_t width, uint8_t* out);

}  // namespace vantro

#endif  // VANTRO_MOTION_BLUR_KERNELS_H_

// Row kernels of the fixed-factor upscalers.
#ifndef VANTRO_RENDER_UPSCALE_KERNELS_H_
#define VANTRO_RENDER_UPSCALE_KERNELS_H_

#include <cstdint>

namespace vantro {

enum class Rounding { kTruncate, kHalfUp };

// One row of 2 * width samples between two source rows (which may be the same), a quarter of the
// way from `near` to `far`: with v = 3 * near + far, column 2j + 1 is (3 * v[j] + v[j+1]) / 16 and
// column 2j + 2 the mirror image; the first and the last column are v / 4.
void DoubleRow(uint8_t* dst, const uint8_t* near, const uint8_t* far, int32_t width,
               Rounding rounding);

// Vertical weights of a row of the 4x filter, in eighths: 0 to 8 each, 8 together in the filter
// itself. A sample keeps its low byte if they are more.
struct RowWeights {
  int32_t upper;
  int32_t lower;
};

// What a 4x filter does at the edges, and how it rounds.
enum class QuadFilter {
  kRepeatEdges,  // the two outermost samples on each side repeat the next one; rounded half up
  kClampEdges    // the source is continued by its outermost samples; truncated
};

// One row of 4 * width samples: with v = upper * U + lower * L, the columns 4p + 2 to 4p + 5 are
// (7v[p] + v[p+1]) / 64 and so on with (5, 3), (3, 5) and (1, 7).
void QuadRow(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, int32_t width,
             RowWeights weights, QuadFilter filter);

}  // namespace vantro

#endif  // VANTRO_RENDER_UPSCALE_KERNELS_H_

// Half-pixel sample positions of the floating-point resizers.
#ifndef VANTRO_RENDER_SAMPLE_POSITION_H_
#define VANTRO_RENDER_SAMPLE_POSITION_H_

#include <cstdint>

namespace vantro {

// The ratio of two sizes in single precision.
inline float SizeRatio(int32_t src, int32_t dst) {
  return static_cast<float>(src) / static_cast<float>(dst);
}

// The source coordinate of the centre of destination sample i: formed in double, kept in single
// precision.
inline float SourcePosition(int64_t i, float ratio) {
  return static_cast<float>((static_cast<double>(i) + 0.5) * static_cast<double>(ratio) - 0.5);
}

}  // namespace vantro

#endif  // VANTRO_RENDER_SAMPLE_POSITION_H_

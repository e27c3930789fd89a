// Half-pixel sample positions of the floating-point resizers.
#ifndef VANTRO_RENDER_SAMPLE_POSITION_H_
#define VANTRO_RENDER_SAMPLE_POSITION_H_

#include <algorithm>
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

// Two neighbouring samples of an axis, clamped to it, and the weight of the second.
struct SamplePair {
  int32_t first;
  int32_t second;
  float second_weight;
};

inline SamplePair PairAt(int64_t i, float ratio, int32_t size) {
  const float position = SourcePosition(i, ratio);
  // The floor: positions begin above -1.
  const int64_t index = position < 0.0f ? -1 : static_cast<int64_t>(position);
  const int64_t last = int64_t{size} - 1;
  return {static_cast<int32_t>(std::clamp<int64_t>(index, 0, last)),
          static_cast<int32_t>(std::clamp<int64_t>(index + 1, 0, last)),
          position - static_cast<float>(index)};
}

}  // namespace vantro

#endif  // VANTRO_RENDER_SAMPLE_POSITION_H_

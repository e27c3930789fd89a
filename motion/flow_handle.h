// Sizes inside a flow handle.
#ifndef VANTRO_MOTION_FLOW_HANDLE_H_
#define VANTRO_MOTION_FLOW_HANDLE_H_

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "vantro/motion.h"

namespace vantro {

// Neighbourhood of the expansion and size of the averaging square that the flow is made with.
inline constexpr int kFlowReach = 7;
inline constexpr float kFlowSigma = 1.5f;
inline constexpr int kFlowBlock = 5;

// Rounds to the nearest integer, halves up.
inline int RoundHalfUp(float value) {
  return static_cast<int>(std::floor(static_cast<double>(value) + 0.5));
}

struct LevelSize {
  int width;
  int height;
};

inline LevelSize SizeOfLevel(const ME_Handler& handle, int level) {
  const float scale = handle.level_scale[level];
  // Single precision does not hold every size.
  if (scale == 1.0f) return {handle.width, handle.height};
  return {RoundHalfUp(static_cast<float>(handle.width) * scale),
          RoundHalfUp(static_cast<float>(handle.height) * scale)};
}

// Floats that the expansion's tables and row buffer take of tmp_fImg.
inline int64_t ExpansionScratch(int width, int64_t reach) {
  return 6 * reach + 3 + 3 * (width + 2 * reach);
}

// Floats in tmp_fImg.
inline int64_t ScratchImageSize(int width, int height) {
  return std::max(int64_t{width} * height, ExpansionScratch(width, kFlowReach));
}

}  // namespace vantro

#endif  // VANTRO_MOTION_FLOW_HANDLE_H_

// What the terms of the flow equations are made from.
#ifndef VANTRO_MOTION_FLOW_TERMS_H_
#define VANTRO_MOTION_FLOW_TERMS_H_

#include <cstddef>

namespace vantro {

struct ExpansionPair {
  const float* r0;  // five coefficients a pixel of either image
  const float* r1;
  const float* flow;  // dx, dy a pixel
  ptrdiff_t width;
  ptrdiff_t height;
};

// Less weight for pixels whose neighbourhood the image border has cut.
inline constexpr ptrdiff_t kBorder = 5;
inline constexpr float kAttenuation[kBorder] = {0.14f, 0.14f, 0.4472f, 0.4472f, 0.4472f};

inline float AttenuationAt(ptrdiff_t distance) {
  return distance < kBorder ? kAttenuation[distance] : 1.0f;
}

}  // namespace vantro

#endif  // VANTRO_MOTION_FLOW_TERMS_H_

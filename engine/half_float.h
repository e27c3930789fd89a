// Numbers of half precision (IEEE 754 binary16), in which the model keeps its weights.
#ifndef VANTRO_ENGINE_HALF_FLOAT_H_
#define VANTRO_ENGINE_HALF_FLOAT_H_

#include <bit>
#include <cmath>
#include <cstdint>

namespace vantro::engine {

inline float HalfToFloat(uint16_t half) {
  const uint32_t sign = static_cast<uint32_t>(half & 0x8000u) << 16;
  const uint32_t exponent = (half >> 10) & 0x1Fu;
  const uint32_t fraction = half & 0x3FFu;
  if (exponent == 0) {  // zero and subnormal numbers: fraction * 2^-24
    const float magnitude = std::ldexp(static_cast<float>(fraction), -24);
    return sign != 0 ? -magnitude : magnitude;
  }
  const uint32_t wide = exponent == 0x1F ? 0xFFu : exponent + (127 - 15);
  return std::bit_cast<float>(sign | (wide << 23) | (fraction << 13));
}

}  // namespace vantro::engine

#endif  // VANTRO_ENGINE_HALF_FLOAT_H_

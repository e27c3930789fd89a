// Weights of the Gaussian blur: as floats, and in 1/256.
#ifndef VANTRO_MOTION_GAUSSIAN_KERNEL_H_
#define VANTRO_MOTION_GAUSSIAN_KERNEL_H_

#include <cstdint>

namespace vantro {

inline constexpr int kLongestBlur = 13;

// Fills `length` weights (odd, 3 to 13) that sum to 1. A sigma of 0 takes the fixed kernel of a
// length up to 7, and otherwise a sigma that suits the length.
void GaussianWeights(float* weights, int length, float sigma);

// Rounds weights to 1/256; the centre takes up what rounding has left over.
void FixedPointWeights(const float* weights, uint16_t* fixed, int length);

}  // namespace vantro

#endif  // VANTRO_MOTION_GAUSSIAN_KERNEL_H_

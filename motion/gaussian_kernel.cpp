#include "motion/gaussian_kernel.h"

#include <algorithm>
#include <cmath>

namespace vantro {
namespace {

constexpr float kFixed3[] = {0.25f, 0.5f, 0.25f};
constexpr float kFixed5[] = {0.0625f, 0.25f, 0.375f, 0.25f, 0.0625f};
constexpr float kFixed7[] = {0.03125f, 0.109375f, 0.21875f, 0.28125f,
                             0.21875f, 0.109375f, 0.03125f};

const float* FixedKernel(int length) {
  return length == 3 ? kFixed3 : length == 5 ? kFixed5 : kFixed7;
}

// exp(-x*x / (2 sigma*sigma)), not normalised.
void SampleGaussian(float* weights, int length, float sigma) {
  const float centre = static_cast<float>(length - 1) * 0.5f;
  const float s = sigma > 0.0f ? sigma : (centre - 1.0f) * 0.3f + 0.8f;
  const float a = -0.5f / (s * s);
  for (int i = 0; i < length; ++i) {
    const float x = static_cast<float>(i) - centre;
    weights[i] = std::exp(x * (a * x));
  }
  // The square of a very small sigma is 0 and the centre 0 * infinity; the limit is 1.
  if (std::isinf(a)) weights[length / 2] = 1.0f;
}

}  // namespace

void GaussianWeights(float* weights, int length, float sigma) {
  if (sigma <= 0.0f && length <= 7) {
    std::copy_n(FixedKernel(length), length, weights);
  } else {
    SampleGaussian(weights, length, sigma);
  }
  float sum = 0.0f;
  for (int i = 0; i < length; ++i) sum += weights[i];
  const float scale = 1.0f / sum;
  for (int i = 0; i < length; ++i) weights[i] *= scale;
}

void FixedPointWeights(const float* weights, uint16_t* fixed, int length) {
  int sum = 0;
  for (int i = 0; i < length; ++i) {
    fixed[i] = static_cast<uint16_t>(static_cast<double>(weights[i] * 256.0f) + 0.5);
    sum += fixed[i];
  }
  const int8_t left_over = static_cast<int8_t>(256 - sum);
  fixed[length / 2] = static_cast<uint16_t>(fixed[length / 2] + left_over);
}

}  // namespace vantro

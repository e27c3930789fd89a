// Polynomial expansion of an image: G. Farnebäck, "Two-Frame Motion Estimation Based on Polynomial
// Expansion", SCIA 2003. Around each pixel the image is approximated by
//   r1 + r2 x + r3 y + r4 x*x + r5 y*y + r6 x*y,
// the least-squares fit under Gaussian weights. With the moments b of the image under the weights
// 1, x, y, x*x, y*y, x*y the fit is r = inverse(G) * b, where G holds the moments of the weights
// alone; four distinct elements of the inverse are enough.
#include "motion/polynomial_expansion.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "motion/expansion_kernels.h"
#include "vantro/bounded.h"
#include "vantro/motion.h"

namespace vantro {
namespace {

constexpr float kEpsilon = std::numeric_limits<float>::epsilon();

constexpr int kFixedReach = 7;
constexpr double kFixedSigma = 1.5;
// The weights for reach 7 and sigma 1.5, offsets 0 to 7, to six decimal places.
constexpr float kFixedG[] = {0.265962f, 0.212965f, 0.10934f,  0.035994f,
                             0.007597f, 0.001028f, 0.000089f, 0.000005f};
constexpr float kFixedXg[] = {0.0f,      0.212965f, 0.21868f,  0.107982f,
                              0.030389f, 0.005141f, 0.000535f, 0.000035f};
constexpr float kFixedXxg[] = {0.0f,      0.212965f, 0.43736f,  0.323946f,
                               0.121557f, 0.025705f, 0.003212f, 0.000243f};

// Rows and columns of the moment matrix: 1, x, y, x*x, y*y, x*y.
constexpr int kTerms = 6;

// The kernel buffer's three lines, each centred.
struct KernelLines {
  float* g;
  float* xg;
  float* xxg;
};

void FillFixed(const KernelLines& lines, ExpansionKernel* kernel) {
  for (ptrdiff_t k = 0; k <= kFixedReach; ++k) {
    lines.g[k] = lines.g[-k] = kFixedG[k];
    lines.xg[k] = kFixedXg[k];
    lines.xg[-k] = -kFixedXg[k];
    lines.xxg[k] = lines.xxg[-k] = kFixedXxg[k];
  }
  lines.xg[0] = 0.0f;
  kernel->ig11 = 0.44444892f;
  kernel->ig03 = -0.22225043f;
  kernel->ig33 = 0.09877902f;
  kernel->ig55 = 0.19753471f;
}

void FillWeights(const KernelLines& lines, ptrdiff_t reach, double sigma) {
  if (sigma < static_cast<double>(kEpsilon)) sigma = 0.3 * static_cast<double>(reach);
  float sum = 0.0f;
  for (ptrdiff_t k = -reach; k <= reach; ++k) {
    const double x = static_cast<double>(k);
    lines.g[k] = static_cast<float>(std::exp(-(x * x) / (2.0 * sigma * sigma)));
    sum += lines.g[k];
  }
  for (ptrdiff_t k = -reach; k <= reach; ++k) {
    lines.g[k] /= sum;
    lines.xg[k] = static_cast<float>(k) * lines.g[k];
    lines.xxg[k] = static_cast<float>(k * k) * lines.g[k];
  }
}

// The inverse moment matrix's elements; false when there is no scratch memory for it.
bool InvertMoments(const float* g, ptrdiff_t reach, ExpansionKernel* kernel) {
  float g00 = 0.0f;
  float g11 = 0.0f;
  float g33 = 0.0f;
  float g55 = 0.0f;
  for (ptrdiff_t j = -reach; j <= reach; ++j) {
    const float y = static_cast<float>(j);
    for (ptrdiff_t i = -reach; i <= reach; ++i) {
      const float x = static_cast<float>(i);
      const float weight = g[j] * g[i];
      g00 += weight;
      g11 += weight * x * x;
      g33 += weight * x * x * x * x;
      g55 += weight * x * x * y * y;
    }
  }
  const float moments[kTerms * kTerms] = {
      g00, 0,   0,   g11, g11, 0,    //
      0,   g11, 0,   0,   0,   0,    //
      0,   0,   g11, 0,   0,   0,    //
      g11, 0,   0,   g33, g55, 0,    //
      g11, 0,   0,   g55, g33, 0,    //
      0,   0,   0,   0,   0,   g55,  //
  };
  float inverse[kTerms * kTerms];
  memset_s(inverse, sizeof(inverse), 0, sizeof(inverse));
  if (getInvMat(moments, inverse, kTerms) != 0) return false;
  kernel->ig11 = inverse[1 * kTerms + 1];
  kernel->ig03 = inverse[3 * kTerms + 0];
  kernel->ig33 = inverse[3 * kTerms + 3];
  kernel->ig55 = inverse[5 * kTerms + 5];
  return true;
}

}  // namespace

int ExpandImage(const float* src, float* dst, float* kernel_buffer, float* row_buffer, int width,
                int height, int n, double sigma, bool from_bytes) {
  const ptrdiff_t reach = n;
  const ptrdiff_t length = 2 * reach + 1;
  const KernelLines lines = {kernel_buffer + reach, kernel_buffer + length + reach,
                             kernel_buffer + 2 * length + reach};
  ExpansionKernel kernel = {lines.g, lines.xg, lines.xxg, reach, 0, 0, 0, 0, false};
  if (n == kFixedReach && std::fabs(sigma - kFixedSigma) < static_cast<double>(kEpsilon)) {
    FillFixed(lines, &kernel);
    kernel.byte_moments = from_bytes || HasByteRange(src, ptrdiff_t{width} * height);
  } else {
    FillWeights(lines, reach, sigma);
    if (!InvertMoments(lines.g, reach, &kernel)) return -1;
  }

  const ptrdiff_t pitch = width + 2 * reach;
  const MomentRows rows = {row_buffer + reach, row_buffer + pitch + reach,
                           row_buffer + 2 * pitch + reach};
  for (ptrdiff_t y = 0; y < height; ++y) {
    ExpandColumns(src, width, height, y, kernel, rows);
    ExpandRow(rows, width, kernel, dst + 5 * y * width);
  }
  return 0;
}

}  // namespace vantro

int opticalFKPolyExp(const float* src, float* dst, float* kernel_buffer, float* row_buffer,
                     int width, int height, int n, double sigma) {
  if (src == nullptr || dst == nullptr || kernel_buffer == nullptr || row_buffer == nullptr ||
      width < 1 || height < 1 || n < 0) {
    return -1;
  }
  return vantro::ExpandImage(src, dst, kernel_buffer, row_buffer, width, height, n, sigma, false);
}

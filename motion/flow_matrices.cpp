// The terms of the flow equations. If the second image is the first one moved by d, the
// coefficients of the two expansions give A(x) d = b(x) at every pixel, with A the mean of both
// quadratic parts, the second taken where the current flow points; M holds transpose(A) A and
// transpose(A) b.
#include <algorithm>
#include <cmath>
#include <cstddef>

#include "motion/flow_terms.h"
#include "vantro/motion.h"

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "motion/flow_matrices.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "motion/flow_stretch-inl.h"

#ifndef VANTRO_MOTION_FLOW_MATRICES_ONCE_
#define VANTRO_MOTION_FLOW_MATRICES_ONCE_

namespace vantro {
namespace {

// Positions from here on are outside every image and are not converted to integers.
constexpr float kFarOutside = 1073741824.0f;

float Attenuation(const ExpansionPair& pair, ptrdiff_t x, ptrdiff_t y) {
  return AttenuationAt(x) * AttenuationAt(pair.width - 1 - x) * AttenuationAt(y) *
         AttenuationAt(pair.height - 1 - y);
}

// Has pixel (x1, y1) a right and a lower neighbour?
bool HasSquare(const ExpansionPair& pair, ptrdiff_t x1, ptrdiff_t y1) {
  return x1 >= 0 && x1 < pair.width - 1 && y1 >= 0 && y1 < pair.height - 1;
}

void PixelTerms(const ExpansionPair& pair, ptrdiff_t x, ptrdiff_t y, float* m) {
  const ptrdiff_t pixel = y * pair.width + x;
  const float* c0 = pair.r0 + 5 * pixel;
  const float dx = pair.flow[2 * pixel];
  const float dy = pair.flow[2 * pixel + 1];
  const float fx = static_cast<float>(x) + dx;
  const float fy = static_cast<float>(y) + dy;
  float r[5] = {0.0f, 0.0f, c0[2], c0[3], c0[4] * 0.5f};
  if (fx >= 0.0f && fx < kFarOutside && fy >= 0.0f && fy < kFarOutside &&
      HasSquare(pair, static_cast<ptrdiff_t>(fx), static_cast<ptrdiff_t>(fy))) {
    const float floor_x = std::floor(fx);
    const float floor_y = std::floor(fy);
    const float ax = fx - floor_x;
    const float ay = fy - floor_y;
    const float* upper = pair.r1 + 5 * (static_cast<ptrdiff_t>(floor_y) * pair.width +
                                        static_cast<ptrdiff_t>(floor_x));
    const float* lower = upper + 5 * pair.width;
    for (int j = 0; j < 5; ++j) {
      r[j] = (1.0f - ax) * (1.0f - ay) * upper[j] + ax * (1.0f - ay) * upper[j + 5] +
             (1.0f - ax) * ay * lower[j] + ax * ay * lower[j + 5];
    }
    r[2] = (c0[2] + r[2]) * 0.5f;
    r[3] = (c0[3] + r[3]) * 0.5f;
    r[4] = (c0[4] + r[4]) * 0.25f;
  }
  const float scale = Attenuation(pair, x, y);
  const float r4 = r[2] * scale;
  const float r5 = r[3] * scale;
  const float r6 = r[4] * scale;
  const float r2 = ((c0[0] - r[0]) * 0.5f + r[2] * dy + r[4] * dx) * scale;
  const float r3 = ((c0[1] - r[1]) * 0.5f + r[4] * dy + r[3] * dx) * scale;
  m[0] = r4 * r4 + r6 * r6;
  m[1] = (r4 + r5) * r6;
  m[2] = r5 * r5 + r6 * r6;
  m[3] = r4 * r2 + r6 * r3;
  m[4] = r6 * r2 + r5 * r3;
}

}  // namespace
}  // namespace vantro

#endif  // VANTRO_MOTION_FLOW_MATRICES_ONCE_

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

void RowsTerms(const ExpansionPair& pair, ptrdiff_t first_row, ptrdiff_t end_row, float* m) {
#if HWY_TARGET != HWY_SCALAR
  if (FitsStretches(pair)) {
    const OuterColumns columns = AttenuateColumns(pair.width);
    for (ptrdiff_t y = first_row; y < end_row; ++y) RowByStretches(pair, columns, y, m);
    return;
  }
#endif
  for (ptrdiff_t y = first_row; y < end_row; ++y) {
    for (ptrdiff_t x = 0; x < pair.width; ++x) {
      PixelTerms(pair, x, y, m + 5 * (y * pair.width + x));
    }
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"

namespace vantro {

VANTRO_KERNEL_TABLE(RowsTerms);

}  // namespace vantro

int opticalFKUpdateMatrices(const float* R0, const float* R1, const float* flow, int width,
                            int height, float* M, int first_row, int end_row) {
  using vantro::RowsTermsTable;
  if (R0 == nullptr || R1 == nullptr || flow == nullptr || M == nullptr || width < 1 ||
      height < 1) {
    return -1;
  }
  const vantro::ExpansionPair pair = {R0, R1, flow, width, height};
  const ptrdiff_t end = std::min(end_row, height);
  VANTRO_KERNEL(RowsTerms)(pair, std::max(first_row, 0), end, M);
  return 0;
}
#endif  // HWY_ONCE

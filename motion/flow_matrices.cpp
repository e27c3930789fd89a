// The terms of the flow equations. If the second image is the first one moved by d, the
// coefficients of the two expansions give A(x) d = b(x) at every pixel, with A the mean of both
// quadratic parts, the second taken where the current flow points; M holds transpose(A) A and
// transpose(A) b.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "vantro/motion.h"

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "motion/flow_matrices.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "motion/store_five-inl.h"

#ifndef VANTRO_MOTION_FLOW_MATRICES_ONCE_
#define VANTRO_MOTION_FLOW_MATRICES_ONCE_

namespace vantro {
namespace {

struct ExpansionPair {
  const float* r0;  // five coefficients a pixel of either image
  const float* r1;
  const float* flow;  // dx, dy a pixel
  ptrdiff_t width;
  ptrdiff_t height;
};

// Positions from here on are outside every image and are not converted to integers.
constexpr float kFarOutside = 1073741824.0f;

// Less weight for pixels whose neighbourhood the image border has cut.
constexpr ptrdiff_t kBorder = 5;
constexpr float kAttenuation[kBorder] = {0.14f, 0.14f, 0.4472f, 0.4472f, 0.4472f};

float AttenuationAt(ptrdiff_t distance) {
  return distance < kBorder ? kAttenuation[distance] : 1.0f;
}

float Attenuation(const ExpansionPair& pair, ptrdiff_t x, ptrdiff_t y) {
  return AttenuationAt(x) * AttenuationAt(pair.width - 1 - x) * AttenuationAt(y) *
         AttenuationAt(pair.height - 1 - y);
}

// The same for the pixels x to x + count - 1 of row y.
void FillAttenuation(const ExpansionPair& pair, ptrdiff_t x, ptrdiff_t y, ptrdiff_t count,
                     float* scale) {
  const float inside = AttenuationAt(y) * AttenuationAt(pair.height - 1 - y);
  const ptrdiff_t left = std::clamp(kBorder - x, ptrdiff_t{0}, count);
  const ptrdiff_t right = std::clamp(pair.width - kBorder - x, left, count);
  for (ptrdiff_t i = 0; i < left; ++i) scale[i] = Attenuation(pair, x + i, y);
  for (ptrdiff_t i = left; i < right; ++i) scale[i] = inside;
  for (ptrdiff_t i = right; i < count; ++i) scale[i] = Attenuation(pair, x + i, y);
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

#if HWY_TARGET != HWY_SCALAR

// A row is done in stretches of kFewest to kMost pixels, in three steps with these results between
// them. Vectors at the end of a stretch cover some of its pixels again.
constexpr ptrdiff_t kFewest = 16;
constexpr ptrdiff_t kMost = 128;

struct Stretch {
  HWY_ALIGN float weight[4][kMost];  // of the four pixels around the position
  HWY_ALIGN int32_t index[kMost];    // of the upper left of them; -1 outside
  HWY_ALIGN float four[4 * kMost];   // (r0 - r)/2 twice, then the mean of r0 and r twice
  HWY_ALIGN float last[kMost + 3];   // the mean of the mixed coefficients, halved; and room
  HWY_ALIGN float scale[kMost];      // attenuation
};

// Calls step(i) for vectors of `lanes` pixels that cover 0 to count - 1.
template <class Step>
HWY_INLINE void CoverByVectors(ptrdiff_t count, ptrdiff_t lanes, const Step& step) {
  ptrdiff_t i = 0;
  for (; i + lanes <= count; i += lanes) step(i);
  if (i < count) step(count - lanes);
}

// Columns of a vector; hn::Iota is compiled to a store of every lane.
HWY_ALIGN constexpr float kSteps[kFewest] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

// Where the flow points, and the interpolation weights there.
void Positions(const ExpansionPair& pair, ptrdiff_t x, ptrdiff_t y, ptrdiff_t count,
               Stretch& stretch) {
  const hn::CappedTag<float, kFewest> d;
  const hn::RebindToSigned<decltype(d)> di;
  using V = hn::Vec<decltype(d)>;
  const V one = hn::Set(d, 1.0f);
  const V zero = hn::Zero(d);
  const V row = hn::Set(d, static_cast<float>(y));
  const V end_x = hn::Set(d, static_cast<float>(pair.width - 1));
  const V end_y = hn::Set(d, static_cast<float>(pair.height - 1));
  const auto width = hn::Set(di, static_cast<int32_t>(pair.width));
  const auto outside = hn::Set(di, -1);
  const float* flow = pair.flow + 2 * (y * pair.width + x);
  CoverByVectors(count, static_cast<ptrdiff_t>(hn::Lanes(d)), [&](ptrdiff_t i) HWY_ATTR {
    V dx, dy;
    hn::LoadInterleaved2(d, flow + 2 * i, dx, dy);
    const V fx = hn::Add(hn::Add(hn::Load(d, kSteps), hn::Set(d, static_cast<float>(x + i))), dx);
    const V fy = hn::Add(row, dy);
    const auto inside = hn::And(hn::And(hn::Ge(fx, zero), hn::Ge(fy, zero)),
                                hn::And(hn::Lt(fx, end_x), hn::Lt(fy, end_y)));
    const V floor_x = hn::Floor(fx);
    const V floor_y = hn::Floor(fy);
    const auto x1 = hn::ConvertTo(di, hn::IfThenElseZero(inside, floor_x));
    const auto y1 = hn::ConvertTo(di, hn::IfThenElseZero(inside, floor_y));
    const auto index = hn::Add(hn::Mul(y1, width), x1);
    hn::StoreU(hn::IfThenElse(hn::RebindMask(di, inside), index, outside), di, stretch.index + i);
    const V ax = hn::Sub(fx, floor_x);
    const V ay = hn::Sub(fy, floor_y);
    const V bx = hn::Sub(one, ax);
    const V by = hn::Sub(one, ay);
    hn::StoreU(hn::Mul(bx, by), d, stretch.weight[0] + i);
    hn::StoreU(hn::Mul(ax, by), d, stretch.weight[1] + i);
    hn::StoreU(hn::Mul(bx, ay), d, stretch.weight[2] + i);
    hn::StoreU(hn::Mul(ax, ay), d, stretch.weight[3] + i);
  });
}

// For the five coefficients of a pixel, and three floats behind them that do not count.
HWY_ALIGN constexpr float kSigns[8] = {-0.0f, -0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f};
HWY_ALIGN constexpr float kShares[8] = {0.5f, 0.5f, 0.5f, 0.5f, 0.25f, 0.0f, 0.0f, 0.0f};
HWY_ALIGN constexpr float kSharesAlone[8] = {0.5f, 0.5f, 1.0f, 1.0f, 0.5f, 0.0f, 0.0f, 0.0f};

// Interpolates between four pixels and meets the result with `first`; differences are sums with the
// sign turned.
template <class D>
HWY_INLINE hn::Vec<D> Meet(D d, const float* first, const float* upper, const float* lower,
                           const Stretch& stretch, ptrdiff_t i) {
  const auto weight = [&](int j) HWY_ATTR { return hn::Set(d, stretch.weight[j][i]); };
  auto r = hn::Mul(weight(0), hn::LoadU(d, upper));
  r = hn::Add(r, hn::Mul(weight(1), hn::LoadU(d, upper + 5)));
  r = hn::Add(r, hn::Mul(weight(2), hn::LoadU(d, lower)));
  r = hn::Add(r, hn::Mul(weight(3), hn::LoadU(d, lower + 5)));
  const auto sum = hn::Add(hn::LoadU(d, first), hn::Xor(r, hn::Load(d, kSigns)));
  return hn::Mul(sum, hn::Load(d, kShares));
}

// The same for the four coefficients and the fifth.
HWY_INLINE void MeetFour(const float* first, const float* upper, const float* lower, ptrdiff_t i,
                         Stretch& stretch) {
  const hn::FixedTag<float, 4> d;
  hn::Store(Meet(d, first, upper, lower, stretch, i), d, stretch.four + 4 * i);
  const float r6 = stretch.weight[0][i] * upper[4] + stretch.weight[1][i] * upper[9] +
                   stretch.weight[2][i] * lower[4] + stretch.weight[3][i] * lower[9];
  stretch.last[i] = (first[4] + r6) * kShares[4];
}

#if HWY_MAX_BYTES >= 32
// The same in one vector, which reads three floats more of every pixel.
HWY_INLINE void MeetEight(const float* first, const float* upper, const float* lower, ptrdiff_t i,
                          Stretch& stretch) {
  const hn::FixedTag<float, 8> d;
  const hn::FixedTag<float, 4> half;
  const auto all = Meet(d, first, upper, lower, stretch, i);
  hn::Store(hn::LowerHalf(half, all), half, stretch.four + 4 * i);
  hn::StoreU(hn::UpperHalf(half, all), half, stretch.last + i);
}
#endif

// Interpolates the second expansion where the flow points and meets it with the first.
void Coefficients(const ExpansionPair& pair, ptrdiff_t x, ptrdiff_t y, ptrdiff_t count,
                  Stretch& stretch) {
  const hn::FixedTag<float, 4> d;
  const ptrdiff_t pixel = y * pair.width + x;
  const float* c0 = pair.r0 + 5 * pixel;
  // From here on eight floats of a pixel may pass the end of an image.
  [[maybe_unused]] const ptrdiff_t last_pixel = pair.width * pair.height - 1;
  for (ptrdiff_t i = 0; i < count; ++i, c0 += 5) {
    const ptrdiff_t index = stretch.index[i];
    if (HWY_UNLIKELY(index < 0)) {
      hn::Store(hn::Mul(hn::LoadU(d, c0), hn::Load(d, kSharesAlone)), d, stretch.four + 4 * i);
      stretch.last[i] = c0[4] * kSharesAlone[4];
      continue;
    }
    const float* upper = pair.r1 + 5 * index;
    const float* lower = upper + 5 * pair.width;
#if HWY_MAX_BYTES >= 32
    if (HWY_LIKELY(pixel + i < last_pixel && index + pair.width + 1 < last_pixel)) {
      MeetEight(c0, upper, lower, i, stretch);
      continue;
    }
#endif
    MeetFour(c0, upper, lower, i, stretch);
  }
}

void Terms(const ExpansionPair& pair, ptrdiff_t x, ptrdiff_t y, ptrdiff_t count,
           const Stretch& stretch, float* m) {
  const hn::CappedTag<float, kFewest> d;
  using V = hn::Vec<decltype(d)>;
  const float* flow = pair.flow + 2 * (y * pair.width + x);
  CoverByVectors(count, static_cast<ptrdiff_t>(hn::Lanes(d)), [&](ptrdiff_t i) HWY_ATTR {
    V dx, dy, r2, r3, r4, r5;
    hn::LoadInterleaved2(d, flow + 2 * i, dx, dy);
    hn::LoadInterleaved4(d, stretch.four + 4 * i, r2, r3, r4, r5);
    V r6 = hn::LoadU(d, stretch.last + i);
    r2 = hn::Add(hn::Add(r2, hn::Mul(r4, dy)), hn::Mul(r6, dx));
    r3 = hn::Add(hn::Add(r3, hn::Mul(r6, dy)), hn::Mul(r5, dx));
    // A factor of 1 where no border is near.
    const V scale = hn::LoadU(d, stretch.scale + i);
    r2 = hn::Mul(r2, scale);
    r3 = hn::Mul(r3, scale);
    r4 = hn::Mul(r4, scale);
    r5 = hn::Mul(r5, scale);
    r6 = hn::Mul(r6, scale);
    const V mixed = hn::Mul(r6, r6);
    StoreFive(d, hn::Add(hn::Mul(r4, r4), mixed), hn::Mul(hn::Add(r4, r5), r6),
              hn::Add(hn::Mul(r5, r5), mixed), hn::Add(hn::Mul(r4, r2), hn::Mul(r6, r3)),
              hn::Add(hn::Mul(r6, r2), hn::Mul(r5, r3)), m + 5 * (y * pair.width + x + i));
  });
}

void StretchTerms(const ExpansionPair& pair, ptrdiff_t x, ptrdiff_t y, ptrdiff_t count, float* m) {
  Stretch stretch;
  FillAttenuation(pair, x, y, count, stretch.scale);
  Positions(pair, x, y, count, stretch);
  Coefficients(pair, x, y, count, stretch);
  Terms(pair, x, y, count, stretch, m);
}

#endif  // HWY_TARGET != HWY_SCALAR

void RowTerms(const ExpansionPair& pair, ptrdiff_t y, float* m) {
#if HWY_TARGET != HWY_SCALAR
  // Positions and pixel numbers are exact in single precision and 32 bits up to these sizes.
  constexpr ptrdiff_t kExactSide = 1 << 24;
  if (pair.width >= kFewest && pair.width <= kExactSide && pair.height <= kExactSide &&
      pair.width * pair.height <= INT32_MAX) {
    for (ptrdiff_t x = 0; x < pair.width;) {
      const ptrdiff_t left = pair.width - x;
      const ptrdiff_t count = left <= kMost ? left : HWY_MIN(kMost, left - kFewest);
      StretchTerms(pair, x, y, count, m);
      x += count;
    }
    return;
  }
#endif
  for (ptrdiff_t x = 0; x < pair.width; ++x) {
    PixelTerms(pair, x, y, m + 5 * (y * pair.width + x));
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"

namespace vantro {

VANTRO_KERNEL_TABLE(RowTerms);

}  // namespace vantro

int opticalFKUpdateMatrices(const float* R0, const float* R1, const float* flow, int width,
                            int height, float* M, int first_row, int end_row) {
  using vantro::RowTermsTable;
  if (R0 == nullptr || R1 == nullptr || flow == nullptr || M == nullptr || width < 1 ||
      height < 1) {
    return -1;
  }
  const vantro::ExpansionPair pair = {R0, R1, flow, width, height};
  const ptrdiff_t end = std::min(end_row, height);
  for (ptrdiff_t y = std::max(first_row, 0); y < end; ++y) VANTRO_KERNEL(RowTerms)(pair, y, M);
  return 0;
}
#endif  // HWY_ONCE

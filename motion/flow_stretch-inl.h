// The terms of the flow equations of a row, by vectors. Included once a target.
#if defined(VANTRO_MOTION_FLOW_STRETCH_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef VANTRO_MOTION_FLOW_STRETCH_INL_H_
#undef VANTRO_MOTION_FLOW_STRETCH_INL_H_
#else
#define VANTRO_MOTION_FLOW_STRETCH_INL_H_
#endif

#include <cstddef>
#include <cstdint>

#include "hwy/highway.h"
#include "motion/flow_terms.h"
#include "motion/store_five-inl.h"

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

// Up to these sizes, positions are exact in single precision and pixel numbers fit 32 bits.
constexpr ptrdiff_t kLongestSide = 1 << 23;

bool FitsStretches(const ExpansionPair& pair) {
  return pair.width >= kFewest && pair.width <= kLongestSide && pair.height <= kLongestSide &&
         pair.width * pair.height <= INT32_MAX;
}

struct Stretch {
  HWY_ALIGN float weight[4][kMost];  // of the four pixels around the position
  HWY_ALIGN int32_t index[kMost];    // of the upper left of them; -1 outside
  HWY_ALIGN float four[4 * kMost];   // (r0 - r)/2 twice, then the mean of r0 and r twice
  HWY_ALIGN float last[kMost + 3];   // the mean of the mixed coefficients, halved; and room
};

// What the left and the right border take from the first and the last kFewest columns; columns
// between them are far from both.
struct OuterColumns {
  float attenuation[2 * kFewest];
};

OuterColumns AttenuateColumns(ptrdiff_t width) {
  OuterColumns columns;
  for (ptrdiff_t i = 0; i < kFewest; ++i) {
    const ptrdiff_t right = width - kFewest + i;
    columns.attenuation[i] = AttenuationAt(i) * AttenuationAt(width - 1 - i);
    columns.attenuation[kFewest + i] = AttenuationAt(right) * AttenuationAt(width - 1 - right);
  }
  return columns;
}

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
  using VI = hn::Vec<decltype(di)>;
  const V one = hn::Set(d, 1.0f);
  const V row = hn::Set(d, static_cast<float>(y));
  const VI last_x = hn::Set(di, static_cast<int32_t>(pair.width - 2));
  const VI last_y = hn::Set(di, static_cast<int32_t>(pair.height - 2));
  const VI width = hn::Set(di, static_cast<int32_t>(pair.width));
  // The bits of 2^23 + n are those of 2^23, plus n, for the integers 0 <= n < 2^23. What any other
  // value gives, infinities and what is not a number included, is outside of that range.
  const V base = hn::Set(d, static_cast<float>(kLongestSide));
  const auto integer = [&](V v) HWY_ATTR {
    return hn::Sub(hn::BitCast(di, hn::Add(v, base)), hn::BitCast(di, base));
  };
  const float* flow = pair.flow + 2 * (y * pair.width + x);
  CoverByVectors(count, static_cast<ptrdiff_t>(hn::Lanes(d)), [&](ptrdiff_t i) HWY_ATTR {
    V dx, dy;
    hn::LoadInterleaved2(d, flow + 2 * i, dx, dy);
    const V fx = hn::Add(hn::Add(hn::Load(d, kSteps), hn::Set(d, static_cast<float>(x + i))), dx);
    const V fy = hn::Add(row, dy);
    const V floor_x = hn::Floor(fx);
    const V floor_y = hn::Floor(fy);
    const VI x1 = integer(floor_x);
    const VI y1 = integer(floor_y);
    // Negative outside the image.
    const VI outside = hn::Or(hn::Or(x1, hn::Sub(last_x, x1)), hn::Or(y1, hn::Sub(last_y, y1)));
    const VI index = hn::Add(hn::Mul(y1, width), x1);
    hn::StoreU(hn::Or(index, hn::ShiftRight<31>(outside)), di, stretch.index + i);
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

// Interpolates between four pixels, of which `upper` and `lower` are the left ones, and meets the
// result with `first`; differences are sums with the sign turned.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V Meet(D d, const float* first, const float* upper, const float* lower, V w0, V w1, V w2,
                  V w3) {
  V r = hn::Mul(w0, hn::LoadU(d, upper));
  r = hn::Add(r, hn::Mul(w1, hn::LoadU(d, upper + 5)));
  r = hn::Add(r, hn::Mul(w2, hn::LoadU(d, lower)));
  r = hn::Add(r, hn::Mul(w3, hn::LoadU(d, lower + 5)));
  const V sum = hn::Add(hn::LoadU(d, first), hn::Xor(r, hn::Load(d, kSigns)));
  return hn::Mul(sum, hn::Load(d, kShares));
}

// One pixel: four coefficients, then the fifth.
HWY_INLINE void MeetPixel(const ExpansionPair& pair, const float* first, ptrdiff_t i,
                          Stretch& stretch) {
  const hn::FixedTag<float, 4> d;
  const ptrdiff_t index = stretch.index[i];
  if (HWY_UNLIKELY(index < 0)) {
    hn::Store(hn::Mul(hn::LoadU(d, first), hn::Load(d, kSharesAlone)), d, stretch.four + 4 * i);
    stretch.last[i] = first[4] * kSharesAlone[4];
    return;
  }
  const float* upper = pair.r1 + 5 * index;
  const float* lower = upper + 5 * pair.width;
  const auto weight = [&](int j) HWY_ATTR { return stretch.weight[j][i]; };
  hn::Store(Meet(d, first, upper, lower, hn::Set(d, weight(0)), hn::Set(d, weight(1)),
                 hn::Set(d, weight(2)), hn::Set(d, weight(3))),
            d, stretch.four + 4 * i);
  const float r6 =
      weight(0) * upper[4] + weight(1) * upper[9] + weight(2) * lower[4] + weight(3) * lower[9];
  stretch.last[i] = (first[4] + r6) * kShares[4];
}

#if HWY_MAX_BYTES >= 32
// Four pixels, each in one vector, for which three floats behind the coefficients are read.
HWY_INLINE void MeetFourPixels(const ExpansionPair& pair, const float* first, ptrdiff_t i,
                               Stretch& stretch) {
  const hn::FixedTag<float, 8> d;
  const hn::FixedTag<float, 4> half;
  using V = hn::Vec<decltype(d)>;
  // Both halves hold the weights of all four pixels.
  const V w0 = hn::LoadDup128(d, stretch.weight[0] + i);
  const V w1 = hn::LoadDup128(d, stretch.weight[1] + i);
  const V w2 = hn::LoadDup128(d, stretch.weight[2] + i);
  const V w3 = hn::LoadDup128(d, stretch.weight[3] + i);
  const auto meet = [&](ptrdiff_t pixel, V v0, V v1, V v2, V v3) HWY_ATTR {
    const float* upper = pair.r1 + 5 * ptrdiff_t{stretch.index[i + pixel]};
    const V all = Meet(d, first + 5 * pixel, upper, upper + 5 * pair.width, v0, v1, v2, v3);
    hn::Store(hn::LowerHalf(half, all), half, stretch.four + 4 * (i + pixel));
    hn::StoreU(hn::UpperHalf(half, all), half, stretch.last + i + pixel);
  };
  meet(0, hn::Broadcast<0>(w0), hn::Broadcast<0>(w1), hn::Broadcast<0>(w2), hn::Broadcast<0>(w3));
  meet(1, hn::Broadcast<1>(w0), hn::Broadcast<1>(w1), hn::Broadcast<1>(w2), hn::Broadcast<1>(w3));
  meet(2, hn::Broadcast<2>(w0), hn::Broadcast<2>(w1), hn::Broadcast<2>(w2), hn::Broadcast<2>(w3));
  meet(3, hn::Broadcast<3>(w0), hn::Broadcast<3>(w1), hn::Broadcast<3>(w2), hn::Broadcast<3>(w3));
}
#endif

// Interpolates the second expansion where the flow points and meets it with the first.
void Coefficients(const ExpansionPair& pair, ptrdiff_t x, ptrdiff_t y, ptrdiff_t count,
                  Stretch& stretch) {
  const ptrdiff_t pixel = y * pair.width + x;
  const float* first = pair.r0 + 5 * pixel;
  ptrdiff_t i = 0;
#if HWY_MAX_BYTES >= 32
  // Of the last pixel of an image, eight floats would pass the end.
  const ptrdiff_t last_pixel = pair.width * pair.height - 1;
  const hn::FixedTag<int32_t, 4> di;
  const auto end = hn::Set(di, static_cast<int32_t>(last_pixel - pair.width - 1));
  for (; i + 4 <= HWY_MIN(count, last_pixel - pixel); i += 4) {
    const auto index = hn::LoadU(di, stretch.index + i);
    if (HWY_LIKELY(hn::AllTrue(di, hn::And(hn::Gt(index, hn::Set(di, -1)), hn::Lt(index, end))))) {
      MeetFourPixels(pair, first + 5 * i, i, stretch);
    } else {
      for (ptrdiff_t j = i; j < i + 4; ++j) MeetPixel(pair, first + 5 * j, j, stretch);
    }
  }
#endif
  for (; i < count; ++i) MeetPixel(pair, first + 5 * i, i, stretch);
}

void Terms(const ExpansionPair& pair, const OuterColumns& columns, ptrdiff_t x, ptrdiff_t y,
           ptrdiff_t count, const Stretch& stretch, float* m) {
  // Wider vectors are no faster, and cover more pixels of a short row twice.
  const hn::CappedTag<float, 8> d;
  constexpr ptrdiff_t kLanes = static_cast<ptrdiff_t>(hn::MaxLanes(d));
  using V = hn::Vec<decltype(d)>;
  const float* flow = pair.flow + 2 * (y * pair.width + x);
  const V above = hn::Set(d, AttenuationAt(y));
  const V below = hn::Set(d, AttenuationAt(pair.height - 1 - y));
  const V inside = hn::Mul(above, below);
  CoverByVectors(count, kLanes, [&](ptrdiff_t i) HWY_ATTR {
    V dx, dy, r2, r3, r4, r5;
    hn::LoadInterleaved2(d, flow + 2 * i, dx, dy);
    hn::LoadInterleaved4(d, stretch.four + 4 * i, r2, r3, r4, r5);
    V r6 = hn::LoadU(d, stretch.last + i);
    r2 = hn::Add(hn::Add(r2, hn::Mul(r4, dy)), hn::Mul(r6, dx));
    r3 = hn::Add(hn::Add(r3, hn::Mul(r6, dy)), hn::Mul(r5, dx));
    V scale = inside;
    const ptrdiff_t column = x + i;
    const bool left = column < kBorder;
    if (left || column + kLanes > pair.width - kBorder) {
      const ptrdiff_t outer = left ? column : column - pair.width + 2 * kFewest;
      scale = hn::Mul(hn::Mul(hn::LoadU(d, columns.attenuation + outer), above), below);
    }
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

void RowByStretches(const ExpansionPair& pair, const OuterColumns& columns, ptrdiff_t y, float* m) {
  Stretch stretch;
  for (ptrdiff_t x = 0; x < pair.width;) {
    const ptrdiff_t left = pair.width - x;
    const ptrdiff_t count = left <= kMost ? left : HWY_MIN(kMost, left - kFewest);
    Positions(pair, x, y, count, stretch);
    Coefficients(pair, x, y, count, stretch);
    Terms(pair, columns, x, y, count, stretch, m);
    x += count;
  }
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard

#include "motion/expansion_kernels.h"

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "motion/expansion_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "motion/store_five-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// The rows k above and k below row y, clamped, for k = 1, 2, ...
class RowPair {
 public:
  RowPair(const float* image, ptrdiff_t width, ptrdiff_t height, ptrdiff_t y)
      : width_(width), rows_above_(y), rows_below_(height - 1 - y) {
    above_ = below_ = image + y * width;
  }
  HWY_INLINE void Next() {
    above_ -= rows_above_ > 0 ? width_ : 0;
    below_ += rows_below_ > 0 ? width_ : 0;
    --rows_above_;
    --rows_below_;
  }
  const float* above() const { return above_; }
  const float* below() const { return below_; }

 private:
  ptrdiff_t width_, rows_above_, rows_below_;
  const float* above_;
  const float* below_;
};

void ColumnPlain(RowPair pair, ptrdiff_t x, const ExpansionKernel& kernel, const MomentRows& rows) {
  float t0 = pair.above()[x] * kernel.g[0];
  float t1 = 0.0f;
  float t2 = 0.0f;
  for (ptrdiff_t k = 1; k <= kernel.reach; ++k) {
    pair.Next();
    const float s0 = pair.above()[x];
    const float s1 = pair.below()[x];
    t0 += kernel.g[k] * (s0 + s1);
    t1 += kernel.xg[k] * (s1 - s0);
    t2 += kernel.xxg[k] * (s0 + s1);
  }
  rows.t0[x] = t0;
  rows.t1[x] = t1;
  rows.t2[x] = t2;
}

// b1 and b4 gather terms of very different size: each term is added in double precision.
HWY_INLINE float AddInDouble(float sum, float a, float b) {
  return static_cast<float>(static_cast<double>(sum) +
                            static_cast<double>(a) * static_cast<double>(b));
}

void PixelPlain(const MomentRows& rows, ptrdiff_t x, const ExpansionKernel& kernel, float* dst) {
  float b1 = rows.t0[x] * kernel.g[0];
  float b3 = rows.t1[x] * kernel.g[0];
  float b5 = rows.t2[x] * kernel.g[0];
  float b2 = 0.0f;
  float b4 = 0.0f;
  float b6 = 0.0f;
  for (ptrdiff_t k = 1; k <= kernel.reach; ++k) {
    const ptrdiff_t left = x - k;
    const ptrdiff_t right = x + k;
    const float tg = rows.t0[right] + rows.t0[left];
    b1 = AddInDouble(b1, tg, kernel.g[k]);
    b4 = AddInDouble(b4, tg, kernel.xxg[k]);
    b2 += (rows.t0[right] - rows.t0[left]) * kernel.xg[k];
    b3 += (rows.t1[right] + rows.t1[left]) * kernel.g[k];
    b6 += (rows.t1[right] - rows.t1[left]) * kernel.xg[k];
    b5 += (rows.t2[right] + rows.t2[left]) * kernel.g[k];
  }
  dst[5 * x] = b3 * kernel.ig11;
  dst[5 * x + 1] = b2 * kernel.ig11;
  dst[5 * x + 2] = b1 * kernel.ig03 + b5 * kernel.ig33;
  dst[5 * x + 3] = b1 * kernel.ig03 + b4 * kernel.ig33;
  dst[5 * x + 4] = b6 * kernel.ig55;
}

#if HWY_TARGET != HWY_SCALAR

template <class D>
HWY_INLINE void ColumnVector(D d, RowPair pair, ptrdiff_t x, const ExpansionKernel& kernel,
                             const MomentRows& rows) {
  auto t0 = hn::Mul(hn::LoadU(d, pair.above() + x), hn::Set(d, kernel.g[0]));
  auto t1 = hn::Zero(d);
  auto t2 = hn::Zero(d);
  for (ptrdiff_t k = 1; k <= kernel.reach; ++k) {
    pair.Next();
    const auto s0 = hn::LoadU(d, pair.above() + x);
    const auto s1 = hn::LoadU(d, pair.below() + x);
    const auto both = hn::Add(s0, s1);
    t0 = hn::Add(t0, hn::Mul(hn::Set(d, kernel.g[k]), both));
    t1 = hn::Add(t1, hn::Mul(hn::Set(d, kernel.xg[k]), hn::Sub(s1, s0)));
    t2 = hn::Add(t2, hn::Mul(hn::Set(d, kernel.xxg[k]), both));
  }
  hn::StoreU(t0, d, rows.t0 + x);
  hn::StoreU(t1, d, rows.t1 + x);
  hn::StoreU(t2, d, rows.t2 + x);
}

// The six weighted sums of a vector of pixels; b1 and b4 as doubles, in two halves.
template <class D>
struct PixelSums {
  hn::Vec<hn::Repartition<double, D>> b1[2], b4[2];
  hn::Vec<D> b2, b3, b5, b6;
};

template <class D>
HWY_INLINE PixelSums<D> StartSums(D d, const MomentRows& rows, ptrdiff_t x, float g0) {
  const hn::Repartition<double, D> dd;
  const hn::Half<D> half;
  const auto g = hn::Set(d, g0);
  const auto t0 = hn::Mul(hn::LoadU(d, rows.t0 + x), g);
  return {{hn::PromoteTo(dd, hn::LowerHalf(half, t0)), hn::PromoteTo(dd, hn::UpperHalf(half, t0))},
          {hn::Zero(dd), hn::Zero(dd)},
          hn::Zero(d),
          hn::Mul(hn::LoadU(d, rows.t1 + x), g),
          hn::Mul(hn::LoadU(d, rows.t2 + x), g),
          hn::Zero(d)};
}

template <class D>
HWY_INLINE void AddOffset(D d, const MomentRows& rows, ptrdiff_t x, ptrdiff_t k,
                          const ExpansionKernel& kernel, PixelSums<D>& sums) {
  using V = hn::Vec<D>;
  const hn::Repartition<double, D> dd;
  const hn::Half<D> half;
  const V g = hn::Set(d, kernel.g[k]);
  const V xg = hn::Set(d, kernel.xg[k]);
  const V left0 = hn::LoadU(d, rows.t0 + x - k);
  const V right0 = hn::LoadU(d, rows.t0 + x + k);
  const V both0 = hn::Add(right0, left0);
  const auto wide_g = hn::Set(dd, static_cast<double>(kernel.g[k]));
  const auto wide_xxg = hn::Set(dd, static_cast<double>(kernel.xxg[k]));
  const auto lower = hn::PromoteTo(dd, hn::LowerHalf(half, both0));
  const auto upper = hn::PromoteTo(dd, hn::UpperHalf(half, both0));
  // The product of two single-precision numbers is exact in a double, fused or not.
  const auto add = [&](const auto& sum, const auto& tg, const auto& weight) HWY_ATTR {
    return hn::PromoteTo(dd, hn::DemoteTo(half, hn::MulAdd(tg, weight, sum)));
  };
  sums.b1[0] = add(sums.b1[0], lower, wide_g);
  sums.b1[1] = add(sums.b1[1], upper, wide_g);
  sums.b4[0] = add(sums.b4[0], lower, wide_xxg);
  sums.b4[1] = add(sums.b4[1], upper, wide_xxg);
  sums.b2 = hn::Add(sums.b2, hn::Mul(hn::Sub(right0, left0), xg));
  const V left1 = hn::LoadU(d, rows.t1 + x - k);
  const V right1 = hn::LoadU(d, rows.t1 + x + k);
  sums.b3 = hn::Add(sums.b3, hn::Mul(hn::Add(right1, left1), g));
  sums.b6 = hn::Add(sums.b6, hn::Mul(hn::Sub(right1, left1), xg));
  const V both2 = hn::Add(hn::LoadU(d, rows.t2 + x + k), hn::LoadU(d, rows.t2 + x - k));
  sums.b5 = hn::Add(sums.b5, hn::Mul(both2, g));
}

template <class D>
HWY_INLINE void StoreCoefficients(D d, const PixelSums<D>& sums, const ExpansionKernel& kernel,
                                  float* dst) {
  const hn::Half<D> half;
  const auto single = [&](const auto& wide) HWY_ATTR {
    return hn::Combine(d, hn::DemoteTo(half, wide[1]), hn::DemoteTo(half, wide[0]));
  };
  const auto ig11 = hn::Set(d, kernel.ig11);
  const auto ig33 = hn::Set(d, kernel.ig33);
  const auto b1_share = hn::Mul(single(sums.b1), hn::Set(d, kernel.ig03));
  StoreFive(d, hn::Mul(sums.b3, ig11), hn::Mul(sums.b2, ig11),
            hn::Add(b1_share, hn::Mul(sums.b5, ig33)),
            hn::Add(b1_share, hn::Mul(single(sums.b4), ig33)),
            hn::Mul(sums.b6, hn::Set(d, kernel.ig55)), dst);
}

template <class D>
HWY_INLINE void OneVector(D d, const MomentRows& rows, ptrdiff_t x, const ExpansionKernel& kernel,
                          float* dst) {
  PixelSums<D> sums = StartSums(d, rows, x, kernel.g[0]);
  for (ptrdiff_t k = 1; k <= kernel.reach; ++k) AddOffset(d, rows, x, k, kernel, sums);
  StoreCoefficients(d, sums, kernel, dst + 5 * x);
}

template <class D>
HWY_INLINE void TwoVectors(D d, const MomentRows& rows, ptrdiff_t x, const ExpansionKernel& kernel,
                           float* dst) {
  const ptrdiff_t x2 = x + static_cast<ptrdiff_t>(hn::Lanes(d));
  PixelSums<D> sums = StartSums(d, rows, x, kernel.g[0]);
  PixelSums<D> sums2 = StartSums(d, rows, x2, kernel.g[0]);
  for (ptrdiff_t k = 1; k <= kernel.reach; ++k) {
    AddOffset(d, rows, x, k, kernel, sums);
    AddOffset(d, rows, x2, k, kernel, sums2);
  }
  StoreCoefficients(d, sums, kernel, dst + 5 * x);
  StoreCoefficients(d, sums2, kernel, dst + 5 * x2);
}

// A row of at least one vector; the last vector covers some pixels again.
template <class D>
HWY_INLINE void RowOfVectors(D d, const MomentRows& rows, ptrdiff_t width,
                             const ExpansionKernel& kernel, float* dst) {
  const ptrdiff_t lanes = static_cast<ptrdiff_t>(hn::Lanes(d));
  ptrdiff_t x = 0;
  for (; x + 2 * lanes <= width; x += 2 * lanes) {
    TwoVectors(d, rows, x, kernel, dst);
  }
  for (; x < width; x += lanes) {
    OneVector(d, rows, HWY_MIN(x, width - lanes), kernel, dst);
  }
}

#endif  // HWY_TARGET != HWY_SCALAR

void Columns(const float* image, ptrdiff_t width, ptrdiff_t height, ptrdiff_t y,
             const ExpansionKernel& kernel, const MomentRows& rows) {
  const RowPair pair(image, width, height, y);
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<float> d;
  const ptrdiff_t lanes = static_cast<ptrdiff_t>(hn::Lanes(d));
  if (width >= lanes) {
    // The last vector covers some columns again.
    ptrdiff_t x = 0;
    for (; x + lanes <= width; x += lanes) ColumnVector(d, pair, x, kernel, rows);
    if (x < width) ColumnVector(d, pair, width - lanes, kernel, rows);
    return;
  }
#endif
  for (ptrdiff_t x = 0; x < width; ++x) ColumnPlain(pair, x, kernel, rows);
}

void RepeatEnds(float* line, ptrdiff_t width, ptrdiff_t reach) {
  for (ptrdiff_t k = 1; k <= reach; ++k) {
    line[-k] = line[0];
    line[width - 1 + k] = line[width - 1];
  }
}

void Row(const MomentRows& rows, ptrdiff_t width, const ExpansionKernel& kernel, float* dst) {
  RepeatEnds(rows.t0, width, kernel.reach);
  RepeatEnds(rows.t1, width, kernel.reach);
  RepeatEnds(rows.t2, width, kernel.reach);
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<float> d;
  if (width >= static_cast<ptrdiff_t>(hn::Lanes(d))) {
    RowOfVectors(d, rows, width, kernel, dst);
    return;
  }
#endif
  for (ptrdiff_t x = 0; x < width; ++x) PixelPlain(rows, x, kernel, dst);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"

namespace vantro {

VANTRO_KERNEL_TABLE(Columns);
VANTRO_KERNEL_TABLE(Row);

void ExpandColumns(const float* image, ptrdiff_t width, ptrdiff_t height, ptrdiff_t y,
                   const ExpansionKernel& kernel, const MomentRows& rows) {
  VANTRO_KERNEL(Columns)(image, width, height, y, kernel, rows);
}

void ExpandRow(const MomentRows& rows, ptrdiff_t width, const ExpansionKernel& kernel, float* dst) {
  VANTRO_KERNEL(Row)(rows, width, kernel, dst);
}

}  // namespace vantro
#endif  // HWY_ONCE

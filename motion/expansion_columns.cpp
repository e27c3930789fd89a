#include "motion/expansion_kernels.h"

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "motion/expansion_columns.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

bool ByteRange(const float* image, ptrdiff_t count) {
  int32_t outside = 0;
  for (ptrdiff_t i = 0; i < count; ++i) {
    const float v = image[i];
    outside |= static_cast<int32_t>(v != 0.0f) & ~static_cast<int32_t>((v >= 1.0f) & (v <= 255.0f));
  }
  return outside == 0;
}

// Rows around row y of an image; those beyond it repeat the border row.
struct RowsAround {
  const float* row;
  ptrdiff_t width, rows_above, rows_below;

  HWY_INLINE const float* Above(ptrdiff_t k) const { return row - HWY_MIN(k, rows_above) * width; }
  HWY_INLINE const float* Below(ptrdiff_t k) const { return row + HWY_MIN(k, rows_below) * width; }
};

void PlainColumn(const RowsAround& image, ptrdiff_t x, const ExpansionKernel& kernel,
                 const MomentRows& rows) {
  float t0 = image.row[x] * kernel.g[0];
  float t1 = 0.0f;
  float t2 = 0.0f;
  for (ptrdiff_t k = 1; k <= kernel.reach; ++k) {
    const float s0 = image.Above(k)[x];
    const float s1 = image.Below(k)[x];
    t0 += kernel.g[k] * (s0 + s1);
    t1 += kernel.xg[k] * (s1 - s0);
    t2 += kernel.xxg[k] * (s0 + s1);
  }
  rows.t0[x] = t0;
  rows.t1[x] = t1;
  rows.t2[x] = t2;
}

#if HWY_TARGET != HWY_SCALAR

// Vectors of columns at every x; several share the weights and the rows' addresses.
template <class D, size_t kCount>
HWY_INLINE void Vectors(D d, const RowsAround& image, const ptrdiff_t (&x)[kCount],
                        const ExpansionKernel& kernel, const MomentRows& rows) {
  using V = hn::Vec<D>;
  V t0[kCount], t1[kCount], t2[kCount];
  const V g0 = hn::Set(d, kernel.g[0]);
  for (size_t i = 0; i < kCount; ++i) {
    t0[i] = hn::Mul(hn::LoadU(d, image.row + x[i]), g0);
    t1[i] = t2[i] = hn::Zero(d);
  }
  for (ptrdiff_t k = 1; k <= kernel.reach; ++k) {
    const float* const above = image.Above(k);
    const float* const below = image.Below(k);
    const V g = hn::Set(d, kernel.g[k]);
    const V xg = hn::Set(d, kernel.xg[k]);
    const V xxg = hn::Set(d, kernel.xxg[k]);
    for (size_t i = 0; i < kCount; ++i) {
      const V s0 = hn::LoadU(d, above + x[i]);
      const V s1 = hn::LoadU(d, below + x[i]);
      const V both = hn::Add(s0, s1);
      t0[i] = hn::Add(t0[i], hn::Mul(g, both));
      t1[i] = hn::Add(t1[i], hn::Mul(xg, hn::Sub(s1, s0)));
      t2[i] = hn::Add(t2[i], hn::Mul(xxg, both));
    }
  }
  for (size_t i = 0; i < kCount; ++i) {
    hn::StoreU(t0[i], d, rows.t0 + x[i]);
    hn::StoreU(t1[i], d, rows.t1 + x[i]);
    hn::StoreU(t2[i], d, rows.t2 + x[i]);
  }
}

#endif  // HWY_TARGET != HWY_SCALAR

void Columns(const float* image, ptrdiff_t width, ptrdiff_t height, ptrdiff_t y,
             const ExpansionKernel& kernel, const MomentRows& rows) {
  const RowsAround around = {image + y * width, width, y, height - 1 - y};
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<float> d;
  const ptrdiff_t lanes = static_cast<ptrdiff_t>(hn::Lanes(d));
  if (width >= lanes) {
    // The last vector covers some columns again.
    const ptrdiff_t last = width - lanes;
    ptrdiff_t x = 0;
    for (; x < last; x += 2 * lanes) {
      Vectors(d, around, {x, HWY_MIN(x + lanes, last)}, kernel, rows);
    }
    if (x < width) Vectors(d, around, {last}, kernel, rows);
    return;
  }
#endif
  for (ptrdiff_t x = 0; x < width; ++x) PlainColumn(around, x, kernel, rows);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"

namespace vantro {

VANTRO_KERNEL_TABLE(ByteRange);
VANTRO_KERNEL_TABLE(Columns);

bool HasByteRange(const float* image, ptrdiff_t count) {
  return VANTRO_KERNEL(ByteRange)(image, count);
}

void ExpandColumns(const float* image, ptrdiff_t width, ptrdiff_t height, ptrdiff_t y,
                   const ExpansionKernel& kernel, const MomentRows& rows) {
  VANTRO_KERNEL(Columns)(image, width, height, y, kernel, rows);
}

}  // namespace vantro
#endif  // HWY_ONCE

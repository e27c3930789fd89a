#include "motion/expansion_kernels.h"

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "motion/expansion_row.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "motion/store_five-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// b1 and b4 gather terms of very different size: each term is added in double precision, and the
// sum rounded to single precision.
HWY_INLINE float AddInDouble(float sum, float a, float b) {
  return static_cast<float>(static_cast<double>(sum) +
                            static_cast<double>(a) * static_cast<double>(b));
}

void PlainPixel(const MomentRows& rows, ptrdiff_t x, const ExpansionKernel& kernel, float* dst) {
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

// Has gcc keep two loaded vectors in registers: it would load them again for every use.
template <class V>
HWY_INLINE void Keep(V& a, V& b) {
#if HWY_ARCH_X86
  asm("" : "+v"(a.raw), "+v"(b.raw));
#elif HWY_ARCH_ARM
  asm("" : "+w"(a.raw), "+w"(b.raw));
#endif
}

// sum + a * b, added in double precision.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V AddInDouble(D d, V sum, V a, V b) {
  const hn::Repartition<double, D> wide;
  const hn::Half<D> half;
  // The product of two single-precision numbers is exact in a double, fused or not.
  const auto lower = hn::MulAdd(hn::PromoteTo(wide, hn::LowerHalf(half, a)),
                                hn::PromoteTo(wide, hn::LowerHalf(half, b)),
                                hn::PromoteTo(wide, hn::LowerHalf(half, sum)));
  const auto upper = hn::MulAdd(hn::PromoteTo(wide, hn::UpperHalf(half, a)),
                                hn::PromoteTo(wide, hn::UpperHalf(half, b)),
                                hn::PromoteTo(wide, hn::UpperHalf(half, sum)));
  return hn::Combine(d, hn::DemoteTo(half, upper), hn::DemoteTo(half, lower));
}

#if HWY_NATIVE_FMA

// With `byte_moments`, adding by a fused multiply-add gives the same, although it rounds once and
// AddInDouble twice. The two can only differ where the double lies halfway between two floats and
// the exact sum does not. The moments t0 of a byte image are 0 or between 2^-18 and 2^8; under the
// fixed weights the double then holds all bits of the sum so far, and all bits of the product too
// unless that is below a 32nd of the whole. Such a product would have to end, in units of the last
// place of the result, very close to a half or to a whole. Of all pairs of moments only those with
// these fractions have one that does:
constexpr uint32_t kFractionForB1 = 0x49AC7F;  // with g[1]
constexpr uint32_t kFractionForB4 = 0x244478;  // with xxg[7]

template <class D, class V = hn::Vec<D>>
HWY_INLINE V AddFusedUnless(D d, uint32_t fraction, V sum, V a, V b) {
  const hn::RebindToUnsigned<D> du;
  const auto fractions = hn::And(hn::BitCast(du, a), hn::Set(du, 0x7FFFFF));
  if (HWY_UNLIKELY(!hn::AllFalse(du, hn::Eq(fractions, hn::Set(du, fraction))))) {
    return AddInDouble(d, sum, a, b);
  }
  return hn::MulAdd(a, b, sum);
}

#endif  // HWY_NATIVE_FMA

// The six weighted sums of a vector of pixels.
template <class D>
struct PixelSums {
  hn::Vec<D> b1, b2, b3, b4, b5, b6;
};

// Adds the pixels k to the left and to the right; b1 and b4 by the given functions.
template <class D, class AddB1, class AddB4>
HWY_INLINE void AddOffset(D d, const MomentRows& rows, ptrdiff_t x, ptrdiff_t k,
                          const ExpansionKernel& kernel, const AddB1& add_b1, const AddB4& add_b4,
                          PixelSums<D>& sums) {
  using V = hn::Vec<D>;
  const V g = hn::Set(d, kernel.g[k]);
  const V xg = hn::Set(d, kernel.xg[k]);
  V left = hn::LoadU(d, rows.t0 + x - k);
  V right = hn::LoadU(d, rows.t0 + x + k);
  Keep(left, right);
  const V both = hn::Add(right, left);
  sums.b1 = add_b1(sums.b1, both, g);
  sums.b4 = add_b4(sums.b4, both, hn::Set(d, kernel.xxg[k]));
  sums.b2 = hn::Add(sums.b2, hn::Mul(hn::Sub(right, left), xg));
  left = hn::LoadU(d, rows.t1 + x - k);
  right = hn::LoadU(d, rows.t1 + x + k);
  Keep(left, right);
  sums.b3 = hn::Add(sums.b3, hn::Mul(hn::Add(right, left), g));
  sums.b6 = hn::Add(sums.b6, hn::Mul(hn::Sub(right, left), xg));
  left = hn::LoadU(d, rows.t2 + x - k);
  right = hn::LoadU(d, rows.t2 + x + k);
  sums.b5 = hn::Add(sums.b5, hn::Mul(hn::Add(right, left), g));
}

template <class D, class V = hn::Vec<D>>
HWY_INLINE void AddOffsets(D d, const MomentRows& rows, ptrdiff_t x, const ExpansionKernel& kernel,
                           PixelSums<D>& sums) {
#if HWY_NATIVE_FMA
  if (kernel.byte_moments) {
    const auto fused = [](V sum, V a, V b) HWY_ATTR { return hn::MulAdd(a, b, sum); };
    const auto first_b1 = [&](V sum, V a, V b)
                              HWY_ATTR { return AddFusedUnless(d, kFractionForB1, sum, a, b); };
    const auto last_b4 = [&](V sum, V a, V b)
                             HWY_ATTR { return AddFusedUnless(d, kFractionForB4, sum, a, b); };
    AddOffset(d, rows, x, 1, kernel, first_b1, fused, sums);
    for (ptrdiff_t k = 2; k < kernel.reach; ++k) {
      AddOffset(d, rows, x, k, kernel, fused, fused, sums);
    }
    AddOffset(d, rows, x, kernel.reach, kernel, fused, last_b4, sums);
    return;
  }
#endif
  const auto in_double = [&](V sum, V a, V b) HWY_ATTR { return AddInDouble(d, sum, a, b); };
  for (ptrdiff_t k = 1; k <= kernel.reach; ++k) {
    AddOffset(d, rows, x, k, kernel, in_double, in_double, sums);
  }
}

template <class D>
HWY_INLINE void OneVector(D d, const MomentRows& rows, ptrdiff_t x, const ExpansionKernel& kernel,
                          float* dst) {
  using V = hn::Vec<D>;
  const V g0 = hn::Set(d, kernel.g[0]);
  PixelSums<D> sums = {hn::Mul(hn::LoadU(d, rows.t0 + x), g0), hn::Zero(d),
                       hn::Mul(hn::LoadU(d, rows.t1 + x), g0), hn::Zero(d),
                       hn::Mul(hn::LoadU(d, rows.t2 + x), g0), hn::Zero(d)};
  AddOffsets(d, rows, x, kernel, sums);
  const V ig11 = hn::Set(d, kernel.ig11);
  const V ig33 = hn::Set(d, kernel.ig33);
  const V b1_share = hn::Mul(sums.b1, hn::Set(d, kernel.ig03));
  StoreFive(d, hn::Mul(sums.b3, ig11), hn::Mul(sums.b2, ig11),
            hn::Add(b1_share, hn::Mul(sums.b5, ig33)), hn::Add(b1_share, hn::Mul(sums.b4, ig33)),
            hn::Mul(sums.b6, hn::Set(d, kernel.ig55)), dst + 5 * x);
}

// The last `rest` pixels of a row, and some before them again: a vector as short as will do.
template <class D>
HWY_INLINE void LastVector(D d, const MomentRows& rows, ptrdiff_t width, ptrdiff_t rest,
                           const ExpansionKernel& kernel, float* dst) {
  const ptrdiff_t lanes = static_cast<ptrdiff_t>(hn::Lanes(d));
  if constexpr (hn::MaxLanes(D()) > 4) {
    if (rest <= lanes / 2) return LastVector(hn::Half<D>(), rows, width, rest, kernel, dst);
  }
  OneVector(d, rows, width - lanes, kernel, dst);
}

#endif  // HWY_TARGET != HWY_SCALAR

void Fill(float* begin, ptrdiff_t count, float value) {
  ptrdiff_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::FixedTag<float, 4> d;
  // The last four may come twice.
  for (; count >= 4 && i < count; i += 4) {
    hn::StoreU(hn::Set(d, value), d, begin + HWY_MIN(i, count - 4));
  }
#endif
  for (; i < count; ++i) begin[i] = value;
}

void RepeatEnds(float* line, ptrdiff_t width, ptrdiff_t reach) {
  Fill(line - reach, reach, line[0]);
  Fill(line + width, reach, line[width - 1]);
}

void Row(const MomentRows& rows, ptrdiff_t width, const ExpansionKernel& kernel, float* dst) {
  RepeatEnds(rows.t0, width, kernel.reach);
  RepeatEnds(rows.t1, width, kernel.reach);
  RepeatEnds(rows.t2, width, kernel.reach);
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<float> d;
  const ptrdiff_t lanes = static_cast<ptrdiff_t>(hn::Lanes(d));
  if (width >= lanes) {
    // The first vector comes last: its loads would wait for the end that has just been stored.
    ptrdiff_t x = lanes;
    for (; x + lanes <= width; x += lanes) OneVector(d, rows, x, kernel, dst);
    if (x < width) LastVector(d, rows, width, width - x, kernel, dst);
    OneVector(d, rows, 0, kernel, dst);
    return;
  }
#endif
  for (ptrdiff_t x = 0; x < width; ++x) PlainPixel(rows, x, kernel, dst);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"

namespace vantro {

VANTRO_KERNEL_TABLE(Row);

void ExpandRow(const MomentRows& rows, ptrdiff_t width, const ExpansionKernel& kernel, float* dst) {
  VANTRO_KERNEL(Row)(rows, width, kernel, dst);
}

}  // namespace vantro
#endif  // HWY_ONCE

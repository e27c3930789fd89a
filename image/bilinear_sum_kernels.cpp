#include "image/bilinear_sum_kernels.h"

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "image/bilinear_sum_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;

// The compiler turns the loops in single precision into vectors of every target; -ffp-contract=off
// keeps their roundings.

template <class Rule>
HWY_INLINE void SumFloats(const SpreadRow& upper, const SpreadRow& lower,
                          const AxisWeights<float>& columns, const RowWeights<float>& row,
                          float bias, uint8_t* HWY_RESTRICT out, const Rule& sum) {
  for (int x = 0; x < columns.count; ++x) {
    const float v = sum(columns.left[x], columns.right[x], row.upper, row.lower, upper.left[x],
                        upper.right[x], lower.left[x], lower.right[x]);
    out[x] = static_cast<uint8_t>(static_cast<int32_t>(v + bias));
  }
}

void Grouped(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<float>& columns,
             const RowWeights<float>& row, float bias, uint8_t* out) {
  SumFloats(upper, lower, columns, row, bias, out,
            [](float wx0, float wx1, float wy0, float wy1, float p00, float p01, float p10,
               float p11) HWY_ATTR {
              return wy1 * wx1 * p11 + ((wy0 * wx0 * p00 + wy0 * wx1 * p01) + wy1 * wx0 * p10);
            });
}

void InOrder(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<float>& columns,
             const RowWeights<float>& row, float bias, uint8_t* out) {
  SumFloats(upper, lower, columns, row, bias, out,
            [](float wx0, float wx1, float wy0, float wy1, float p00, float p01, float p10,
               float p11) HWY_ATTR {
              return wy0 * (wx0 * p00) + wy0 * (wx1 * p01) + wy1 * (wx0 * p10) + wy1 * wx1 * p11;
            });
}

void Colour(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<float>& columns,
            const RowWeights<float>& row, uint8_t* out) {
  SumFloats(upper, lower, columns, row, 0.0f, out,
            [](float wx0, float wx1, float wy0, float wy1, float p00, float p01, float p10,
               float p11) HWY_ATTR {
              return wy1 * wx1 * p11 + (wy0 * (wx0 * p00) + wy0 * (wx1 * p01) + wx0 * (wy1 * p10));
            });
}

void Weighted(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<float>& columns,
              const RowWeights<float>& row, float bias, uint8_t* HWY_RESTRICT out) {
  for (int x = 0; x < columns.count; ++x) {
    const float v = row.upper * upper.left[x] + row.upper * upper.weighted_right[x] +
                    row.lower * lower.left[x] + row.lower * columns.right[x] * lower.right[x];
    out[x] = static_cast<uint8_t>(static_cast<int32_t>(v + bias));
  }
}

// The other rules where the upper row has all the weight: the other terms are zeros.
void UpperOnly(const SpreadRow& upper, const AxisWeights<float>& columns, float bias,
               uint8_t* HWY_RESTRICT out) {
  for (int x = 0; x < columns.count; ++x) {
    const float sum = columns.left[x] * upper.left[x] + columns.right[x] * upper.right[x];
    out[x] = static_cast<uint8_t>(static_cast<int32_t>(sum + bias));
  }
}

// How the four weighted samples, left and right of the upper and of the lower row, add up.
struct AddOnce {
  template <typename Real>
  HWY_INLINE Real operator()(Real p00, Real p01, Real p10, Real p11) const {
    return ((p00 + p10) + p01) + p11;
  }
#if HWY_TARGET != HWY_SCALAR
  template <class D, class V = hn::Vec<D>>
  HWY_INLINE V operator()(D, V p00, V p01, V p10, V p11) const {
    return hn::Add(hn::Add(hn::Add(p00, p10), p01), p11);
  }
#endif
};

struct AddTerms {
  HWY_INLINE double operator()(double p00, double p01, double p10, double p11) const {
    return static_cast<int32_t>(p00) + static_cast<int32_t>(p10) + static_cast<int32_t>(p01) +
           static_cast<int32_t>(p11);
  }
#if HWY_TARGET != HWY_SCALAR
  // Whole doubles: one conversion instead of four.
  template <class D, class V = hn::Vec<D>>
  HWY_INLINE V operator()(D, V p00, V p01, V p10, V p11) const {
    return hn::Add(hn::Add(hn::Trunc(p00), hn::Trunc(p10)),
                   hn::Add(hn::Trunc(p01), hn::Trunc(p11)));
  }
#endif
};

template <class Rule>
void SumDoubles(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<double>& columns,
                const RowWeights<double>& row, uint8_t* HWY_RESTRICT out) {
  const Rule add;
  alignas(64) int32_t sums[kStripColumns];
  int x = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<double> d;
  const hn::Rebind<float, decltype(d)> df;
  const hn::Rebind<int32_t, decltype(d)> di;
  const auto wy0 = hn::Set(d, row.upper);
  const auto wy1 = hn::Set(d, row.lower);
  const auto lanes = static_cast<int>(hn::Lanes(d));
  for (; x + lanes <= columns.count; x += lanes) {
    const auto wx0 = hn::LoadU(d, columns.left + x);
    const auto wx1 = hn::LoadU(d, columns.right + x);
    const auto weighted = [&](auto wx, auto wy, const float* samples) HWY_ATTR {
      return hn::Mul(hn::Mul(wx, wy), hn::PromoteTo(d, hn::LoadU(df, samples + x)));
    };
    const auto sum = add(d, weighted(wx0, wy0, upper.left), weighted(wx1, wy0, upper.right),
                         weighted(wx0, wy1, lower.left), weighted(wx1, wy1, lower.right));
    hn::StoreU(hn::DemoteTo(di, sum), di, sums + x);
  }
#endif
  for (; x < columns.count; ++x) {
    const auto weighted = [&](double wx, double wy, const float* samples) {
      return wx * wy * static_cast<double>(samples[x]);
    };
    const double wx0 = columns.left[x];
    const double wx1 = columns.right[x];
    sums[x] = static_cast<int32_t>(
        add(weighted(wx0, row.upper, upper.left), weighted(wx1, row.upper, upper.right),
            weighted(wx0, row.lower, lower.left), weighted(wx1, row.lower, lower.right)));
  }
  for (int i = 0; i < columns.count; ++i) out[i] = static_cast<uint8_t>(sums[i]);
}

void Once(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<double>& columns,
          const RowWeights<double>& row, uint8_t* out) {
  SumDoubles<AddOnce>(upper, lower, columns, row, out);
}

void Terms(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<double>& columns,
           const RowWeights<double>& row, uint8_t* out) {
  SumDoubles<AddTerms>(upper, lower, columns, row, out);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"
namespace vantro {
namespace {
VANTRO_KERNEL_TABLE(Grouped);
VANTRO_KERNEL_TABLE(InOrder);
VANTRO_KERNEL_TABLE(Colour);
VANTRO_KERNEL_TABLE(Weighted);
VANTRO_KERNEL_TABLE(UpperOnly);
VANTRO_KERNEL_TABLE(Once);
VANTRO_KERNEL_TABLE(Terms);
}  // namespace

void SumGrouped(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<float>& columns,
                const RowWeights<float>& row, float bias, uint8_t* out) {
  VANTRO_KERNEL(Grouped)(upper, lower, columns, row, bias, out);
}
void SumInOrder(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<float>& columns,
                const RowWeights<float>& row, float bias, uint8_t* out) {
  VANTRO_KERNEL(InOrder)(upper, lower, columns, row, bias, out);
}
void SumColour(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<float>& columns,
               const RowWeights<float>& row, uint8_t* out) {
  VANTRO_KERNEL(Colour)(upper, lower, columns, row, out);
}
void SumWeighted(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<float>& columns,
                 const RowWeights<float>& row, float bias, uint8_t* out) {
  VANTRO_KERNEL(Weighted)(upper, lower, columns, row, bias, out);
}
void SumUpperOnly(const SpreadRow& upper, const AxisWeights<float>& columns, float bias,
                  uint8_t* out) {
  VANTRO_KERNEL(UpperOnly)(upper, columns, bias, out);
}
void SumOnce(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<double>& columns,
             const RowWeights<double>& row, uint8_t* out) {
  VANTRO_KERNEL(Once)(upper, lower, columns, row, out);
}
void SumTerms(const SpreadRow& upper, const SpreadRow& lower, const AxisWeights<double>& columns,
              const RowWeights<double>& row, uint8_t* out) {
  VANTRO_KERNEL(Terms)(upper, lower, columns, row, out);
}

}  // namespace vantro
#endif  // HWY_ONCE

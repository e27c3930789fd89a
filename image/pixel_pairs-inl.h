// Vectors of pixel pairs for the colour kernels: the left pixels of N pairs in one set of 16-bit
// lanes, the right pixels in another. Included once a target, after hwy/highway.h.

#ifndef VANTRO_IMAGE_PIXEL_PAIRS_ONCE
#define VANTRO_IMAGE_PIXEL_PAIRS_ONCE
// For lambdas that are the body of a vector loop; without it gcc calls them and sets their
// constants up every time.
#define VANTRO_VECTOR_BODY HWY_ATTR __attribute__((always_inline))
#endif

#if defined(VANTRO_IMAGE_PIXEL_PAIRS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef VANTRO_IMAGE_PIXEL_PAIRS_INL_H_
#undef VANTRO_IMAGE_PIXEL_PAIRS_INL_H_
#else
#define VANTRO_IMAGE_PIXEL_PAIRS_INL_H_
#endif

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR
using D8 = hn::ScalableTag<uint8_t>;
using D16 = hn::RepartitionToWide<D8>;
using DI16 = hn::RebindToSigned<D16>;
using V8 = hn::Vec<D8>;
using V16 = hn::Vec<D16>;
using VI16 = hn::Vec<DI16>;

HWY_INLINE V16 LowBytes(V16 v) { return hn::And(v, hn::Set(D16(), 0xFF)); }
HWY_INLINE V16 HighBytes(V16 v) { return hn::ShiftRight<8>(v); }
HWY_INLINE VI16 Signed(V16 v) { return hn::BitCast(DI16(), v); }

template <typename V>
HWY_INLINE V Times(V v, int16_t factor) {
  const hn::DFromV<V> d;
  return hn::Mul(v, hn::Set(d, static_cast<hn::TFromV<V>>(factor)));
}

// Bytes low[0], high[0], low[1], ... of lanes that hold 0..255.
HWY_INLINE V8 Weave(V16 low, V16 high) {
  return hn::BitCast(D8(), hn::Or(low, hn::ShiftLeft<8>(high)));
}

// Runs `vector(first)` over all pairs when they fill a vector, and returns the number of pairs
// done. The last vector overlaps the one before, so a longer row has no remainder.
template <typename Vector>
HWY_INLINE ptrdiff_t ForVectors(ptrdiff_t pairs, const Vector& vector) {
  const auto lanes = static_cast<ptrdiff_t>(hn::Lanes(D16()));
  if (pairs < lanes) return 0;
  for (ptrdiff_t i = 0; i < pairs - lanes; i += lanes) vector(i);
  vector(pairs - lanes);
  return pairs;
}
#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#endif  // per target

// Five vectors to records of five floats. Included once a target.
#if defined(VANTRO_MOTION_STORE_FIVE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef VANTRO_MOTION_STORE_FIVE_INL_H_
#undef VANTRO_MOTION_STORE_FIVE_INL_H_
#else
#define VANTRO_MOTION_STORE_FIVE_INL_H_
#endif

#include <cstring>

#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR
// Element i of the vectors becomes dst[5 * i] to dst[5 * i + 4].
template <class D, class V = hn::Vec<D>>
HWY_INLINE void StoreFive(D d, V v0, V v1, V v2, V v3, V v4, float* dst) {
  HWY_ALIGN float four[4 * hn::MaxLanes(D())];
  HWY_ALIGN float last[hn::MaxLanes(D())];
  hn::StoreInterleaved4(v0, v1, v2, v3, d, four);
  hn::Store(v4, d, last);
  for (size_t i = 0; i < hn::Lanes(d); ++i) {
    std::memcpy(dst + 5 * i, four + 4 * i, 4 * sizeof(float));
    dst[5 * i + 4] = last[i];
  }
}
#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard

// Five vectors to records of five floats. Included once a target.
#if defined(VANTRO_MOTION_STORE_FIVE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef VANTRO_MOTION_STORE_FIVE_INL_H_
#undef VANTRO_MOTION_STORE_FIVE_INL_H_
#else
#define VANTRO_MOTION_STORE_FIVE_INL_H_
#endif

#include <cstdint>
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

#if HWY_TARGET <= HWY_AVX3

// Which element of which vector each of the 80 floats of sixteen records is.
struct FiveSources {
  alignas(64) int32_t element[80];  // v1 and v3 count from 16 on, behind v0 and v2
  uint8_t second_pair[10];          // bit i % 8 of byte i / 8: float i is of v2 or v3
  uint8_t last[10];                 // of v4
};

constexpr FiveSources LocateFive() {
  FiveSources sources{};
  for (int i = 0; i < 80; ++i) {
    const int vector = i % 5;
    const uint8_t bit = static_cast<uint8_t>(1 << (i % 8));
    sources.element[i] = i / 5 + (vector == 1 || vector == 3 ? 16 : 0);
    if (vector == 2 || vector == 3) sources.second_pair[i / 8] |= bit;
    if (vector == 4) sources.last[i / 8] |= bit;
  }
  return sources;
}

constexpr FiveSources kFiveSources = LocateFive();

// The same by look-ups, which Highway has for single vectors only: far fewer stores.
HWY_INLINE void StoreFive(hn::Full512<float> d, hn::Vec512<float> v0, hn::Vec512<float> v1,
                          hn::Vec512<float> v2, hn::Vec512<float> v3, hn::Vec512<float> v4,
                          float* dst) {
  const hn::RebindToSigned<decltype(d)> di;
  for (int i = 0; i < 5; ++i) {
    const auto element = hn::Load(di, kFiveSources.element + 16 * i);
    const auto look_up = [&](hn::Vec512<float> a, hn::Vec512<float> b) HWY_ATTR {
      return hn::Vec512<float>{_mm512_permutex2var_ps(a.raw, element.raw, b.raw)};
    };
    const auto second_pair = hn::LoadMaskBits(d, kFiveSources.second_pair + 2 * i);
    const auto last = hn::LoadMaskBits(d, kFiveSources.last + 2 * i);
    const auto pairs = hn::IfThenElse(second_pair, look_up(v2, v3), look_up(v0, v1));
    hn::StoreU(hn::IfThenElse(last, look_up(v4, v4), pairs), d, dst + 16 * i);
  }
}

#endif  // HWY_TARGET <= HWY_AVX3

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard

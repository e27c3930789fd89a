#include "image/strided_copy.h"

#include <cstring>

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "image/strided_copy.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// Every second byte. A vector reads the byte behind its last sample too, so the last sample of all
// is copied by itself.
void CopyEverySecond(const uint8_t* src, int count, uint8_t* out) {
  int i = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint16_t> d16;
  const hn::RepartitionToNarrow<decltype(d16)> d8;
  const hn::Half<decltype(d8)> half;
  const auto copy = [=](int at) HWY_ATTR {
    const auto pairs = hn::BitCast(d16, hn::LoadU(d8, src + 2 * at));
    hn::StoreU(hn::TruncateTo(half, pairs), half, out + at);
  };
  const auto lanes = static_cast<int>(hn::Lanes(d16));
  if (count > lanes) {
    for (; i + lanes < count; i += lanes) copy(i);
    copy(count - 1 - lanes);
    i = count - 1;
  }
#endif
  for (; i < count; ++i) out[i] = src[2 * i];
}

void Copy(const uint8_t* HWY_RESTRICT src, int64_t step, int count, uint8_t* HWY_RESTRICT out) {
  if (step == 2) return CopyEverySecond(src, count, out);
  for (int64_t i = 0; i < count; ++i) out[i] = src[i * step];
}

// Each sample is the first byte of a Lane.
template <typename Lane>
void ScatterToLanes(const uint8_t* HWY_RESTRICT src, int count, uint8_t* HWY_RESTRICT out) {
  constexpr int kStep = sizeof(Lane);
  int i = 0;
// Elsewhere a masked store of bytes reads and writes all of them.
#if HWY_TARGET == HWY_AVX3
  const hn::ScalableTag<Lane> d;
  const hn::Repartition<uint8_t, decltype(d)> d8;
  const hn::Rebind<uint8_t, decltype(d)> d_src;
  const auto first_bytes = hn::MaskFromVec(hn::BitCast(d8, hn::Set(d, 0xFF)));
  constexpr int kLanes = hn::MaxLanes(d);
  for (; i + kLanes <= count; i += kLanes) {
    const auto samples = hn::BitCast(d8, hn::PromoteTo(d, hn::LoadU(d_src, src + i)));
    hn::BlendedStore(samples, first_bytes, d8, out + i * kStep);
  }
#endif
  for (; i < count; ++i) out[i * kStep] = src[i];
}

void Scatter(const uint8_t* src, int count, int64_t step, uint8_t* out) {
  if (step == 2) return ScatterToLanes<uint16_t>(src, count, out);
  if (step == 4) return ScatterToLanes<uint32_t>(src, count, out);
  for (int64_t i = 0; i < count; ++i) out[i * step] = src[i];
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"
namespace vantro {
namespace {
VANTRO_KERNEL_TABLE(Copy);
VANTRO_KERNEL_TABLE(Scatter);
}  // namespace

void CopyStrided(const uint8_t* src, int64_t step, int count, uint8_t* out) {
  if (step == 1) {
    std::memcpy(out, src, static_cast<size_t>(count));
  } else {
    VANTRO_KERNEL(Copy)(src, step, count, out);
  }
}

void ScatterStrided(const uint8_t* src, int count, int64_t step, uint8_t* out) {
  VANTRO_KERNEL(Scatter)(src, count, step, out);
}

}  // namespace vantro
#endif  // HWY_ONCE

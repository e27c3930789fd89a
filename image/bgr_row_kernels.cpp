// Rows of three-byte colour to YUV; every intermediate value fits in 16 bits.

#include "image/colour_formulas.h"
#include "image/colour_row_kernels.h"
#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "image/bgr_row_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "image/pixel_pairs-inl.h"

#ifndef VANTRO_IMAGE_BGR_ROW_ONCE
#define VANTRO_IMAGE_BGR_ROW_ONCE
namespace vantro {
namespace {

// Red, green and blue share of each result. Handed to the kernels as data: knowing the factors, gcc
// would replace each product by several shifts and additions.
struct YuvFactors {
  int16_t y[3];
  int16_t u[3];
  int16_t v[3];
};

}  // namespace
}  // namespace vantro
#endif  // VANTRO_IMAGE_BGR_ROW_ONCE

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR
// N pairs of BGR pixels, left and right channels apart.
struct BgrPairs {
  V16 b0, b1, g0, g1, r0, r1;
};

HWY_INLINE BgrPairs LoadBgr(const uint8_t* bgr) {
  V8 b8, g8, r8;
  hn::LoadInterleaved3(D8(), bgr, b8, g8, r8);
  const V16 b = hn::BitCast(D16(), b8);
  const V16 g = hn::BitCast(D16(), g8);
  const V16 r = hn::BitCast(D16(), r8);
  return {LowBytes(b), HighBytes(b), LowBytes(g), HighBytes(g), LowBytes(r), HighBytes(r)};
}

HWY_INLINE V16 WeightedSum(V16 r, V16 g, V16 b, const int16_t k[3]) {
  return hn::Add(hn::Add(Times(r, k[0]), Times(g, k[1])), Times(b, k[2]));
}
HWY_INLINE V16 LeftLuma(const BgrPairs& p, const YuvFactors& k) {
  return HighBytes(WeightedSum(p.r0, p.g0, p.b0, k.y));
}
HWY_INLINE V16 RightLuma(const BgrPairs& p, const YuvFactors& k) {
  return HighBytes(WeightedSum(p.r1, p.g1, p.b1, k.y));
}
HWY_INLINE V16 LeftChroma(const BgrPairs& p, const int16_t k[3]) {
  const VI16 sum = Signed(WeightedSum(p.r0, p.g0, p.b0, k));
  return hn::BitCast(D16(), hn::Add(hn::ShiftRight<8>(sum), hn::Set(DI16(), 128)));
}
#endif  // HWY_TARGET != HWY_SCALAR

void BgrToUyvy(const uint8_t* bgr, ptrdiff_t pairs, uint8_t* uyvy,
               [[maybe_unused]] const YuvFactors& k) {
  ptrdiff_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  i = ForVectors(pairs, [=](ptrdiff_t at) VANTRO_VECTOR_BODY {
    const BgrPairs p = LoadBgr(bgr + 6 * at);
    const V8 left = Weave(LeftChroma(p, k.u), LeftLuma(p, k));
    const V8 right = Weave(LeftChroma(p, k.v), RightLuma(p, k));
    hn::StoreInterleaved2(hn::BitCast(D16(), left), hn::BitCast(D16(), right), D16(),
                          reinterpret_cast<uint16_t*>(uyvy + 4 * at));
  });
#endif
  for (; i < pairs; ++i) {
    const uint8_t* const pixels = bgr + 6 * i;
    uint8_t* const group = uyvy + 4 * i;
    group[0] = BlueChromaOf(pixels[2], pixels[1], pixels[0]);
    group[1] = LumaOf(pixels[2], pixels[1], pixels[0]);
    group[2] = RedChromaOf(pixels[2], pixels[1], pixels[0]);
    group[3] = LumaOf(pixels[5], pixels[4], pixels[3]);
  }
}

// Luma alone where `vu` is null.
void BgrToNv21(const uint8_t* bgr, ptrdiff_t pairs, uint8_t* luma, uint8_t* vu,
               [[maybe_unused]] const YuvFactors& k) {
  ptrdiff_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  i = ForVectors(pairs, [=](ptrdiff_t at) VANTRO_VECTOR_BODY {
    const BgrPairs p = LoadBgr(bgr + 6 * at);
    hn::StoreU(Weave(LeftLuma(p, k), RightLuma(p, k)), D8(), luma + 2 * at);
    if (vu != nullptr) {
      hn::StoreU(Weave(LeftChroma(p, k.v), LeftChroma(p, k.u)), D8(), vu + 2 * at);
    }
  });
#endif
  for (; i < pairs; ++i) {
    const uint8_t* const pixels = bgr + 6 * i;
    luma[2 * i] = LumaOf(pixels[2], pixels[1], pixels[0]);
    luma[2 * i + 1] = LumaOf(pixels[5], pixels[4], pixels[3]);
    if (vu != nullptr) {
      vu[2 * i] = RedChromaOf(pixels[2], pixels[1], pixels[0]);
      vu[2 * i + 1] = BlueChromaOf(pixels[2], pixels[1], pixels[0]);
    }
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"
namespace vantro {
namespace {
VANTRO_KERNEL_TABLE(BgrToUyvy);
VANTRO_KERNEL_TABLE(BgrToNv21);

constexpr YuvFactors kFactors = {{77, 150, 29}, {-43, -85, 128}, {128, -107, -21}};
}  // namespace

void BgrRowToUyvy(const uint8_t* bgr, ptrdiff_t pairs, uint8_t* uyvy) {
  VANTRO_KERNEL(BgrToUyvy)(bgr, pairs, uyvy, kFactors);
}
void BgrRowToNv21(const uint8_t* bgr, ptrdiff_t pairs, uint8_t* luma, uint8_t* vu) {
  VANTRO_KERNEL(BgrToNv21)(bgr, pairs, luma, vu, kFactors);
}

}  // namespace vantro
#endif  // HWY_ONCE

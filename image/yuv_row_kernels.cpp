// Rows of YUV to three-byte colour; every intermediate value fits in 16 bits.

#include "image/colour_formulas.h"
#include "image/colour_row_kernels.h"
#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "image/yuv_row_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "image/pixel_pairs-inl.h"

#ifndef VANTRO_IMAGE_YUV_ROW_ONCE
#define VANTRO_IMAGE_YUV_ROW_ONCE
namespace vantro {
namespace {

// Handed to the kernel as data: knowing the factors, gcc would replace each product by several
// shifts and additions.
struct StudioFactors {
  int16_t y;
  int16_t red_v;
  int16_t green_v;
  int16_t green_u;
  int16_t half_blue_u;
};

}  // namespace
}  // namespace vantro
#endif  // VANTRO_IMAGE_YUV_ROW_ONCE

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR
// N pairs of pixels: left and right luma, and the shared chroma, less 128 and times 256.
struct YuvPairs {
  VI16 y0;
  VI16 y1;
  VI16 u;
  VI16 v;
};

// Of chroma samples that stand in the low or in the high byte of their lanes.
HWY_INLINE VI16 CentreLow(V16 chroma) {
  return Signed(hn::Xor(hn::ShiftLeft<8>(chroma), hn::Set(D16(), 0x8000)));
}
HWY_INLINE VI16 CentreHigh(V16 chroma) {
  const V16 samples = hn::And(chroma, hn::Set(D16(), 0xFF00));
  return Signed(hn::Xor(samples, hn::Set(D16(), 0x8000)));
}

struct RgbPairs {
  V8 r;
  V8 g;
  V8 b;
};

HWY_INLINE V8 WeaveLimited(VI16 low, VI16 high) {
  const VI16 zero = hn::Zero(DI16());
  const VI16 most = hn::Set(DI16(), 255);
  return Weave(hn::BitCast(D16(), hn::Min(hn::Max(low, zero), most)),
               hn::BitCast(D16(), hn::Min(hn::Max(high, zero), most)));
}

HWY_INLINE RgbPairs ColourOf(const YuvPairs& p) {
  // The upper half of 256c * k is c*k >> 8.
  const auto scaled = [](VI16 chroma, int16_t k)
                          VANTRO_VECTOR_BODY { return hn::MulHigh(chroma, hn::Set(DI16(), k)); };
  const VI16 red = hn::Add(hn::ShiftRight<8>(p.v), scaled(p.v, 103));
  const VI16 green = hn::Add(scaled(p.u, 2 * -44), scaled(p.v, 2 * -91));
  const VI16 blue = hn::Add(hn::ShiftRight<8>(p.u), scaled(p.u, 2 * 99));
  return {WeaveLimited(hn::Add(p.y0, red), hn::Add(p.y1, red)),
          WeaveLimited(hn::Add(p.y0, green), hn::Add(p.y1, green)),
          WeaveLimited(hn::Add(p.y0, blue), hn::Add(p.y1, blue))};
}

// The studio-range formulas in 128ths: with whole numbers for U and V (not less 128),
//   R = (149Y + 204V + (V >> 1) - 28496) >> 7
//   G = (149Y - 104V - 50U      + 17392) >> 7
//   B = (149Y + 2 * (129U       - 17672)) >> 7
// Sums are held less 32768: a saturating addition then limits them to 0 from below.
HWY_INLINE RgbPairs StudioColourOf(VI16 y0, VI16 y1, VI16 u, VI16 v, const StudioFactors& k) {
  const VI16 bias = hn::Set(DI16(), -32768);
  const VI16 luma0 = hn::Xor(Times(y0, k.y), bias);
  const VI16 luma1 = hn::Xor(Times(y1, k.y), bias);
  const auto plus = [](VI16 v16, int16_t offset)
                        VANTRO_VECTOR_BODY { return hn::Add(v16, hn::Set(DI16(), offset)); };
  const VI16 red = plus(hn::Add(Times(v, k.red_v), hn::ShiftRight<1>(v)), -28496);
  const VI16 green = plus(hn::Sub(Times(u, k.green_u), Times(v, k.green_v)), 17392);
  // The whole share of U would not fit 16 bits.
  const VI16 half_blue = plus(Times(u, k.half_blue_u), -17672);
  const auto twice = [&](VI16 luma) VANTRO_VECTOR_BODY {
    return hn::SaturatedAdd(hn::SaturatedAdd(luma, half_blue), half_blue);
  };
  // Limits sums to 255 and 127 128ths and takes their whole part.
  const auto weave = [](VI16 left, VI16 right) VANTRO_VECTOR_BODY {
    const VI16 most = hn::Set(DI16(), -1);
    const V16 low = hn::ShiftLeft<1>(hn::BitCast(D16(), hn::Min(left, most)));
    const V16 high = hn::ShiftLeft<1>(hn::BitCast(D16(), hn::Min(right, most)));
    return hn::BitCast(D8(), hn::Or(hn::ShiftRight<8>(low), hn::And(high, hn::Set(D16(), 0xFF00))));
  };
  return {weave(hn::SaturatedAdd(luma0, red), hn::SaturatedAdd(luma1, red)),
          weave(hn::SaturatedAdd(luma0, green), hn::SaturatedAdd(luma1, green)),
          weave(twice(luma0), twice(luma1))};
}

HWY_INLINE V16 LoadPairs(const uint8_t* bytes, ptrdiff_t pair) {
  return hn::BitCast(D16(), hn::LoadU(D8(), bytes + 2 * pair));
}

HWY_INLINE V16 LoadSamples(const uint8_t* bytes, ptrdiff_t sample) {
  return hn::PromoteTo(D16(), hn::LoadU(hn::Rebind<uint8_t, D16>(), bytes + sample));
}
#endif  // HWY_TARGET != HWY_SCALAR

void Nv21ToBgr(const uint8_t* luma, const uint8_t* vu, ptrdiff_t pairs, uint8_t* bgr) {
  ptrdiff_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  i = ForVectors(pairs, [=](ptrdiff_t at) VANTRO_VECTOR_BODY {
    const V16 y = LoadPairs(luma, at);
    const V16 chroma = LoadPairs(vu, at);
    const RgbPairs c = ColourOf(
        {Signed(LowBytes(y)), Signed(HighBytes(y)), CentreHigh(chroma), CentreLow(chroma)});
    hn::StoreInterleaved3(c.b, c.g, c.r, D8(), bgr + 6 * at);
  });
#endif
  for (; i < pairs; ++i) {
    const int v = vu[2 * i];
    const int u = vu[2 * i + 1];
    StoreBgr(FullRangeToRgb(luma[2 * i], u, v), bgr + 6 * i);
    StoreBgr(FullRangeToRgb(luma[2 * i + 1], u, v), bgr + 6 * i + 3);
  }
}

void UyvyToBgr(const uint8_t* uyvy, ptrdiff_t pairs, uint8_t* bgr) {
  ptrdiff_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  i = ForVectors(pairs, [=](ptrdiff_t at) VANTRO_VECTOR_BODY {
    V16 left, right;  // U, Y0 and V, Y1
    hn::LoadInterleaved2(D16(), reinterpret_cast<const uint16_t*>(uyvy + 4 * at), left, right);
    const RgbPairs c = ColourOf(
        {Signed(HighBytes(left)), Signed(HighBytes(right)), CentreLow(left), CentreLow(right)});
    hn::StoreInterleaved3(c.b, c.g, c.r, D8(), bgr + 6 * at);
  });
#endif
  for (; i < pairs; ++i) {
    const uint8_t* const group = uyvy + 4 * i;
    StoreBgr(FullRangeToRgb(group[1], group[0], group[2]), bgr + 6 * i);
    StoreBgr(FullRangeToRgb(group[3], group[0], group[2]), bgr + 6 * i + 3);
  }
}

void PlanarToBgr(const uint8_t* luma, const uint8_t* u, const uint8_t* v, ptrdiff_t pairs,
                 uint8_t* bgr) {
  ptrdiff_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  i = ForVectors(pairs, [=](ptrdiff_t at) VANTRO_VECTOR_BODY {
    const V16 y = LoadPairs(luma, at);
    const RgbPairs c = ColourOf({Signed(LowBytes(y)), Signed(HighBytes(y)),
                                 CentreLow(LoadSamples(u, at)), CentreLow(LoadSamples(v, at))});
    hn::StoreInterleaved3(c.b, c.g, c.r, D8(), bgr + 6 * at);
  });
#endif
  for (; i < pairs; ++i) {
    StoreBgr(FullRangeToRgb(luma[2 * i], u[i], v[i]), bgr + 6 * i);
    StoreBgr(FullRangeToRgb(luma[2 * i + 1], u[i], v[i]), bgr + 6 * i + 3);
  }
}

void PlanarToRgb(const uint8_t* luma, const uint8_t* u, const uint8_t* v, ptrdiff_t pairs,
                 uint8_t* rgb, [[maybe_unused]] const StudioFactors& k) {
  ptrdiff_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  i = ForVectors(pairs, [=](ptrdiff_t at) VANTRO_VECTOR_BODY {
    const V16 y = LoadPairs(luma, at);
    const RgbPairs c = StudioColourOf(Signed(LowBytes(y)), Signed(HighBytes(y)),
                                      Signed(LoadSamples(u, at)), Signed(LoadSamples(v, at)), k);
    hn::StoreInterleaved3(c.r, c.g, c.b, D8(), rgb + 6 * at);
  });
#endif
  for (; i < pairs; ++i) {
    for (int side = 0; side < 2; ++side) {
      const Rgb8 colour = StudioRangeToRgb(luma[2 * i + side], u[i], v[i]);
      uint8_t* const out = rgb + 6 * i + 3 * side;
      out[0] = colour.r;
      out[1] = colour.g;
      out[2] = colour.b;
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
VANTRO_KERNEL_TABLE(Nv21ToBgr);
VANTRO_KERNEL_TABLE(UyvyToBgr);
VANTRO_KERNEL_TABLE(PlanarToBgr);
VANTRO_KERNEL_TABLE(PlanarToRgb);
}  // namespace

void Nv21RowToBgr(const uint8_t* luma, const uint8_t* vu, ptrdiff_t pairs, uint8_t* bgr) {
  VANTRO_KERNEL(Nv21ToBgr)(luma, vu, pairs, bgr);
}
void UyvyRowToBgr(const uint8_t* uyvy, ptrdiff_t pairs, uint8_t* bgr) {
  VANTRO_KERNEL(UyvyToBgr)(uyvy, pairs, bgr);
}
void PlanarRowToBgr(const uint8_t* luma, const uint8_t* u, const uint8_t* v, ptrdiff_t pairs,
                    uint8_t* bgr) {
  VANTRO_KERNEL(PlanarToBgr)(luma, u, v, pairs, bgr);
}
void PlanarRowToRgb(const uint8_t* luma, const uint8_t* u, const uint8_t* v, ptrdiff_t pairs,
                    uint8_t* rgb) {
  VANTRO_KERNEL(PlanarToRgb)(luma, u, v, pairs, rgb, {149, 204, 104, -50, 129});
}

}  // namespace vantro
#endif  // HWY_ONCE

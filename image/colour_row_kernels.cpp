// A vector holds the left pixels of N pairs in one set of 16-bit lanes and the right pixels in
// another; every intermediate value fits in 16 bits. The last vector of a row overlaps the one
// before, so that only rows shorter than a vector are finished pixel by pixel.

#include "image/colour_row_kernels.h"

#include "image/colour_formulas.h"
#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "image/colour_row_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

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
HWY_INLINE VI16 Times(VI16 v, int16_t factor) { return hn::Mul(v, hn::Set(DI16(), factor)); }

// Bytes low[0], high[0], low[1], ... of lanes that hold 0..255.
HWY_INLINE V8 Weave(V16 low, V16 high) {
  return hn::BitCast(D8(), hn::Or(low, hn::ShiftLeft<8>(high)));
}
HWY_INLINE V8 WeaveLimited(VI16 low, VI16 high) {
  const VI16 zero = hn::Zero(DI16());
  const VI16 most = hn::Set(DI16(), 255);
  return Weave(hn::BitCast(D16(), hn::Min(hn::Max(low, zero), most)),
               hn::BitCast(D16(), hn::Min(hn::Max(high, zero), most)));
}

// N pairs of pixels as they come from memory: left and right luma, chroma less 128.
struct YuvPairs {
  VI16 y0;
  VI16 y1;
  VI16 du;
  VI16 dv;
};

HWY_INLINE YuvPairs Centre(V16 y0, V16 y1, V16 u, V16 v) {
  const VI16 middle = hn::Set(DI16(), 128);
  return {Signed(y0), Signed(y1), hn::Sub(Signed(u), middle), hn::Sub(Signed(v), middle)};
}

struct RgbPairs {
  V8 r;
  V8 g;
  V8 b;
};

HWY_INLINE RgbPairs FullRangeToRgb(const YuvPairs& p) {
  const VI16 red = hn::Add(p.dv, hn::ShiftRight<8>(Times(p.dv, 103)));
  const VI16 green =
      hn::Add(hn::ShiftRight<7>(Times(p.du, -44)), hn::ShiftRight<7>(Times(p.dv, -91)));
  const VI16 blue = hn::Add(p.du, hn::ShiftRight<7>(Times(p.du, 99)));
  return {WeaveLimited(hn::Add(p.y0, red), hn::Add(p.y1, red)),
          WeaveLimited(hn::Add(p.y0, green), hn::Add(p.y1, green)),
          WeaveLimited(hn::Add(p.y0, blue), hn::Add(p.y1, blue))};
}

// The multiples of 256 in the factors are taken out of the shift:
//   R = Y-18 +  V'      + ((42Y + 153V'        - 32) >> 8)
//   G = Y-18 -  V'      + ((42Y +  48V' - 100U' - 32) >> 8)
//   B = Y-18      + 2U' + ((42Y         +   4U' - 32) >> 8)
HWY_INLINE RgbPairs StudioRangeToRgb(const YuvPairs& p) {
  struct Luma {
    VI16 whole;
    VI16 part;
    HWY_INLINE explicit Luma(VI16 y)
        : whole(hn::Sub(y, hn::Set(DI16(), 18))),
          part(hn::Sub(Times(y, 42), hn::Set(DI16(), 32))) {}
    HWY_INLINE VI16 Add(VI16 chroma_whole, VI16 chroma_part) const {
      return hn::Add(hn::Add(whole, chroma_whole), hn::ShiftRight<8>(hn::Add(part, chroma_part)));
    }
  };
  const Luma left(p.y0);
  const Luma right(p.y1);
  const VI16 red_part = Times(p.dv, 153);
  const VI16 green_whole = hn::Neg(p.dv);
  const VI16 green_part = hn::Add(Times(p.dv, 48), Times(p.du, -100));
  const VI16 blue_whole = hn::Add(p.du, p.du);
  const VI16 blue_part = Times(p.du, 4);
  return {WeaveLimited(left.Add(p.dv, red_part), right.Add(p.dv, red_part)),
          WeaveLimited(left.Add(green_whole, green_part), right.Add(green_whole, green_part)),
          WeaveLimited(left.Add(blue_whole, blue_part), right.Add(blue_whole, blue_part))};
}

HWY_INLINE V16 LoadPairs(const uint8_t* bytes, ptrdiff_t pair) {
  return hn::BitCast(D16(), hn::LoadU(D8(), bytes + 2 * pair));
}
HWY_INLINE V16 LoadSamples(const uint8_t* bytes, ptrdiff_t sample) {
  return hn::PromoteTo(D16(), hn::LoadU(hn::Rebind<uint8_t, D16>(), bytes + sample));
}

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

HWY_INLINE V16 Luma(V16 r, V16 g, V16 b) {
  const auto times = [](V16 v, uint16_t factor)
                         HWY_ATTR { return hn::Mul(v, hn::Set(D16(), factor)); };
  return HighBytes(hn::Add(hn::Add(times(r, 77), times(g, 150)), times(b, 29)));
}

HWY_INLINE V16 Chroma(V16 r, V16 g, V16 b, int16_t kr, int16_t kg, int16_t kb) {
  const VI16 sum =
      hn::Add(hn::Add(Times(Signed(r), kr), Times(Signed(g), kg)), Times(Signed(b), kb));
  return hn::BitCast(D16(), hn::Add(hn::ShiftRight<8>(sum), hn::Set(DI16(), 128)));
}
HWY_INLINE V16 BlueChroma(const BgrPairs& p) { return Chroma(p.r0, p.g0, p.b0, -43, -85, 128); }
HWY_INLINE V16 RedChroma(const BgrPairs& p) { return Chroma(p.r0, p.g0, p.b0, 128, -107, -21); }
// Runs `vector(first)` over all pairs when they fill a vector; returns the number of pairs done.
template <typename Vector>
HWY_INLINE ptrdiff_t ForVectors(ptrdiff_t pairs, const Vector& vector) {
  const auto lanes = static_cast<ptrdiff_t>(hn::Lanes(D16()));
  if (pairs < lanes) return 0;
  for (ptrdiff_t i = 0; i < pairs - lanes; i += lanes) vector(i);
  vector(pairs - lanes);
  return pairs;
}
#endif  // HWY_TARGET != HWY_SCALAR

void Nv21ToBgr(const uint8_t* luma, const uint8_t* vu, ptrdiff_t pairs, uint8_t* bgr) {
  ptrdiff_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  i = ForVectors(pairs, [=](ptrdiff_t at) HWY_ATTR {
    const V16 y = LoadPairs(luma, at);
    const V16 chroma = LoadPairs(vu, at);
    const RgbPairs c =
        FullRangeToRgb(Centre(LowBytes(y), HighBytes(y), HighBytes(chroma), LowBytes(chroma)));
    hn::StoreInterleaved3(c.b, c.g, c.r, D8(), bgr + 6 * at);
  });
#endif
  for (; i < pairs; ++i) {
    const int v = vu[2 * i];
    const int u = vu[2 * i + 1];
    StoreBgr(vantro::FullRangeToRgb(luma[2 * i], u, v), bgr + 6 * i);
    StoreBgr(vantro::FullRangeToRgb(luma[2 * i + 1], u, v), bgr + 6 * i + 3);
  }
}

void UyvyToBgr(const uint8_t* uyvy, ptrdiff_t pairs, uint8_t* bgr) {
  ptrdiff_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  i = ForVectors(pairs, [=](ptrdiff_t at) HWY_ATTR {
    V16 left, right;  // U, Y0 and V, Y1
    hn::LoadInterleaved2(D16(), reinterpret_cast<const uint16_t*>(uyvy + 4 * at), left, right);
    const RgbPairs c =
        FullRangeToRgb(Centre(HighBytes(left), HighBytes(right), LowBytes(left), LowBytes(right)));
    hn::StoreInterleaved3(c.b, c.g, c.r, D8(), bgr + 6 * at);
  });
#endif
  for (; i < pairs; ++i) {
    const uint8_t* const group = uyvy + 4 * i;
    StoreBgr(vantro::FullRangeToRgb(group[1], group[0], group[2]), bgr + 6 * i);
    StoreBgr(vantro::FullRangeToRgb(group[3], group[0], group[2]), bgr + 6 * i + 3);
  }
}

void PlanarToBgr(const uint8_t* luma, const uint8_t* u, const uint8_t* v, ptrdiff_t pairs,
                 uint8_t* bgr) {
  ptrdiff_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  i = ForVectors(pairs, [=](ptrdiff_t at) HWY_ATTR {
    const V16 y = LoadPairs(luma, at);
    const RgbPairs c =
        FullRangeToRgb(Centre(LowBytes(y), HighBytes(y), LoadSamples(u, at), LoadSamples(v, at)));
    hn::StoreInterleaved3(c.b, c.g, c.r, D8(), bgr + 6 * at);
  });
#endif
  for (; i < pairs; ++i) {
    StoreBgr(vantro::FullRangeToRgb(luma[2 * i], u[i], v[i]), bgr + 6 * i);
    StoreBgr(vantro::FullRangeToRgb(luma[2 * i + 1], u[i], v[i]), bgr + 6 * i + 3);
  }
}

void PlanarToRgb(const uint8_t* luma, const uint8_t* u, const uint8_t* v, ptrdiff_t pairs,
                 uint8_t* rgb) {
  ptrdiff_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  i = ForVectors(pairs, [=](ptrdiff_t at) HWY_ATTR {
    const V16 y = LoadPairs(luma, at);
    const RgbPairs c =
        StudioRangeToRgb(Centre(LowBytes(y), HighBytes(y), LoadSamples(u, at), LoadSamples(v, at)));
    hn::StoreInterleaved3(c.r, c.g, c.b, D8(), rgb + 6 * at);
  });
#endif
  for (; i < pairs; ++i) {
    for (int k = 0; k < 2; ++k) {
      const Rgb8 colour = vantro::StudioRangeToRgb(luma[2 * i + k], u[i], v[i]);
      uint8_t* const out = rgb + 6 * i + 3 * k;
      out[0] = colour.r;
      out[1] = colour.g;
      out[2] = colour.b;
    }
  }
}

void BgrToUyvy(const uint8_t* bgr, ptrdiff_t pairs, uint8_t* uyvy) {
  ptrdiff_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  i = ForVectors(pairs, [=](ptrdiff_t at) HWY_ATTR {
    const BgrPairs p = LoadBgr(bgr + 6 * at);
    const V8 left = Weave(BlueChroma(p), Luma(p.r0, p.g0, p.b0));
    const V8 right = Weave(RedChroma(p), Luma(p.r1, p.g1, p.b1));
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

void BgrToLuma(const uint8_t* bgr, ptrdiff_t pairs, uint8_t* luma) {
  ptrdiff_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  i = ForVectors(pairs, [=](ptrdiff_t at) HWY_ATTR {
    const BgrPairs p = LoadBgr(bgr + 6 * at);
    hn::StoreU(Weave(Luma(p.r0, p.g0, p.b0), Luma(p.r1, p.g1, p.b1)), D8(), luma + 2 * at);
  });
#endif
  for (; i < pairs; ++i) {
    const uint8_t* const pixels = bgr + 6 * i;
    luma[2 * i] = LumaOf(pixels[2], pixels[1], pixels[0]);
    luma[2 * i + 1] = LumaOf(pixels[5], pixels[4], pixels[3]);
  }
}

void BgrToNv21(const uint8_t* bgr, ptrdiff_t pairs, uint8_t* luma, uint8_t* vu) {
  ptrdiff_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  i = ForVectors(pairs, [=](ptrdiff_t at) HWY_ATTR {
    const BgrPairs p = LoadBgr(bgr + 6 * at);
    hn::StoreU(Weave(Luma(p.r0, p.g0, p.b0), Luma(p.r1, p.g1, p.b1)), D8(), luma + 2 * at);
    hn::StoreU(Weave(RedChroma(p), BlueChroma(p)), D8(), vu + 2 * at);
  });
#endif
  for (; i < pairs; ++i) {
    const uint8_t* const pixels = bgr + 6 * i;
    luma[2 * i] = LumaOf(pixels[2], pixels[1], pixels[0]);
    luma[2 * i + 1] = LumaOf(pixels[5], pixels[4], pixels[3]);
    vu[2 * i] = RedChromaOf(pixels[2], pixels[1], pixels[0]);
    vu[2 * i + 1] = BlueChromaOf(pixels[2], pixels[1], pixels[0]);
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
VANTRO_KERNEL_TABLE(BgrToUyvy);
VANTRO_KERNEL_TABLE(BgrToLuma);
VANTRO_KERNEL_TABLE(BgrToNv21);
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
  VANTRO_KERNEL(PlanarToRgb)(luma, u, v, pairs, rgb);
}
void BgrRowToUyvy(const uint8_t* bgr, ptrdiff_t pairs, uint8_t* uyvy) {
  VANTRO_KERNEL(BgrToUyvy)(bgr, pairs, uyvy);
}
void BgrRowToLuma(const uint8_t* bgr, ptrdiff_t pairs, uint8_t* luma) {
  VANTRO_KERNEL(BgrToLuma)(bgr, pairs, luma);
}
void BgrRowToNv21(const uint8_t* bgr, ptrdiff_t pairs, uint8_t* luma, uint8_t* vu) {
  VANTRO_KERNEL(BgrToNv21)(bgr, pairs, luma, vu);
}

}  // namespace vantro
#endif  // HWY_ONCE

// Resizers and rotations of channels, planes, frames and floats.
#include "tests/kernels/float_formulas.h"
#include "tests/kernels/operations.h"
#include "tests/kernels/resize_formulas.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

// Sizes in any ratio, often one that has a path of its own.
Sizes Draw(Case& c, int least = 1) {
  Sizes s = {};
  s.src_w = c.Size(least);
  s.src_h = c.Int(least, 24);
  s.dst_w = c.Size(least);
  s.dst_h = c.Int(least, 24);
  const int ratio = c.Int(0, 6);
  if (ratio == 0) s.src_w = 2 * s.dst_w, s.src_h = 2 * s.dst_h;
  if (ratio == 1) s.dst_w = 2 * s.src_w, s.dst_h = 2 * s.src_h;
  if (ratio == 2) s.dst_w = 4 * s.src_w, s.dst_h = 4 * s.src_h;
  if (ratio == 3) s.src_w = s.dst_w, s.src_h = s.dst_h;
  if (ratio == 4) s.src_w = c.Int(1, 4) * s.dst_h;
  s.src_w = std::max(s.src_w, least);
  s.src_stride = c.Pitch((s.src_w + 1) / 2 * 2);
  return s;
}

// Rows without gaps.
template <auto kResize, ByteFormula kFormula>
void Packed(Case& c) {
  const Sizes s = Draw(c);
  const uint8_t* src = c.In(s.src());
  uint8_t* dst = c.Out(s.dst());
  c.Expect(dst, s.dst_w, s.dst_h, s.dst_w, [&](int x, int y) { return kFormula(s, src, x, y); });
  kResize(src, dst, s.src_w, s.src_h, s.dst_w, s.dst_h);
}

// One of some channels, to a channel of as many or to a plane.
template <auto kResize, Blend kRule>
void Channel(Case& c) {
  const Sizes s = Draw(c);
  const int step = c.Int(1, 4), dst_step = kRule == Blend::kToPlane ? 1 : step;
  const uint8_t* src = c.In(Case::Plane((s.src_w - 1) * step + 1, s.src_h, step * s.src_stride));
  uint8_t* dst = c.Out(Case::Plane((s.dst_w - 1) * dst_step + 1, s.dst_h, dst_step * s.dst_w));
  const ByteSamples channel = {src, s.src_w, s.src_h, step * s.src_stride, step};
  c.Expect(dst, dst_step * s.dst_w, s.dst_h, dst_step * s.dst_w, [&](int x, int y) {
    return x % dst_step != 0 ? -1 : Blended(kRule, channel, s.dst_w, s.dst_h, x / dst_step, y);
  });
  kResize(src, dst, s.src_w, s.src_stride, s.src_h, s.dst_w, s.dst_h, step);
}

// Whole semi-planar frames with the source's stride behind its width.
template <auto kResize>
void FrameByName(Case& c) {
  const Sizes s = Draw(c);
  const uint8_t* src = c.In(s.src_frame());
  uint8_t* dst = c.Out(s.dst_frame());
  c.Expect(dst, s.dst_w, s.dst_h + s.dst_h / 2, s.dst_w,
           [&](int x, int y) { return FrameByChannels(s, src, x, y); });
  kResize(src, dst, s.src_w, s.src_stride, s.src_h, s.dst_w, s.dst_h);
}

// The luma of a frame: every step-th byte from the first of them.
template <auto kResize, int kStep>
void LumaOfFrame(Case& c) {
  const Sizes s = Draw(c);
  const uint8_t* src =
      c.In(kStep == 2 ? Case::Packed(s.src_w, s.src_h, s.src_stride) : s.src_frame());
  uint8_t* dst = c.Out(s.dst());
  const ByteSamples luma = {src + kStep - 1, s.src_w, s.src_h, kStep * s.src_stride, kStep};
  c.Expect(dst, s.dst_w, s.dst_h, s.dst_w,
           [&](int x, int y) { return Blended(Blend::kToPlane, luma, s.dst_w, s.dst_h, x, y); });
  kResize(src, dst, s.src_w, s.src_stride, s.src_h, s.dst_w, s.dst_h);
}

// The arguments of most: (src, dst, width, height, stride, width, height). The destination has so
// many halves of its height in rows; those that answer give their source.
template <auto kResize, ByteFormula kFormula, int kHalfHeights>
void Strided(Case& c) {
  const Sizes s = Draw(c);
  const uint8_t* src = c.In(kHalfHeights == 2 ? s.src_plane() : s.src_frame());
  const int rows = kHalfHeights * s.dst_h / 2;
  uint8_t* dst = c.Out(kHalfHeights == 3 ? s.dst_frame() : int64_t{s.dst_w} * rows);
  c.Expect(dst, s.dst_w, rows, s.dst_w, [&](int x, int y) { return kFormula(s, src, x, y); });
  const auto run = [&] {
    return kResize(src, dst, s.src_w, s.src_h, s.src_stride, s.dst_w, s.dst_h);
  };
  if constexpr (std::is_void_v<decltype(run())>) {
    run();
  } else {
    c.ExpectTrue(run() == src);
  }
}

// Rows of `kChannels` floats a pixel.
template <auto kResize, FloatFormula kFormula, int kChannels>
void Floats(Case& c) {
  const Sizes s = Draw(c);
  // Pairs are only moved: any bits, signalling NaNs included.
  const float* src = kChannels == 2 ? reinterpret_cast<const float*>(c.In(8 * s.src()))
                                    : c.FloatsIn(s.src(), -300.0f, 300.0f);
  float* dst = c.FloatsOut(kChannels * s.dst(), 0.0f, 1.0f);
  c.Expect(dst, kChannels * s.dst_w, s.dst_h, kChannels * s.dst_w,
           [&](int x, int y) { return kFormula(s, src, x, y); });
  c.ExpectTrue(kResize(src, dst, s.src_w, s.src_h, s.dst_w, s.dst_h) == src);
}

// Three bytes a pixel; of single channels the last two bytes are not there.
template <auto kResize, int kMissing>
void Colours(Case& c) {
  const Sizes s = Draw(c);
  const uint8_t* src = c.In(3 * s.src() - kMissing);
  uint8_t* dst = c.Out(3 * s.dst() - kMissing);
  c.Expect(dst, 3 * s.dst_w, s.dst_h, 3 * s.dst_w,
           [&](int x, int y) { return kMissing != 0 && x % 3 != 0 ? -1 : Colour(s, src, x, y); });
  kResize(src, dst, s.src_w, s.src_h, s.dst_w, s.dst_h);
}

constexpr auto kResizeUchar =
    static_cast<void (*)(const unsigned char*, unsigned char*, int, int, int, int)>(&::ResizeUchar);

}  // namespace

const std::vector<Operation> kResizeOperations = {
    {"ResizeUchar", Packed<kResizeUchar, PackedPlane<Blend::kPlane>>},
    {"ResizeUchar_C", Packed<&vantro_c::ResizeUchar, PackedPlane<Blend::kToPlane>>},
    {"ResizeUchar_upScale2x2", Packed<&ResizeUchar_upScale2x2, PlaneDoubled>},
    {"ResizeUcharChl", Channel<&ResizeUcharChl, Blend::kChannel>},
    {"ResizeUYVYtoYChl", Channel<&ResizeUYVYtoYChl, Blend::kToPlane>},
    {"ResizeUYVYtoY", LumaOfFrame<&ResizeUYVYtoY, 2>},
    {"ResizeNV12toY", LumaOfFrame<&ResizeNV12toY, 1>},
    {"ResizeUcharNV21", FrameByName<&ResizeUcharNV21>},
    {"ResizeUcharNV12", FrameByName<&ResizeUcharNV12>},
    {"ResizeUcharUYVY",
     [](Case& c) {
       const Sizes s = Draw(c, 2);
       const uint8_t* src = c.In(Case::Packed(s.src_w, s.src_h, s.src_stride));
       uint8_t* dst = c.Out(2 * s.dst());
       // The channels of an odd width overlap.
       if (s.dst_w % 2 == 0) {
         c.Expect(dst, 2 * s.dst_w, s.dst_h, 2 * s.dst_w,
                  [&](int x, int y) { return PackedByChannels(s, src, x, y); });
       }
       ResizeUcharUYVY(src, dst, s.src_w, s.src_stride, s.src_h, s.dst_w, s.dst_h);
     }},
    {"ResizeUcharHalfSemiPlanar",
     [](Case& c) {
       Sizes s = Draw(c, 2);
       s.src_w = 2 * s.dst_w;
       s.src_h = 2 * s.dst_h;
       s.src_stride = c.Pitch(s.src_w);
       const int pitch = c.Pitch(s.dst_w);
       const uint8_t* src = c.In(s.src_frame());
       uint8_t* dst = c.Out(Case::SemiPlanar(s.dst_w, s.dst_h, pitch));
       c.Expect(dst, s.dst_w, s.dst_h + s.dst_h / 2, pitch,
                [&](int x, int y) { return FrameHalved(s, src, x, y); });
       ResizeUcharHalfSemiPlanar(src, dst, s.src_w, s.src_h, s.dst_w, s.dst_h, s.src_stride, pitch);
     }},
    {"upscale4X",
     [](Case& c) {
       Sizes s = Draw(c);
       s.dst_w = 4 * s.src_w;
       const uint8_t* src = c.In(s.src_plane());
       uint8_t* dst = c.Out(s.dst());
       c.Expect(dst, s.dst_w, s.dst_h, s.dst_w,
                [&](int x, int y) { return FourTimes(s, src, x, y); });
       upscale4X(src, dst, s.src_w, s.src_h, s.src_stride, s.dst_w, s.dst_h);
     }},
    {"resize", Strided<&resize, PlaneByFactor, 2>},
    {"resizeYInteger", Strided<&resizeYInteger, PlaneByStep, 2>},
    {"resizeNV21", Strided<&resizeNV21, FrameByFactor, 3>},
    {"resizeNV21Integer", Strided<&resizeNV21Integer, FrameByStep, 3>},
    {"resizeY16X",
     [](Case& c) {
       Sizes s = Draw(c);
       s.src_w = 4 * s.dst_w + c.Int(0, 3);
       s.src_h = 4 * s.dst_h + c.Int(0, 3);
       s.src_stride = c.Pitch(s.src_w);
       const int pitch = c.Pitch(s.dst_w);
       const uint8_t* src = c.In(s.src_plane());
       uint8_t* dst = c.Out(int64_t{pitch} * s.dst_h);
       c.Expect(dst, s.dst_w, s.dst_h, pitch,
                [&](int x, int y) { return MeanOf4x4(s, src, x, y); });
       resizeY16X(src, s.src_w, s.src_h, s.src_stride, dst, s.dst_w, s.dst_h, pitch);
     }},
    {"resizeNV1216X",
     [](Case& c) {
       Sizes s = Draw(c, 2);
       s.dst_w += s.dst_w % 2;
       s.dst_h += s.dst_h % 2;
       s.src_w = 4 * s.dst_w;
       s.src_h = 4 * s.dst_h;
       s.src_stride = c.Pitch(s.src_w);
       const int pitch = c.Pitch(s.dst_w);
       const uint8_t* src = c.In(s.src_frame());
       uint8_t* dst = c.Out(int64_t{pitch} * s.dst_h + s.dst() / 2);
       // Packed rows, but the chroma stands where the pitch puts it.
       c.Expect(dst, s.dst_w, s.dst_h, s.dst_w,
                [&](int x, int y) { return MeanOf4x4(s, src, x, y); });
       c.Expect(dst + int64_t{pitch} * s.dst_h, s.dst_w, s.dst_h / 2, s.dst_w,
                [&](int x, int y) { return ChromaMeanOf4x4(s, src, x, y); });
       resizeNV1216X(src, s.src_w, s.src_h, s.src_stride, dst, s.dst_w, s.dst_h, pitch);
     }},
    {"resizeYrotateMinus90", Strided<&resizeYrotateMinus90, Rotated, 2>},
    {"resizeYrotateMinus90Integer", Strided<&resizeYrotateMinus90Integer, RotatedByStep, 2>},
    {"resizeYrotateMinus90_Multi",
     [](Case& c) {
       const Sizes s = Draw(c);
       const int pitch = c.Pitch(s.dst_h);
       const uint8_t* src = c.In(s.src_plane());
       uint8_t* dst = c.Out(Case::Plane(s.dst_h, s.dst_h, pitch));
       c.Expect(dst, s.dst_h, s.dst_h, pitch, [&](int x, int y) { return Rotated(s, src, x, y); });
       c.ExpectTrue(resizeYrotateMinus90_Multi(src, dst, s.src_w, s.src_h, s.src_stride, pitch,
                                               s.dst_h) == src);
     }},
    {"resizeNV21RotateMinus90", Strided<&resizeNV21RotateMinus90, RotatedFrame, 6>},
    {"resizeNV21RotateMinus90_X", Strided<&resizeNV21RotateMinus90_X, RotatedFrameByAddress, 6>},
    {"resizeNV21RotateMinus90Integer",
     Strided<&resizeNV21RotateMinus90Integer, RotatedFrameByPairs, 6>},
    {"Resize_secure", Floats<&Resize_secure, FloatSecure, 1>},
    {"resizeFloat_Bilinear", Floats<&resizeFloat_Bilinear, FloatBilinear, 1>},
    {"resizeFloat_Nearest_2Ch", Floats<&resizeFloat_Nearest_2Ch, FloatNearestPair, 2>},
    {"resizeSpareDisparityNearest",
     [](Case& c) {
       const Sizes s = Draw(c);
       const float* src = c.FloatsIn(s.src(), -2.0f, 20.0f);
       float* dst = c.FloatsOut(s.dst(), 0.0f, 1.0f);
       const float invalid = c.Float(-1.0f, 20.0f);
       c.Expect(dst, s.dst_w, s.dst_h, s.dst_w,
                [&](int x, int y) { return Disparity(s, src, invalid, x, y); });
       c.ExpectTrue(resizeSpareDisparityNearest(src, dst, s.src_w, s.src_h, s.dst_w, s.dst_h,
                                                invalid) == src);
     }},
    {"resizeUcharRGB", Colours<&resizeUcharRGB, 0>},
    {"resizeUcharRGBChl", Colours<&resizeUcharRGBChl, 2>},
};

}  // namespace vantro::test

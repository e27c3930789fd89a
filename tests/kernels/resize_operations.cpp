// Resizers and rotations of channels, planes, frames and floats.
#include "tests/kernels/operations.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

struct Sizes {
  int src_w, src_h, src_stride, dst_w, dst_h;
  int64_t src() const { return int64_t{src_w} * src_h; }
  int64_t dst() const { return int64_t{dst_w} * dst_h; }
  int64_t src_plane() const { return Case::Plane(src_w, src_h, src_stride); }
  int64_t src_frame() const { return Case::SemiPlanar(src_w, src_h, src_stride); }
  int64_t dst_frame() const { return Case::SemiPlanar(dst_w, dst_h, dst_w); }
};

// Sizes in any ratio, often one that has a path of its own.
Sizes Draw(Case& c, int least = 1) {
  Sizes s = {};
  s.src_w = c.Size(least);
  s.src_h = c.Int(least, 24);
  s.dst_w = c.Size(least);
  s.dst_h = c.Int(least, 24);
  const int ratio = c.Int(0, 5);
  if (ratio == 0) s.src_w = 2 * s.dst_w, s.src_h = 2 * s.dst_h;
  if (ratio == 1) s.dst_w = 2 * s.src_w, s.dst_h = 2 * s.src_h;
  if (ratio == 2) s.dst_w = 4 * s.src_w, s.dst_h = 4 * s.src_h;
  if (ratio == 3) s.src_w = s.dst_w, s.src_h = s.dst_h;
  s.src_stride = c.Pitch((s.src_w + 1) / 2 * 2);
  return s;
}

template <auto kResize>
void PackedChannel(Case& c) {
  const Sizes s = Draw(c);
  const uint8_t* src = c.In(s.src());
  kResize(src, c.Out(s.dst()), s.src_w, s.src_h, s.dst_w, s.dst_h);
}

// Whole semi-planar frames with the source's stride behind its height, or behind its width.
template <auto kResize, bool kStrideFirst = false>
void Frame(Case& c) {
  const Sizes s = Draw(c, 2);
  const uint8_t* src = c.In(s.src_frame());
  kResize(src, c.Out(s.dst_frame()), s.src_w, kStrideFirst ? s.src_stride : s.src_h,
          kStrideFirst ? s.src_h : s.src_stride, s.dst_w, s.dst_h);
}

// One of some channels, to a channel of as many or to a plane.
template <auto kResize, bool kToPlane>
void Channel(Case& c) {
  const Sizes s = Draw(c);
  const int step = c.Int(1, 4), dst_step = kToPlane ? 1 : step;
  const uint8_t* src = c.In(Case::Plane((s.src_w - 1) * step + 1, s.src_h, step * s.src_stride));
  uint8_t* dst = c.Out(Case::Plane((s.dst_w - 1) * dst_step + 1, s.dst_h, dst_step * s.dst_w));
  kResize(src, dst, s.src_w, s.src_stride, s.src_h, s.dst_w, s.dst_h, step);
}

template <auto kResize>
void Plane(Case& c) {
  const Sizes s = Draw(c);
  const uint8_t* src = c.In(s.src_plane());
  kResize(src, c.Out(s.dst()), s.src_w, s.src_h, s.src_stride, s.dst_w, s.dst_h);
}

// Three planes of the destination's size.
template <auto kResize>
void RotatedFrame(Case& c) {
  const Sizes s = Draw(c, 2);
  const uint8_t* src = c.In(s.src_frame());
  kResize(src, c.Out(3 * s.dst()), s.src_w, s.src_h, s.src_stride, s.dst_w, s.dst_h);
}

template <auto kResize, int kChannels>
void Floats(Case& c) {
  const Sizes s = Draw(c);
  const float* src = c.FloatsIn(kChannels * s.src(), -300.0f, 300.0f);
  float* dst = c.FloatsOut(kChannels * s.dst(), 0.0f, 1.0f);
  kResize(src, dst, s.src_w, s.src_h, s.dst_w, s.dst_h);
}

// Three bytes a pixel; of single channels the last two bytes are not there.
template <auto kResize, int kMissing>
void Colours(Case& c) {
  const Sizes s = Draw(c);
  const uint8_t* src = c.In(3 * s.src() - kMissing);
  kResize(src, c.Out(3 * s.dst() - kMissing), s.src_w, s.src_h, s.dst_w, s.dst_h);
}

constexpr auto kResizeUchar =
    static_cast<void (*)(const unsigned char*, unsigned char*, int, int, int, int)>(&::ResizeUchar);

}  // namespace

const std::vector<Operation> kResizeOperations = {
    {"ResizeUchar", PackedChannel<kResizeUchar>},
    {"ResizeUchar_C", PackedChannel<&vantro_c::ResizeUchar>},
    {"ResizeUchar_upScale2x2", PackedChannel<&ResizeUchar_upScale2x2>},
    {"ResizeUcharChl", Channel<&ResizeUcharChl, false>},
    {"ResizeUYVYtoYChl", Channel<&ResizeUYVYtoYChl, true>},
    {"ResizeUYVYtoY",
     [](Case& c) {
       const Sizes s = Draw(c);
       const uint8_t* src = c.In(Case::Packed(s.src_w, s.src_h, s.src_stride));
       ResizeUYVYtoY(src, c.Out(s.dst()), s.src_w, s.src_stride, s.src_h, s.dst_w, s.dst_h);
     }},
    {"ResizeNV12toY",
     [](Case& c) {
       const Sizes s = Draw(c, 2);
       const uint8_t* src = c.In(s.src_frame());
       ResizeNV12toY(src, c.Out(s.dst()), s.src_w, s.src_stride, s.src_h, s.dst_w, s.dst_h);
     }},
    {"ResizeUcharNV21", Frame<&ResizeUcharNV21, true>},
    {"ResizeUcharNV12", Frame<&ResizeUcharNV12, true>},
    {"ResizeUcharUYVY",
     [](Case& c) {
       const Sizes s = Draw(c, 2);
       const uint8_t* src = c.In(Case::Packed(s.src_w, s.src_h, s.src_stride));
       uint8_t* dst = c.Out(2 * s.dst());
       ResizeUcharUYVY(src, dst, s.src_w, s.src_stride, s.src_h, s.dst_w, s.dst_h);
     }},
    {"ResizeUcharHalfSemiPlanar",
     [](Case& c) {
       Sizes s = Draw(c, 2);
       s.src_w = 2 * s.dst_w;
       s.src_h = 2 * s.dst_h;
       s.src_stride = c.Pitch(s.src_w);
       const int dst_stride = c.Pitch(s.dst_w);
       const uint8_t* src = c.In(s.src_frame());
       uint8_t* dst = c.Out(Case::SemiPlanar(s.dst_w, s.dst_h, dst_stride));
       ResizeUcharHalfSemiPlanar(src, dst, s.src_w, s.src_h, s.dst_w, s.dst_h, s.src_stride,
                                 dst_stride);
     }},
    {"upscale4X",
     [](Case& c) {
       Sizes s = Draw(c);
       s.dst_w = 4 * s.src_w;
       const uint8_t* src = c.In(s.src_plane());
       upscale4X(src, c.Out(s.dst()), s.src_w, s.src_h, s.src_stride, s.dst_w, s.dst_h);
     }},
    {"resize", Plane<&resize>},
    {"resizeYInteger", Plane<&resizeYInteger>},
    {"resizeNV21", Frame<&resizeNV21>},
    {"resizeNV21Integer", Frame<&resizeNV21Integer>},
    {"resizeY16X",
     [](Case& c) {
       Sizes s = Draw(c);
       s.src_w = 4 * s.dst_w + c.Int(0, 3);
       s.src_h = 4 * s.dst_h + c.Int(0, 3);
       s.src_stride = c.Pitch(s.src_w);
       const int pitch = c.Pitch(s.dst_w);
       const uint8_t* src = c.In(s.src_plane());
       uint8_t* dst = c.Out(int64_t{pitch} * s.dst_h);
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
       resizeNV1216X(src, s.src_w, s.src_h, s.src_stride, dst, s.dst_w, s.dst_h, pitch);
     }},
    {"resizeYrotateMinus90", Plane<&resizeYrotateMinus90>},
    {"resizeYrotateMinus90Integer", Plane<&resizeYrotateMinus90Integer>},
    {"resizeYrotateMinus90_Multi",
     [](Case& c) {
       const Sizes s = Draw(c);
       const int pitch = c.Pitch(s.dst_h);
       const uint8_t* src = c.In(s.src_plane());
       uint8_t* dst = c.Out(Case::Plane(s.dst_h, s.dst_h, pitch));
       resizeYrotateMinus90_Multi(src, dst, s.src_w, s.src_h, s.src_stride, pitch, s.dst_h);
     }},
    {"resizeNV21RotateMinus90", RotatedFrame<&resizeNV21RotateMinus90>},
    {"resizeNV21RotateMinus90_X", RotatedFrame<&resizeNV21RotateMinus90_X>},
    {"resizeNV21RotateMinus90Integer", RotatedFrame<&resizeNV21RotateMinus90Integer>},
    {"Resize_secure", Floats<&Resize_secure, 1>},
    {"resizeFloat_Bilinear", Floats<&resizeFloat_Bilinear, 1>},
    {"resizeFloat_Nearest_2Ch", Floats<&resizeFloat_Nearest_2Ch, 2>},
    {"resizeSpareDisparityNearest",
     [](Case& c) {
       const Sizes s = Draw(c);
       const float* src = c.FloatsIn(s.src(), -2.0f, 100.0f);
       float* dst = c.FloatsOut(s.dst(), 0.0f, 1.0f);
       resizeSpareDisparityNearest(src, dst, s.src_w, s.src_h, s.dst_w, s.dst_h,
                                   c.Float(-1.0f, 20.0f));
     }},
    {"resizeUcharRGB", Colours<&resizeUcharRGB, 0>},
    {"resizeUcharRGBChl", Colours<&resizeUcharRGBChl, 2>},
};

}  // namespace vantro::test

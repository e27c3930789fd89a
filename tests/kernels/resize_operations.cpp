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
  switch (c.Int(0, 5)) {
    case 0:
      s.src_w = 2 * s.dst_w;
      s.src_h = 2 * s.dst_h;
      break;
    case 1:
      s.dst_w = 2 * s.src_w;
      s.dst_h = 2 * s.src_h;
      break;
    case 2:
      s.dst_w = 4 * s.src_w;
      s.dst_h = 4 * s.src_h;
      break;
    case 3:
      s.src_w = s.dst_w;
      s.src_h = s.dst_h;
      break;
    default:
      break;
  }
  s.src_stride = c.Pitch((s.src_w + 1) / 2 * 2);
  c.Note(s.src_w, s.src_h, s.src_stride, s.dst_w, s.dst_h);
  return s;
}

template <auto kResize>
void PackedChannel(Case& c) {
  const Sizes s = Draw(c);
  const uint8_t* src = c.In(s.src());
  kResize(src, c.Out(s.dst()), s.src_w, s.src_h, s.dst_w, s.dst_h);
}

// Whole semi-planar frames with the source's stride behind its height (1) or its width (2).
template <auto kResize>
void FrameHeightFirst(Case& c) {
  const Sizes s = Draw(c, 2);
  const uint8_t* src = c.In(s.src_frame());
  kResize(src, c.Out(s.dst_frame()), s.src_w, s.src_h, s.src_stride, s.dst_w, s.dst_h);
}

template <auto kResize>
void FrameStrideFirst(Case& c) {
  const Sizes s = Draw(c, 2);
  const uint8_t* src = c.In(s.src_frame());
  kResize(src, c.Out(s.dst_frame()), s.src_w, s.src_stride, s.src_h, s.dst_w, s.dst_h);
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

template <auto kResize>
void Floats(Case& c, int channels) {
  const Sizes s = Draw(c);
  const float* src = c.FloatsIn(channels * s.src(), -300.0f, 300.0f);
  float* dst = c.FloatsOut(channels * s.dst(), 0.0f, 1.0f);
  kResize(src, dst, s.src_w, s.src_h, s.dst_w, s.dst_h);
}

constexpr auto kResizeUchar =
    static_cast<void (*)(const unsigned char*, unsigned char*, int, int, int, int)>(&::ResizeUchar);

}  // namespace

const std::vector<Operation> kResizeOperations = {
    {"ResizeUchar", PackedChannel<kResizeUchar>},
    {"ResizeUchar_C", PackedChannel<&vantro_c::ResizeUchar>},
    {"ResizeUchar_upScale2x2", PackedChannel<&ResizeUchar_upScale2x2>},
    {"ResizeUcharChl",
     [](Case& c) {
       const Sizes s = Draw(c);
       const int step = c.Int(1, 4);
       c.Note(step);
       const uint8_t* src =
           c.In(Case::Plane((s.src_w - 1) * step + 1, s.src_h, step * s.src_stride));
       uint8_t* dst = c.Out(Case::Plane((s.dst_w - 1) * step + 1, s.dst_h, step * s.dst_w));
       ResizeUcharChl(src, dst, s.src_w, s.src_stride, s.src_h, s.dst_w, s.dst_h, step);
     }},
    {"ResizeUYVYtoYChl",
     [](Case& c) {
       const Sizes s = Draw(c);
       const int step = c.Int(1, 4);
       c.Note(step);
       const uint8_t* src =
           c.In(Case::Plane((s.src_w - 1) * step + 1, s.src_h, step * s.src_stride));
       uint8_t* dst = c.Out(s.dst());
       ResizeUYVYtoYChl(src, dst, s.src_w, s.src_stride, s.src_h, s.dst_w, s.dst_h, step);
     }},
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
    {"ResizeUcharNV21", FrameStrideFirst<&ResizeUcharNV21>},
    {"ResizeUcharNV12", FrameStrideFirst<&ResizeUcharNV12>},
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
       c.Note(s.src_stride, dst_stride);
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
    {"resizeNV21", FrameHeightFirst<&resizeNV21>},
    {"resizeNV21Integer", FrameHeightFirst<&resizeNV21Integer>},
    {"resizeY16X",
     [](Case& c) {
       Sizes s = Draw(c);
       s.src_w = 4 * s.dst_w + c.Int(0, 3);
       s.src_h = 4 * s.dst_h + c.Int(0, 3);
       s.src_stride = c.Pitch(s.src_w);
       const int pitch = c.Pitch(s.dst_w);
       c.Note(s.src_w, s.src_h, s.src_stride, pitch);
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
       c.Note(s.src_w, s.src_h, s.src_stride, pitch);
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
       c.Note(pitch);
       const uint8_t* src = c.In(s.src_plane());
       uint8_t* dst = c.Out(Case::Plane(s.dst_h, s.dst_h, pitch));
       resizeYrotateMinus90_Multi(src, dst, s.src_w, s.src_h, s.src_stride, pitch, s.dst_h);
     }},
    {"resizeNV21RotateMinus90", RotatedFrame<&resizeNV21RotateMinus90>},
    {"resizeNV21RotateMinus90_X", RotatedFrame<&resizeNV21RotateMinus90_X>},
    {"resizeNV21RotateMinus90Integer", RotatedFrame<&resizeNV21RotateMinus90Integer>},
    {"Resize_secure", [](Case& c) { Floats<&Resize_secure>(c, 1); }},
    {"resizeFloat_Bilinear", [](Case& c) { Floats<&resizeFloat_Bilinear>(c, 1); }},
    {"resizeFloat_Nearest_2Ch", [](Case& c) { Floats<&resizeFloat_Nearest_2Ch>(c, 2); }},
    {"resizeSpareDisparityNearest",
     [](Case& c) {
       const Sizes s = Draw(c);
       const float* src = c.FloatsIn(s.src(), -2.0f, 100.0f);
       float* dst = c.FloatsOut(s.dst(), 0.0f, 1.0f);
       resizeSpareDisparityNearest(src, dst, s.src_w, s.src_h, s.dst_w, s.dst_h,
                                   c.Float(-1.0f, 20.0f));
     }},
    {"resizeUcharRGB",
     [](Case& c) {
       const Sizes s = Draw(c);
       const uint8_t* src = c.In(3 * s.src());
       resizeUcharRGB(src, c.Out(3 * s.dst()), s.src_w, s.src_h, s.dst_w, s.dst_h);
     }},
    {"resizeUcharRGBChl",
     [](Case& c) {
       const Sizes s = Draw(c);
       const uint8_t* src = c.In(3 * s.src() - 2);
       resizeUcharRGBChl(src, c.Out(3 * s.dst() - 2), s.src_w, s.src_h, s.dst_w, s.dst_h);
     }},
};

}  // namespace vantro::test

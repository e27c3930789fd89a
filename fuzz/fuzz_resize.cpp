// The resizers and rotations with any sizes, strides and steps.
#include "fuzz/operations.h"
#include "vantro/image.h"

namespace vantro::fuzz {
namespace {

// Sizes in any ratio, often one that has a path of its own.
struct Sizes {
  explicit Sizes(FuzzSource& in)
      : src_w(in.Size()), src_h(in.Size()), dst_w(in.Size()), dst_h(in.Size()) {
    const int factor = 1 << in.Int(0, 2);
    const int kind = in.Int(0, 3);
    if (kind == 0 && IsSmall(src_w) && IsSmall(src_h)) {
      dst_w = factor * src_w;
      dst_h = factor * src_h;
    } else if (kind == 1 && IsSmall(dst_w) && IsSmall(dst_h)) {
      src_w = factor * dst_w;
      src_h = factor * dst_h;
    }
    src_stride = in.Pitch(src_w);
  }
  int64_t src() const { return Plane(src_w, src_h, src_w); }
  int64_t dst() const { return Plane(dst_w, dst_h, dst_w); }
  int64_t src_plane() const { return Plane(src_w, src_h, src_stride); }
  int64_t src_frame() const { return SemiPlanar(src_w, src_h, src_stride); }
  int64_t dst_frame() const { return SemiPlanar(dst_w, dst_h, dst_w); }
  // A source row of blocks of four columns. Where they lie beyond the picture's width, they take
  // the room behind its rows, which all rows then have.
  int64_t block_row() const { return int64_t{4} * dst_w <= src_w ? src_w : src_stride; }

  int src_w, src_h, dst_w, dst_h, src_stride;
};

template <auto kResize>
void PackedChannel(FuzzSource& in) {
  const Sizes s(in);
  const uint8_t* src = in.Bytes(s.src());
  kResize(src, in.Bytes(s.dst()), s.src_w, s.src_h, s.dst_w, s.dst_h);
}

// One channel of `step`, into the same channel of `step` or a packed plane.
template <auto kResize, bool kPacked>
void Channel(FuzzSource& in) {
  const Sizes s(in);
  const int step = in.OneIn(8) ? in.Any() : in.Int(-1, 5);
  const auto bytes = [step](int64_t w, int64_t h, int64_t pitch) {
    const int64_t pitch_bytes = pitch > 0 && step > 0 ? step * pitch : 0;
    return pitch < w || w < 1 || step < 1 ? 0 : Plane((w - 1) * step + 1, h, pitch_bytes);
  };
  const uint8_t* src = in.Bytes(bytes(s.src_w, s.src_h, s.src_stride));
  uint8_t* dst = in.Bytes(kPacked ? s.dst() : bytes(s.dst_w, s.dst_h, s.dst_w));
  kResize(src, dst, s.src_w, s.src_stride, s.src_h, s.dst_w, s.dst_h, step);
}

template <auto kResize>
void PlaneByStride(FuzzSource& in) {
  const Sizes s(in);
  const uint8_t* src = in.Bytes(s.src_plane());
  kResize(src, in.Bytes(s.dst()), s.src_w, s.src_h, s.src_stride, s.dst_w, s.dst_h);
}

template <auto kResize>
void Frame(FuzzSource& in) {
  const Sizes s(in);
  const uint8_t* src = in.Bytes(s.src_frame());
  kResize(src, in.Bytes(s.dst_frame()), s.src_w, s.src_h, s.src_stride, s.dst_w, s.dst_h);
}

// The same with the stride before the height.
template <auto kResize>
void FrameStrideFirst(FuzzSource& in) {
  const Sizes s(in);
  const uint8_t* src = in.Bytes(s.src_frame());
  kResize(src, in.Bytes(s.dst_frame()), s.src_w, s.src_stride, s.src_h, s.dst_w, s.dst_h);
}

// Three planes of the destination's size.
template <auto kResize>
void RotatedFrame(FuzzSource& in) {
  const Sizes s(in);
  const uint8_t* src = in.Bytes(s.src_frame());
  kResize(src, in.Bytes(3 * s.dst()), s.src_w, s.src_h, s.src_stride, s.dst_w, s.dst_h);
}

// Pixels of several bytes or floats.
template <auto kResize, int kChannels>
void Colour(FuzzSource& in) {
  const Sizes s(in);
  const uint8_t* src = in.Bytes(kChannels * s.src());
  kResize(src, in.Bytes(kChannels * s.dst()), s.src_w, s.src_h, s.dst_w, s.dst_h);
}

template <auto kResize, int kChannels>
void Floats(FuzzSource& in) {
  const Sizes s(in);
  const float* src = in.Floats(kChannels * s.src());
  kResize(src, in.Floats(kChannels * s.dst()), s.src_w, s.src_h, s.dst_w, s.dst_h);
}

void Disparity(FuzzSource& in) {
  const Sizes s(in);
  const float* src = in.Floats(s.src());
  resizeSpareDisparityNearest(src, in.Floats(s.dst()), s.src_w, s.src_h, s.dst_w, s.dst_h,
                              in.Take<float>());
}

template <auto kResize, int kBytes>
void FromPacked(FuzzSource& in) {
  const Sizes s(in);
  const uint8_t* src = in.Bytes(Packed(s.src_w, s.src_h, s.src_stride));
  kResize(src, in.Bytes(kBytes * s.dst()), s.src_w, s.src_stride, s.src_h, s.dst_w, s.dst_h);
}

void ToLuma(FuzzSource& in) {
  const Sizes s(in);
  const uint8_t* src = in.Bytes(s.src_plane());
  ResizeNV12toY(src, in.Bytes(s.dst()), s.src_w, s.src_stride, s.src_h, s.dst_w, s.dst_h);
}

void HalfSemiPlanar(FuzzSource& in) {
  const Sizes s(in);
  const int pitch = in.Pitch(s.dst_w);
  const int stride = in.OneIn(2) ? s.src_stride : in.Pitch(IsSmall(s.dst_w) ? 2 * s.dst_w : 0);
  // The last column is not sampled.
  const uint8_t* src = in.Bytes(SemiPlanar(int64_t{2} * s.dst_w - 1, s.src_h, stride));
  uint8_t* dst = in.Bytes(SemiPlanar(s.dst_w, s.dst_h, pitch));
  ResizeUcharHalfSemiPlanar(src, dst, s.src_w, s.src_h, s.dst_w, s.dst_h, stride, pitch);
}

void Mean16(FuzzSource& in) {
  const Sizes s(in);
  const int pitch = in.Pitch(s.dst_w);
  const uint8_t* src = in.Bytes(Plane(s.block_row(), s.src_h, s.src_stride));
  uint8_t* dst = in.Bytes(Plane(s.dst_w, s.dst_h, pitch));
  resizeY16X(src, s.src_w, s.src_h, s.src_stride, dst, s.dst_w, s.dst_h, pitch);
}

// Rows are packed; only the place of the chroma goes by the pitch.
void Mean16SemiPlanar(FuzzSource& in) {
  const Sizes s(in);
  const int pitch = in.Pitch(s.dst_w);
  const uint8_t* src = in.Bytes(SemiPlanar(s.block_row(), s.src_h, s.src_stride));
  const int64_t chroma = Plane(s.dst_w / 2 * 2, s.dst_h / 2, s.dst_w);
  uint8_t* dst =
      in.Bytes(pitch < s.dst_w || chroma == 0 ? s.dst() : int64_t{pitch} * s.dst_h + chroma);
  resizeNV1216X(src, s.src_w, s.src_h, s.src_stride, dst, s.dst_w, s.dst_h, pitch);
}

void RotateSquare(FuzzSource& in) {
  const Sizes s(in);
  const int pitch = in.Pitch(s.dst_h);
  const uint8_t* src = in.Bytes(s.src_plane());
  uint8_t* dst = in.Bytes(Plane(s.dst_h, s.dst_h, pitch));
  resizeYrotateMinus90_Multi(src, dst, s.src_w, s.src_h, s.src_stride, pitch, s.dst_h);
}

constexpr auto kResizeUchar =
    static_cast<void (*)(const unsigned char*, unsigned char*, int, int, int, int)>(&::ResizeUchar);

constexpr Operation kOperations[] = {
    PackedChannel<kResizeUchar>,
    PackedChannel<&vantro_c::ResizeUchar>,
    PackedChannel<&ResizeUchar_upScale2x2>,
    Channel<&ResizeUcharChl, false>,
    Channel<&ResizeUYVYtoYChl, true>,
    FromPacked<&ResizeUYVYtoY, 1>,
    FromPacked<&ResizeUcharUYVY, 2>,
    ToLuma,
    FrameStrideFirst<&ResizeUcharNV21>,
    FrameStrideFirst<&ResizeUcharNV12>,
    HalfSemiPlanar,
    PlaneByStride<&upscale4X>,
    PlaneByStride<&resize>,
    PlaneByStride<&resizeYInteger>,
    PlaneByStride<&resizeYrotateMinus90>,
    PlaneByStride<&resizeYrotateMinus90Integer>,
    Frame<&resizeNV21>,
    Frame<&resizeNV21Integer>,
    RotatedFrame<&resizeNV21RotateMinus90>,
    RotatedFrame<&resizeNV21RotateMinus90_X>,
    RotatedFrame<&resizeNV21RotateMinus90Integer>,
    Mean16,
    Mean16SemiPlanar,
    RotateSquare,
    Colour<&resizeUcharRGB, 3>,
    Floats<&Resize_secure, 1>,
    Floats<&resizeFloat_Bilinear, 1>,
    Floats<&resizeFloat_Nearest_2Ch, 2>,
    Disparity,
};

}  // namespace
}  // namespace vantro::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return vantro::fuzz::RunOperation(vantro::fuzz::kOperations, data, size);
}

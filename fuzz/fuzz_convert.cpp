// The colour converters with any sizes, strides and row ranges.
#include <algorithm>

#include "fuzz/operations.h"
#include "vantro/image.h"

namespace vantro::fuzz {
namespace {

struct Frame {
  explicit Frame(FuzzSource& in) : w(in.Size()), h(in.Size()), stride(in.Pitch(w)) {}
  int64_t bgr() const { return Plane(int64_t{3} * w, h, int64_t{3} * w); }
  int w, h, stride;
};

constexpr Operation kOperations[] = {
    [](FuzzSource& in) {
      const Frame f(in);
      const int dst_stride = in.Pitch(f.w);
      const int64_t luma = int64_t{f.stride} * f.h;
      const int64_t chroma = Plane(f.w / 2, f.h / 2, f.stride / 2);
      const uint8_t* src =
          in.Bytes(chroma == 0 ? Plane(f.w, f.h, f.stride) : luma + luma / 4 + chroma);
      uint8_t* dst = in.Bytes(Plane(int64_t{3} * f.w, f.h, int64_t{3} * dst_stride));
      convertI420ToRGBU8(dst, src, f.w, f.h, dst_stride, f.stride);
    },
    [](FuzzSource& in) {
      const Frame f(in);
      const int64_t luma = Plane(f.w, f.h, f.w);
      uint8_t* src = in.Bytes(luma + luma / 2 + Plane(f.w / 2, f.h, f.w / 2));
      YV16ToRGB(src, f.w, f.h, in.Bytes(f.bgr()));
    },
    [](FuzzSource& in) {
      const Frame f(in);
      uint8_t* src = in.Bytes(Packed(f.w, f.h, f.stride));
      UYVYToRGB(src, f.stride, f.w, in.Size(), f.h, in.Bytes(f.bgr()));
    },
    [](FuzzSource& in) {
      const Frame f(in);
      uint8_t* src = in.Bytes(f.bgr());
      RGBToUYVY(src, f.w, f.h, in.Bytes(Packed(f.w, f.h, f.stride)), f.stride);
    },
    [](FuzzSource& in) {
      const Frame f(in);
      uint8_t* src = in.Bytes(SemiPlanar(f.w, f.h, f.stride));
      NV21ToRGB(src, f.stride, f.w, f.h, in.Bytes(f.bgr()));
    },
    [](FuzzSource& in) {
      const Frame f(in);
      uint8_t* src = in.Bytes(f.bgr());
      RGBToNV21(src, f.w, f.h, in.Bytes(SemiPlanar(f.w, f.h, f.stride)), f.stride);
    },
    [](FuzzSource& in) {
      const int first = in.Any(), second = in.Any(), third = in.Any();
      RgbToHsv({first, second, third});
      HsvToRgb({first, second, third});
    },
};

}  // namespace
}  // namespace vantro::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return vantro::fuzz::RunOperation(vantro::fuzz::kOperations, data, size);
}

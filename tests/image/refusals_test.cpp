// No operation writes, nor reads outside its buffers, for arguments that describe no picture.

#include <gtest/gtest.h>

#include <climits>

#include "tests/image/image_buffers.h"
#include "tests/support/log_capture.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

struct Sizes {
  int src_width, src_height, src_stride, dst_width, dst_height;
};

std::ostream& operator<<(std::ostream& out, const Sizes& s) {
  return out << s.src_width << "/" << s.src_stride << "x" << s.src_height << " to " << s.dst_width
             << "x" << s.dst_height;
}

// The operations by the order of their arguments.
template <auto... operations>
void Packed(auto* src, auto* dst, const Sizes& s, auto... more) {
  (operations(src, dst, s.src_width, s.src_height, s.dst_width, s.dst_height, more...), ...);
}
template <auto... operations>
void Strided(uint8_t* src, uint8_t* dst, const Sizes& s) {
  (operations(src, dst, s.src_width, s.src_height, s.src_stride, s.dst_width, s.dst_height), ...);
}
template <auto... operations>
void StrideSecond(uint8_t* src, uint8_t* dst, const Sizes& s, auto... step) {
  (operations(src, dst, s.src_width, s.src_stride, s.src_height, s.dst_width, s.dst_height,
              step...),
   ...);
}

void CallWithoutStride(uint8_t* src, uint8_t* dst, const Sizes& s) {
  constexpr void (*kResizeUchar)(const uint8_t*, uint8_t*, int, int, int, int) = &::ResizeUchar;
  Packed<kResizeUchar, vantro_c::ResizeUchar, ResizeUchar_upScale2x2, resizeUcharRGB>(src, dst, s);
  auto* const floats = reinterpret_cast<float*>(src);
  auto* const out = reinterpret_cast<float*>(dst);
  Packed<Resize_secure, resizeFloat_Bilinear, resizeFloat_Nearest_2Ch>(floats, out, s);
  Packed<resizeSpareDisparityNearest>(floats, out, s, 0.0f);
}

void CallWithStride(uint8_t* src, uint8_t* dst, const Sizes& s) {
  Strided<resize, resizeNV21, resizeNV21Integer, resizeYInteger, resizeYrotateMinus90,
          resizeYrotateMinus90_Multi, resizeYrotateMinus90Integer, resizeNV21RotateMinus90,
          resizeNV21RotateMinus90_X, resizeNV21RotateMinus90Integer>(src, dst, s);
  StrideSecond<ResizeUYVYtoY, ResizeNV12toY, ResizeUcharNV21, ResizeUcharNV12, ResizeUcharUYVY>(
      src, dst, s);
  StrideSecond<ResizeUcharChl, ResizeUYVYtoYChl>(src, dst, s, 1);
  for (const auto reduce : {resizeY16X, resizeNV1216X}) {
    reduce(src, s.src_width, s.src_height, s.src_stride, dst, s.dst_width, s.dst_height,
           s.dst_width);
  }
}

void CallWithoutTarget(uint8_t* src, uint8_t* dst, const Sizes& s) {
  const int width = s.src_width, height = s.src_height, stride = s.src_stride;
  auto* const floats = reinterpret_cast<float*>(src);
  auto* const out = reinterpret_cast<float*>(dst);
  guidedfilter_f(nullptr, out, floats, floats, width, height, stride, 1, 1.0f);
  boxfilter_iter_f(nullptr, floats, out, width, height, stride, 1);
  upscale4X(src, dst, width, height, stride, 32, 2);
  convertI420ToRGBU8(dst, src, width, height, stride, stride);
  UYVYToRGB(src, stride, width, 0, height, dst);
  UYVYToRGB(src, 8, 8, 3, 2, dst);
  convertI420ToRGBU8(dst, src, 8, 1, 8, 8);
  RGBToUYVY(src, width, height, dst, stride);
  NV21ToRGB(src, stride, width, height, dst);
  RGBToNV21(src, width, height, dst, stride);
  if (stride == 8) YV16ToRGB(src, width, height, dst);
}

TEST(Refusals, WriteNothing) {
  const LogCapture log;
  const auto expect = [](auto call, const Sizes& s, bool with_src = true, bool with_dst = true) {
    SCOPED_TRACE(s);
    Guarded<uint8_t> src(Bytes(512, 1));
    Guarded<uint8_t> dst(Bytes(512, 7));
    call(with_src ? src.get() : nullptr, with_dst ? dst.get() : nullptr, s);
    EXPECT_EQ(dst.values(), Bytes(512, 7));
  };
  // A picture for every operation, and what each group of them reads of it.
  const Sizes good = {8, 8, 8, 2, 2};
  const auto width = &Sizes::src_width, height = &Sizes::src_height, stride = &Sizes::src_stride,
             dst_width = &Sizes::dst_width, dst_height = &Sizes::dst_height;
  const std::pair<decltype(&CallWithStride), std::vector<int Sizes::*>> kGroups[] = {
      {&CallWithoutStride, {width, height, dst_width, dst_height}},
      {&CallWithStride, {width, height, stride, dst_width, dst_height}},
      {&CallWithoutTarget, {width, height, stride}}};
  for (const auto& [call, fields] : kGroups) {
    expect(call, good, false, true);
    expect(call, good, true, false);
    for (int Sizes::*field : fields) {
      for (int bad : {0, -1, -4, INT_MIN}) {
        Sizes s = good;
        s.*field = bad;
        expect(call, s);
      }
    }
  }
  expect(&CallWithStride, {8, 8, 7, 2, 2});  // rows overlap
  expect(&CallWithoutTarget, {8, 8, 7, 2, 2});
}

}  // namespace
}  // namespace vantro::test

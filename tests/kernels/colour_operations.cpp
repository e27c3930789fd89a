// Pixel-format conversion.
#include "tests/kernels/operations.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

struct Frame {
  int width, height, stride;
};

Frame DrawFrame(Case& c) {
  Frame f = {};
  f.width = c.Size(2);
  f.height = c.Int(2, 9);
  f.stride = c.Pitch((f.width + 1) / 2 * 2);
  return f;
}

}  // namespace

const std::vector<Operation> kColourOperations = {
    {"convertI420ToRGBU8",
     [](Case& c) {
       Frame f = DrawFrame(c);
       f.stride += f.stride % 2;
       f.height += f.height % 2;
       const int dst_stride = c.Pitch(f.width);
       const uint8_t* src = c.In(int64_t{f.stride} * f.height * 3 / 2);
       uint8_t* dst = c.Out(Case::Plane(3 * f.width, f.height, 3 * dst_stride));
       convertI420ToRGBU8(dst, src, f.width, f.height, dst_stride, f.stride);
     }},
    {"YV16ToRGB",
     [](Case& c) {
       const Frame f = DrawFrame(c);
       // The V plane stands half a luma plane behind U, also where rows of pairs need less.
       uint8_t* src = c.In(int64_t{2} * f.width * f.height);
       c.Result(YV16ToRGB(src, f.width, f.height, c.Out(int64_t{3} * f.width * f.height)));
     }},
    {"UYVYToRGB",
     [](Case& c) {
       const Frame f = DrawFrame(c);
       const int begin = c.Int(0, f.height - 1);
       const int end = c.Int(begin, f.height);
       uint8_t* src = c.In(Case::Packed(f.width, f.height, f.stride));
       uint8_t* dst = c.Out(int64_t{3} * f.width * f.height);
       c.Result(UYVYToRGB(src, f.stride, f.width, begin, end, dst));
     }},
    {"RGBToUYVY",
     [](Case& c) {
       const Frame f = DrawFrame(c);
       uint8_t* src = c.In(int64_t{3} * f.width * f.height);
       uint8_t* dst = c.Out(Case::Packed(f.width, f.height, f.stride));
       c.Result(RGBToUYVY(src, f.width, f.height, dst, f.stride));
     }},
    {"NV21ToRGB",
     [](Case& c) {
       const Frame f = DrawFrame(c);
       uint8_t* src = c.In(Case::SemiPlanar(f.width, f.height, f.stride));
       uint8_t* dst = c.Out(int64_t{3} * f.width * f.height);
       c.Result(NV21ToRGB(src, f.stride, f.width, f.height, dst));
     }},
    {"RGBToNV21",
     [](Case& c) {
       const Frame f = DrawFrame(c);
       uint8_t* src = c.In(int64_t{3} * f.width * f.height);
       uint8_t* dst = c.Out(Case::SemiPlanar(f.width, f.height, f.stride));
       c.Result(RGBToNV21(src, f.width, f.height, dst, f.stride));
     }},
};

}  // namespace vantro::test

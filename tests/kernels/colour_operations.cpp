// Pixel-format conversion; planes against the single-pixel functions.
#include <algorithm>

#include "tests/kernels/operations.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

struct Frame {
  int width, height, stride;
  bool has_chroma() const { return width >= 2 && height >= 2; }
};

Frame DrawFrame(Case& c) {
  Frame f = {};
  f.width = c.Size();
  f.height = c.Int(1, 9);
  f.stride = c.Pitch((f.width + 1) / 2 * 2);
  return f;
}

// Rows of three bytes a pixel, of what yuv(x, y) gives.
template <typename Pixel>
void ExpectBgr(Case& c, const uint8_t* dst, const Frame& f, Pixel yuv) {
  c.Expect(dst, 3 * f.width, f.height, 3 * f.width, [&](int byte, int y) {
    const YUVCOLOR from = yuv(byte / 3, y);
    const RGBCOLOR rgb = yuvTorgb(static_cast<uint8_t>(from.y), static_cast<uint8_t>(from.u),
                                  static_cast<uint8_t>(from.v));
    return byte % 3 == 0 ? rgb.blue : byte % 3 == 1 ? rgb.green : rgb.red;
  });
}

YUVCOLOR YuvAt(const uint8_t* bgr, const Frame& f, int x, int y) {
  const uint8_t* const pixel = bgr + 3 * (int64_t{y} * f.width + x);
  return rgbToyuv(pixel[2], pixel[1], pixel[0]);
}

int StudioRange(int channel, int y, int u, int v) {
  const int c = 298 * (y - 16), du = u - 128, dv = v - 128;
  const int sums[] = {c + 409 * dv, c - 208 * dv - 100 * du, c + 516 * du};
  return std::clamp((sums[channel] + 128) >> 8, 0, 255);
}

}  // namespace

const std::vector<Operation> kColourOperations = {
    {"convertI420ToRGBU8",
     [](Case& c) {
       const Frame f = DrawFrame(c);
       const int dst_stride = c.Pitch(f.width);
       const int64_t luma = int64_t{f.stride} * f.height;
       const int64_t chroma_pitch = f.stride / 2;
       const uint8_t* src = c.In(luma + luma / 4 + chroma_pitch * (f.height / 2));
       uint8_t* dst = c.Out(Case::Plane(3 * f.width, f.height, 3 * dst_stride));
       // Odd edges stay.
       c.Expect(dst, f.width / 2 * 6, f.height / 2 * 2, 3 * dst_stride, [&](int byte, int y) {
         const int x = byte / 3;
         const uint8_t* const u = src + luma + y / 2 * chroma_pitch + x / 2;
         return StudioRange(byte % 3, src[int64_t{y} * f.stride + x], u[0], u[luma / 4]);
       });
       convertI420ToRGBU8(dst, src, f.width, f.height, dst_stride, f.stride);
     }},
    {"YV16ToRGB",
     [](Case& c) {
       const Frame f = DrawFrame(c);
       const int64_t luma = int64_t{f.width} * f.height;
       const int pairs = f.width / 2;
       // The V plane stands half a luma plane behind U, also where rows of pairs need less.
       uint8_t* src = c.In(luma + luma / 2 + int64_t{pairs} * f.height);
       uint8_t* dst = c.Out(3 * luma);
       ExpectBgr(c, dst, f, [&](int x, int y) {
         const uint8_t sample = src[int64_t{y} * f.width + x];
         if (pairs == 0) return YUVCOLOR{sample, 128, 128};
         const uint8_t* const u = src + luma + int64_t{y} * pairs + std::min(x / 2, pairs - 1);
         return YUVCOLOR{sample, u[0], u[luma / 2]};
       });
       c.Result(YV16ToRGB(src, f.width, f.height, dst));
     }},
    {"UYVYToRGB",
     [](Case& c) {
       const Frame f = DrawFrame(c);
       const int begin = c.Int(0, f.height - 1);
       const int end = c.Int(begin, f.height);
       uint8_t* src = c.In(Case::Packed(f.width, f.height, f.stride));
       uint8_t* dst = c.Out(int64_t{3} * f.width * f.height);
       ExpectBgr(
           c, dst + int64_t{3} * f.width * begin, {f.width, end - begin, 0}, [&](int x, int y) {
             const uint8_t* const group = src + int64_t{2} * f.stride * (begin + y) + x / 2 * 4;
             // The last group of an odd row has no V of its own.
             const bool whole = x / 2 * 2 + 1 < f.width;
             const int v = whole ? group[2] : x > 0 ? group[-2] : 128;
             return YUVCOLOR{group[x % 2 == 0 ? 1 : 3], group[0], v};
           });
       c.Result(UYVYToRGB(src, f.stride, f.width, begin, end, dst));
     }},
    {"RGBToUYVY",
     [](Case& c) {
       const Frame f = DrawFrame(c);
       uint8_t* src = c.In(int64_t{3} * f.width * f.height);
       uint8_t* dst = c.Out(Case::Packed(f.width, f.height, f.stride));
       c.Expect(dst, 2 * f.width, f.height, 2 * f.stride, [&](int byte, int y) {
         const YUVCOLOR even = YuvAt(src, f, byte / 4 * 2, y);
         return byte % 2 == 1 ? YuvAt(src, f, byte / 2, y).y : byte % 4 == 0 ? even.u : even.v;
       });
       c.Result(RGBToUYVY(src, f.width, f.height, dst, f.stride));
     }},
    {"NV21ToRGB",
     [](Case& c) {
       const Frame f = DrawFrame(c);
       uint8_t* src = c.In(Case::SemiPlanar(f.width, f.height, f.stride));
       uint8_t* dst = c.Out(int64_t{3} * f.width * f.height);
       ExpectBgr(c, dst, f, [&](int x, int y) {
         const uint8_t luma = src[int64_t{y} * f.stride + x];
         if (!f.has_chroma()) return YUVCOLOR{luma, 128, 128};
         const int row = f.height + std::min(y / 2, f.height / 2 - 1);
         const uint8_t* const pair =
             src + int64_t{row} * f.stride + 2 * std::min(x / 2, f.width / 2 - 1);
         return YUVCOLOR{luma, pair[1], pair[0]};
       });
       c.Result(NV21ToRGB(src, f.stride, f.width, f.height, dst));
     }},
    {"RGBToNV21",
     [](Case& c) {
       const Frame f = DrawFrame(c);
       uint8_t* src = c.In(int64_t{3} * f.width * f.height);
       uint8_t* dst = c.Out(Case::SemiPlanar(f.width, f.height, f.stride));
       const int chroma_rows = f.has_chroma() ? f.height / 2 : 0;
       c.Expect(dst, f.width, f.height + chroma_rows, f.stride, [&](int x, int row) {
         if (row < f.height) return YuvAt(src, f, x, row).y;
         if (x >= f.width / 2 * 2) return -1;
         const YUVCOLOR even = YuvAt(src, f, x / 2 * 2, 2 * (row - f.height) + 1);
         return x % 2 == 0 ? even.v : even.u;
       });
       c.Result(RGBToNV21(src, f.width, f.height, dst, f.stride));
     }},
};

}  // namespace vantro::test

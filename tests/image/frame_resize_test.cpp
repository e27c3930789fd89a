// Resizers of whole frames, and the exact doubling of a plane.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/image/resize_reference.h"
#include "tests/support/log_capture.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

using FrameResize = void (*)(const unsigned char*, unsigned char*, int, int, int, int, int);

TEST(FrameResize, SemiPlanarFramesAreHalvedByBlocksAndResizedByChannels) {
  Random random(1);
  for (const Sizes& s : RandomSizes(random)) {
    const Bytes src = random.Noise(s.src_frame());
    const bool halves = s.src_width == 2 * s.dst_width && s.src_height == 2 * s.dst_height;
    Bytes expected = PlaneOf(s.dst_width, s.dst_height + s.dst_height / 2, [&](int x, int y) {
      if (!halves) return kUntouched;
      if (y < s.dst_height) return LumaOf(src, s).At(2 * x, 2 * y);
      if (x >= s.dst_width / 2 * 2) return kUntouched;
      return ChromaOf(src, s, x % 2).At(x / 2 * 2, 2 * (y - s.dst_height));
    });
    if (!halves) {
      ResizeUcharChl(src.data(), expected.data(), s.src_width, s.src_stride, s.src_height,
                     s.dst_width, s.dst_height, 1);
      for (int channel : {0, 1}) {
        ResizeUcharChl(ChromaOf(src, s, channel).data,
                       expected.data() + Area(s.dst_width, s.dst_height) + channel, s.src_width / 2,
                       s.src_stride / 2, s.src_height / 2, s.dst_width / 2, s.dst_height / 2, 2);
      }
    }
    for (FrameResize resize : {&ResizeUcharNV21, &ResizeUcharNV12}) {
      ExpectResized(s, src, expected,
                    [&](auto* from, auto* to, int w, int h, int stride, int dst_w, int dst_h) {
                      resize(from, to, w, stride, h, dst_w, dst_h);
                    });
    }
  }
}

TEST(FrameResize, PackedFramesAreHalvedByGroupsAndResizedByChannels) {
  const int width = 36, stride = 39, height = 8;
  const Bytes src = Random(3).Noise(Area(2 * stride, height));
  Bytes half(Area(width, height / 2)), other(Area(2 * 20, 11)), by_channel = other;
  ResizeUcharUYVY(src.data(), half.data(), width, stride, height, width / 2, height / 2);
  EXPECT_EQ(half, PlaneOf(width, height / 2, [&](int byte, int y) {
              constexpr int kKept[] = {0, 1, 2, 5};
              return src[Index(byte / 4 * 8 + kKept[byte % 4], y, 4 * stride)];
            }));

  ResizeUcharUYVY(src.data(), other.data(), width, stride, height, 20, 11);
  uint8_t* const out = by_channel.data();
  ResizeUcharChl(src.data(), out, width / 2, stride / 2, height, 10, 11, 4);
  ResizeUcharChl(src.data() + 1, out + 1, width, stride, height, 20, 11, 2);
  ResizeUcharChl(src.data() + 2, out + 2, width / 2, stride / 2, height, 10, 11, 4);
  EXPECT_EQ(other, by_channel);

  // A half of one column has no pair.
  Bytes narrow(8, 7);
  ResizeUcharUYVY(src.data(), narrow.data(), 2, stride, height, 1, height / 2);
  EXPECT_EQ(narrow, Bytes(8, 7));
}

TEST(FrameResize, LogsTheFrameAndEachChannelUnlessItIsHalved) {
  const LogLine begin = {4, "QZA_MVANTRO", "ResizeUcharChl Plimra_Process_ResizeUcharChlY_begin "};
  const LogLine refused = {6, "QZA_MVANTRO", "ResizeUcharChl 781 input error!"};
  std::vector<LogLine> lines = {begin, refused, begin, refused, begin, refused};
  Bytes src(64, 1), dst(64, 7);
  LogCapture log;
  for (FrameResize resize : {&ResizeUcharNV12, &ResizeUcharUYVY, &ResizeUcharNV21}) {
    const bool nv21 = resize == &ResizeUcharNV21;
    if (nv21) lines.insert(lines.begin(), {4, "QZA_MVANTRO", "ResizeUcharNV21 ResizeUcharNV21+++"});
    resize(src.data(), nullptr, 4, 4, 4, 3, 3);
    EXPECT_EQ(log.lines(), lines);
    log.clear();
    resize(nullptr, dst.data(), 4, 4, 4, 2, 2);
    resize(src.data(), nullptr, 4, 4, 4, 2, 2);
    EXPECT_EQ(log.lines(), std::vector<LogLine>(nv21 ? 2 : 0, lines[0]));
    log.clear();
  }
  // Halving needs a source of twice the size, and rows that do not overlap.
  ResizeUcharHalfSemiPlanar(src.data(), dst.data(), 4, 4, 2, 3, 4, 2);
  ResizeUcharHalfSemiPlanar(src.data(), dst.data(), 4, 4, 3, 2, 4, 3);
  ResizeUcharHalfSemiPlanar(src.data(), dst.data(), 4, 4, 2, 2, 4, 1);
  EXPECT_EQ(dst, Bytes(64, 7));
}

TEST(PlaneDoubling, TakesBlocksAndResizesToOtherSizes) {
  Random random(4);
  for (const Sizes& s : RandomSizes(random)) {
    SCOPED_TRACE(s);
    const Bytes src = random.Noise(Area(s.src_width, s.src_height));
    const Plane plane = {src.data(), s.src_width, s.src_height, s.src_width};
    Bytes expected = PlaneOf(2 * s.src_width, 2 * s.src_height, [&](int x, int y) {
      // The last block of a row or column stands for the pair that ends there.
      const int left = std::max(0, std::min(x / 2, s.src_width - 2)), right = left + x % 2;
      const int top = std::max(0, std::min(y / 2, s.src_height - 2)), bottom = top + y % 2;
      return (plane.At(left, top) + plane.At(right, top) + plane.At(left, bottom) +
              plane.At(right, bottom)) /
             4;
    });
    const auto expect = [&](int width, int height) {
      ExpectPlane(src, Bytes(expected.size()), expected, width, [&](auto* from, auto* to) {
        ResizeUchar_upScale2x2(from, to, s.src_width, s.src_height, width, height);
      });
    };
    expect(2 * s.src_width, 2 * s.src_height);
    const int width = 2 * s.src_width, height = 2 * s.src_height + 1;
    expected.resize(Area(width, height));
    vantro_c::ResizeUchar(src.data(), expected.data(), s.src_width, s.src_height, width, height);
    expect(width, height);
  }
}

}  // namespace
}  // namespace vantro::test

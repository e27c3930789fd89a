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
  Random random(3);
  const int width = 36, stride = 39, height = 8;
  const Bytes src = random.Noise(Area(2 * stride, height));
  Guarded<uint8_t> from(src);
  Guarded<uint8_t> half(Bytes(Area(width, height / 2)));
  ResizeUcharUYVY(from.get(), half.get(), width, stride, height, width / 2, height / 2);
  const Bytes expected = PlaneOf(width, height / 2, [&](int byte, int y) {
    constexpr int kKept[] = {0, 1, 2, 5};
    return src[Area(4 * stride, y) + static_cast<size_t>(byte / 4 * 8 + kKept[byte % 4])];
  });
  EXPECT_TRUE(SamePlanes(half.values(), expected, width));

  Guarded<uint8_t> other(Bytes(Area(2 * 20, 11)));
  ResizeUcharUYVY(from.get(), other.get(), width, stride, height, 20, 11);
  Bytes by_channel(Area(2 * 20, 11));
  uint8_t* const out = by_channel.data();
  ResizeUcharChl(src.data(), out, width / 2, stride / 2, height, 10, 11, 4);
  ResizeUcharChl(src.data() + 1, out + 1, width, stride, height, 20, 11, 2);
  ResizeUcharChl(src.data() + 2, out + 2, width / 2, stride / 2, height, 10, 11, 4);
  EXPECT_TRUE(SamePlanes(other.values(), by_channel, 2 * 20));

  // A half of one column has no pair.
  Guarded<uint8_t> narrow(Bytes(8, 7));
  ResizeUcharUYVY(from.get(), narrow.get(), 2, stride, height, 1, height / 2);
  EXPECT_EQ(narrow.values(), Bytes(8, 7));
}

TEST(FrameResize, LogsTheFrameAndEachChannelAndRefusesNullFrames) {
  const LogLine nv21 = {4, "QZA_MVANTRO", "ResizeUcharNV21 ResizeUcharNV21+++"};
  const LogLine begin = {4, "QZA_MVANTRO", "ResizeUcharChl Plimra_Process_ResizeUcharChlY_begin "};
  const LogLine refused = {6, "QZA_MVANTRO", "ResizeUcharChl 781 input error!"};
  Bytes src(64, 1), dst(64, 7);
  LogCapture log;
  ResizeUcharNV21(nullptr, dst.data(), 4, 4, 4, 3, 3);
  EXPECT_THAT(log.lines(),
              testing::ElementsAre(nv21, begin, refused, begin, refused, begin, refused));
  for (FrameResize resize : {&ResizeUcharNV12, &ResizeUcharUYVY}) {
    log.clear();
    resize(src.data(), nullptr, 4, 4, 4, 3, 3);
    EXPECT_THAT(log.lines(), testing::ElementsAre(begin, refused, begin, refused, begin, refused));
    log.clear();
    resize(nullptr, dst.data(), 4, 4, 4, 2, 2);
    resize(src.data(), nullptr, 4, 4, 4, 2, 2);
    EXPECT_TRUE(log.lines().empty());
  }
  // Halving needs a source of twice the size, and rows that do not overlap.
  ResizeUcharHalfSemiPlanar(src.data(), dst.data(), 4, 4, 2, 3, 4, 2);
  ResizeUcharHalfSemiPlanar(src.data(), dst.data(), 4, 4, 3, 2, 4, 3);
  ResizeUcharHalfSemiPlanar(src.data(), dst.data(), 4, 4, 2, 2, 4, 1);
  EXPECT_EQ(dst, Bytes(64, 7));
  ResizeUcharNV12(src.data(), dst.data(), 4, 4, 4, 2, 2);
  EXPECT_TRUE(log.lines().empty());
}

TEST(PlaneDoubling, EqualsTheBlockRuleAtEverySize) {
  Random random(4);
  for (int width : {1, 2, 3, 17, 33, 70}) {
    for (int height : {1, 2, 5}) {
      const Bytes src = random.Noise(Area(width, height));
      const Plane plane = {src.data(), width, height, width};
      const Bytes expected = PlaneOf(2 * width, 2 * height, [&](int x, int y) {
        // The last block of a row or column stands for the pair that ends there.
        const int left = std::max(0, std::min(x / 2, width - 2));
        const int top = std::max(0, std::min(y / 2, height - 2));
        const int right = left + x % 2, bottom = top + y % 2;
        return (plane.At(left, top) + plane.At(right, top) + plane.At(left, bottom) +
                plane.At(right, bottom)) /
               4;
      });
      Guarded<uint8_t> from(src);
      Guarded<uint8_t> to(Bytes(expected.size()));
      ResizeUchar_upScale2x2(from.get(), to.get(), width, height, 2 * width, 2 * height);
      EXPECT_TRUE(SamePlanes(to.values(), expected, 2 * width));
    }
  }
}

TEST(PlaneDoubling, OtherSizesAreResizedBilinearly) {
  Random random(5);
  const Bytes src = random.Noise(63);
  Bytes dst(18 * 15), expected(18 * 15);
  ResizeUchar_upScale2x2(src.data(), dst.data(), 9, 7, 18, 15);
  vantro_c::ResizeUchar(src.data(), expected.data(), 9, 7, 18, 15);
  EXPECT_EQ(dst, expected);

  LogCapture log;
  ResizeUchar_upScale2x2(nullptr, dst.data(), 9, 7, 18, 14);
  ResizeUchar_upScale2x2(src.data(), nullptr, 9, 7, 18, 14);
  EXPECT_TRUE(log.lines().empty());
  ResizeUchar_upScale2x2(src.data(), nullptr, 9, 7, 18, 15);
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{{6, "VANTRO", "ResizeUchar 239 input error!"}}));
}

}  // namespace
}  // namespace vantro::test

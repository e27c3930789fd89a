// Resizers of whole frames, and the exact doubling of a plane.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "tests/image/image_buffers.h"
#include "tests/support/log_capture.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

constexpr char kBegin[] = "ResizeUcharChl Plimra_Process_ResizeUcharChlY_begin ";

using FrameResize = void (*)(const unsigned char*, unsigned char*, int, int, int, int, int);

size_t SemiPlanarSize(int stride, int height) { return Area(stride, height + height / 2); }

TEST(FrameResize, HalvingASemiPlanarFrameTakesTheFirstSampleOfEachBlock) {
  Random random(1);
  for (const auto& [width, height] : {std::pair{2, 2}, {8, 4}, {66, 20}, {38, 6}, {6, 2}}) {
    const int stride = width + random.Int(0, 3);
    const int dst_width = width / 2, dst_height = height / 2;
    const Bytes src = random.Noise(SemiPlanarSize(stride, height));
    Bytes expected(SemiPlanarSize(dst_width, dst_height), 0x55);
    for (int y = 0; y < dst_height; ++y) {
      for (int x = 0; x < dst_width; ++x) {
        expected[Area(dst_width, y) + static_cast<size_t>(x)] =
            src[Area(stride, 2 * y) + static_cast<size_t>(2 * x)];
      }
    }
    for (int y = 0; y < dst_height / 2; ++y) {
      for (int x = 0; x < dst_width / 2 * 2; ++x) {
        expected[Area(dst_width, dst_height + y) + static_cast<size_t>(x)] =
            src[Area(stride, height + 2 * y) + static_cast<size_t>(x / 2 * 4 + x % 2)];
      }
    }
    for (FrameResize resize : {&ResizeUcharNV21, &ResizeUcharNV12}) {
      Guarded<uint8_t> from(src);
      Guarded<uint8_t> to(Bytes(expected.size(), 0x55));
      resize(from.get(), to.get(), width, stride, height, dst_width, dst_height);
      EXPECT_TRUE(SamePlanes(to.values(), expected, dst_width)) << width << "x" << height;
    }
  }
}

TEST(FrameResize, SemiPlanarFramesAreResizedChannelByChannel) {
  Random random(2);
  for (int i = 0; i < 40; ++i) {
    const int width = random.Int(1, 40), height = random.Int(1, 20);
    const int stride = width + random.Int(0, 3);
    const int dst_width = random.Int(1, 40), dst_height = random.Int(1, 20);
    if (width == 2 * dst_width && height == 2 * dst_height) continue;
    const Bytes src = random.Noise(SemiPlanarSize(stride, height));
    const Bytes before = random.Noise(SemiPlanarSize(dst_width, dst_height));
    Bytes expected = before;
    ResizeUcharChl(src.data(), expected.data(), width, stride, height, dst_width, dst_height, 1);
    for (size_t channel : {0u, 1u}) {
      ResizeUcharChl(src.data() + Area(stride, height) + channel,
                     expected.data() + Area(dst_width, dst_height) + channel, width / 2, stride / 2,
                     height / 2, dst_width / 2, dst_height / 2, 2);
    }
    for (FrameResize resize : {&ResizeUcharNV21, &ResizeUcharNV12}) {
      Guarded<uint8_t> from(src);
      Guarded<uint8_t> to(before);
      resize(from.get(), to.get(), width, stride, height, dst_width, dst_height);
      EXPECT_TRUE(SamePlanes(to.values(), expected, dst_width));
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
  Bytes expected;
  for (int y = 0; y < height; y += 2) {
    for (int group = 0; group < width * 2; group += 8) {
      for (int byte : {0, 1, 2, 5}) {
        expected.push_back(src[Area(2 * stride, y) + static_cast<size_t>(group + byte)]);
      }
    }
  }
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

TEST(FrameResize, LogLines) {
  Bytes src(24, 1), dst(36);
  LogCapture log;
  const LogLine begin = {4, "QZA_MVANTRO", kBegin};
  const LogLine nv21 = {4, "QZA_MVANTRO", "ResizeUcharNV21 ResizeUcharNV21+++"};
  ResizeUcharNV21(src.data(), dst.data(), 4, 4, 4, 2, 2);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{nv21});
  log.clear();
  ResizeUcharNV12(src.data(), dst.data(), 4, 4, 4, 2, 2);
  EXPECT_TRUE(log.lines().empty());
  ResizeUcharNV21(src.data(), dst.data(), 4, 4, 4, 3, 2);
  EXPECT_THAT(log.lines(), testing::ElementsAre(nv21, begin, begin, begin));
}

TEST(FrameResize, NullFramesReachNoPlane) {
  const LogLine begin = {4, "QZA_MVANTRO", kBegin};
  const LogLine refused = {6, "QZA_MVANTRO", "ResizeUcharChl 781 input error!"};
  Bytes bytes(64, 7);
  for (FrameResize resize : {&ResizeUcharNV12, &ResizeUcharUYVY}) {
    LogCapture log;
    resize(nullptr, bytes.data(), 4, 4, 4, 3, 3);
    EXPECT_THAT(log.lines(), testing::ElementsAre(begin, refused, begin, refused, begin, refused));
    log.clear();
    resize(bytes.data(), nullptr, 4, 4, 4, 3, 3);
    EXPECT_EQ(log.lines().size(), 6u);
    log.clear();
    resize(nullptr, bytes.data(), 4, 4, 4, 2, 2);
    resize(bytes.data(), nullptr, 4, 4, 4, 2, 2);
    EXPECT_TRUE(log.lines().empty());
  }
  EXPECT_EQ(bytes, Bytes(64, 7));
}

TEST(FrameResize, HalvingNeedsASourceOfTwiceTheSize) {
  const Bytes src(4 * 6, 1);
  Bytes dst(24, 7);
  ResizeUcharHalfSemiPlanar(src.data(), dst.data(), 4, 4, 2, 3, 4, 2);  // too few rows
  ResizeUcharHalfSemiPlanar(src.data(), dst.data(), 4, 4, 3, 2, 4, 3);  // too few columns
  ResizeUcharHalfSemiPlanar(src.data(), dst.data(), 4, 4, 2, 2, 4, 1);  // rows overlap
  ResizeUcharHalfSemiPlanar(src.data(), dst.data(), 4, 4, 0, 2, 4, 2);
  EXPECT_EQ(dst, Bytes(24, 7));
}

TEST(PlaneDoubling, AveragesRightLowerAndDiagonalNeighbours) {
  const Bytes src = {10, 20, 30, 40};
  Bytes dst(16);
  ResizeUchar_upScale2x2(src.data(), dst.data(), 2, 2, 4, 4);
  EXPECT_THAT(dst, testing::ElementsAre(10, 15, 10, 15, 20, 25, 20, 25,  //
                                        10, 15, 10, 15, 20, 25, 20, 25));
}

TEST(PlaneDoubling, EqualsTheBlockRuleAtEverySize) {
  Random random(4);
  for (int width : {1, 2, 3, 17, 33, 70}) {
    for (int height : {1, 2, 5}) {
      const Bytes src = random.Noise(Area(width, height));
      Guarded<uint8_t> from(src);
      Guarded<uint8_t> to(Bytes(src.size() * 4));
      ResizeUchar_upScale2x2(from.get(), to.get(), width, height, 2 * width, 2 * height);
      const Bytes result = to.values();
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
          // The last block of a row or column stands for the pair that ends there.
          const int left = std::max(0, std::min(x, width - 2));
          const int top = std::max(0, std::min(y, height - 2));
          const auto sample = [&](int column, int row) -> int {
            return src[Area(width, std::min(row, height - 1)) +
                       static_cast<size_t>(std::min(column, width - 1))];
          };
          const int a = sample(left, top), b = sample(left + 1, top);
          const int c = sample(left, top + 1), d = sample(left + 1, top + 1);
          const size_t at = Area(2 * width, 2 * y) + static_cast<size_t>(2 * x);
          const size_t below = at + static_cast<size_t>(2 * width);
          EXPECT_THAT(
              (std::array<int, 4>{result[at], result[at + 1], result[below], result[below + 1]}),
              testing::ElementsAre(a, (a + b) / 2, (a + c) / 2, (a + b + c + d) / 4))
              << width << "x" << height << " at " << x << "," << y;
        }
      }
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

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

TEST(FrameResize, SemiPlanarFramesAreHalvedByBlocksAndResizedByChannels) {
  Random random(1);
  for (int i = 0; i < 60; ++i) {
    Sizes s = {0, 0, 0, random.Int(1, 40), random.Int(1, 20)};
    const bool halves = i % 3 == 0;
    s.src_width = halves ? 2 * s.dst_width : random.Int(1, 40);
    s.src_height = halves ? 2 * s.dst_height : random.Int(1, 20);
    if (!halves && s.src_width == 2 * s.dst_width && s.src_height == 2 * s.dst_height) continue;
    s.src_stride = s.src_width + random.Int(0, 3);
    SCOPED_TRACE(s);
    const Bytes src = random.Noise(s.src_frame());
    const Bytes before = random.Noise(s.dst_frame());
    Bytes expected = before;
    const size_t src_luma = Area(s.src_stride, s.src_height);
    const size_t dst_luma = Area(s.dst_width, s.dst_height);
    for (int y = 0; halves && y < s.dst_height; ++y) {
      for (int x = 0; x < s.dst_width; ++x) {
        expected[Area(s.dst_width, y) + static_cast<size_t>(x)] =
            src[Area(s.src_stride, 2 * y) + static_cast<size_t>(2 * x)];
        if (y >= s.dst_height / 2 || x >= s.dst_width / 2 * 2) continue;
        expected[dst_luma + Area(s.dst_width, y) + static_cast<size_t>(x)] =
            src[src_luma + Area(s.src_stride, 2 * y) + static_cast<size_t>(x / 2 * 4 + x % 2)];
      }
    }
    if (!halves) {
      ResizeUcharChl(src.data(), expected.data(), s.src_width, s.src_stride, s.src_height,
                     s.dst_width, s.dst_height, 1);
      for (size_t channel : {0u, 1u}) {
        ResizeUcharChl(src.data() + src_luma + channel, expected.data() + dst_luma + channel,
                       s.src_width / 2, s.src_stride / 2, s.src_height / 2, s.dst_width / 2,
                       s.dst_height / 2, 2);
      }
    }
    for (FrameResize resize : {&ResizeUcharNV21, &ResizeUcharNV12}) {
      Guarded<uint8_t> from(src);
      Guarded<uint8_t> to(before);
      resize(from.get(), to.get(), s.src_width, s.src_stride, s.src_height, s.dst_width,
             s.dst_height);
      EXPECT_TRUE(SamePlanes(to.values(), expected, s.dst_width));
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
  // Halving needs a source of twice the size, and rows that do not overlap.
  ResizeUcharHalfSemiPlanar(bytes.data(), bytes.data(), 4, 4, 2, 3, 4, 2);
  ResizeUcharHalfSemiPlanar(bytes.data(), bytes.data(), 4, 4, 3, 2, 4, 3);
  ResizeUcharHalfSemiPlanar(bytes.data(), bytes.data(), 4, 4, 2, 2, 4, 1);
  EXPECT_EQ(bytes, Bytes(64, 7));
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

// What the resizers say, what they refuse, and what callers inside learn; kernel_levels_test holds
// their elements against formulas.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>

#include "image/try_resize.h"
#include "tests/image/image_buffers.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/log_capture.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

using Lines = std::vector<LogLine>;

// A resizer for callers inside with the arguments of the longest.
template <auto resize>
bool Try(const uint8_t* src, uint8_t* dst, int dst_height) {
  if constexpr (std::is_invocable_v<decltype(resize), const uint8_t*, uint8_t*, int, int, int,
                                    int>) {
    return resize(src, dst, 5, 4, 3, dst_height);
  } else {
    return resize(src, dst, 5, 5, 4, 3, dst_height, 1);
  }
}

TEST(ChannelResize, CallersInsideLearnWhetherTheyGotTheirPicture) {
  struct Routine {
    bool (*resize)(const uint8_t*, uint8_t*, int);
    LogLine refusal;
  };
  const Bytes src(20, 90);
  for (const auto& [resize, refusal] :
       {Routine{Try<TryResizeUchar>, {6, "QZA_MVANTRO", "Resize 581 input error!"}},
        Routine{Try<TryResizeUcharC>, {6, "VANTRO", "ResizeUchar 239 input error!"}},
        Routine{Try<TryResizeUcharChl>, {6, "QZA_MVANTRO", "ResizeUcharChl 781 input error!"}},
        Routine{Try<TryResizeUYVYtoYChl>,
                {6, "QZA_MVANTRO", "ResizeUYVYtoYChl 402 input error!"}}}) {
    Bytes dst(9, 7);
    const LogCapture log;
    EXPECT_FALSE(resize(nullptr, dst.data(), 3));
    EXPECT_FALSE(resize(src.data(), nullptr, 3));
    const Lines lines = log.lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), refusal), 2);
    EXPECT_FALSE(resize(src.data(), dst.data(), 0));
    for (int fail_at : {0, 1}) {
      const FailingMalloc heap(fail_at);
      EXPECT_FALSE(resize(src.data(), dst.data(), 3));
    }
    EXPECT_EQ(dst, Bytes(9, 7));
    const FailingMalloc heap;
    EXPECT_TRUE(resize(src.data(), dst.data(), 3));
    // Two tables of (dstW + dstH) * 2 entries of 4 bytes.
    EXPECT_THAT(heap.sizes(), testing::ElementsAre(48, 48));
    EXPECT_EQ(dst, Bytes(9, 90));
  }
}

TEST(ChannelResize, ASumJustBelowAWholeNumberIsCutOnlyByTheTruncatingRoutine) {
  // Weights of thirds over a constant of 199 sum to just below 199 at some columns.
  const Bytes src(9, 199);
  Bytes cut(49), plane(49), plane_c(49), to_plane(49);
  ResizeUcharChl(src.data(), cut.data(), 3, 3, 3, 7, 7, 1);
  EXPECT_THAT(cut, testing::Contains(198));
  ::ResizeUchar(src.data(), plane.data(), 3, 3, 7, 7);
  vantro_c::ResizeUchar(src.data(), plane_c.data(), 3, 3, 7, 7);
  ResizeUYVYtoYChl(src.data(), to_plane.data(), 3, 3, 3, 7, 7, 1);
  for (const Bytes& rounded : {plane, plane_c, to_plane}) EXPECT_EQ(rounded, Bytes(49, 199));
}

TEST(FrameResize, LogsTheFrameAndEachChannelUnlessItIsHalved) {
  const LogLine begin = {4, "QZA_MVANTRO", "ResizeUcharChl Plimra_Process_ResizeUcharChlY_begin "};
  const LogLine refused = {6, "QZA_MVANTRO", "ResizeUcharChl 781 input error!"};
  Lines lines = {begin, refused, begin, refused, begin, refused};
  Bytes src(64, 1), dst(64, 7);
  LogCapture log;
  for (auto* resize : {&ResizeUcharNV12, &ResizeUcharUYVY, &ResizeUcharNV21}) {
    const bool nv21 = resize == &ResizeUcharNV21;
    if (nv21) lines.insert(lines.begin(), {4, "QZA_MVANTRO", "ResizeUcharNV21 ResizeUcharNV21+++"});
    resize(src.data(), nullptr, 4, 4, 4, 3, 3);
    EXPECT_EQ(log.lines(), lines);
    log.clear();
    resize(nullptr, dst.data(), 4, 4, 4, 2, 2);
    resize(src.data(), nullptr, 4, 4, 4, 2, 2);
    EXPECT_EQ(log.lines(), Lines(nv21 ? 2 : 0, lines[0]));
    log.clear();
  }
  ResizeUYVYtoY(nullptr, dst.data(), 4, 4, 4, 2, 2);
  ResizeNV12toY(nullptr, dst.data(), 4, 4, 4, 2, 2);
  EXPECT_EQ(log.lines(), Lines(2, {6, "QZA_MVANTRO", "ResizeUYVYtoYChl 402 input error!"}));
  log.clear();
  // The exact double needs no table and says nothing.
  ResizeUchar_upScale2x2(src.data(), nullptr, 4, 4, 8, 8);
  EXPECT_TRUE(log.lines().empty());
  ResizeUchar_upScale2x2(src.data(), nullptr, 4, 4, 8, 9);
  EXPECT_EQ(log.lines(), (Lines{{6, "VANTRO", "ResizeUchar 239 input error!"}}));
  // Halving needs a source of twice the size, and rows that do not overlap; a half of one column
  // has no pair.
  ResizeUcharHalfSemiPlanar(src.data(), dst.data(), 4, 4, 2, 3, 4, 2);
  ResizeUcharHalfSemiPlanar(src.data(), dst.data(), 4, 4, 3, 2, 4, 3);
  ResizeUcharHalfSemiPlanar(src.data(), dst.data(), 4, 4, 2, 2, 4, 1);
  ResizeUcharUYVY(src.data(), dst.data(), 2, 4, 4, 1, 2);
  EXPECT_EQ(dst, Bytes(64, 7));
}

TEST(GeometryResize, LogsRefusalsOfResizeAndUpscale4XOnly) {
  Bytes src(64, 1), dst(256, 7);
  LogCapture log;
  constexpr int kBad[][5] = {
      {0, 4, 4, 3, 3}, {4, -1, 4, 3, 3}, {4, 4, 0, 3, 3}, {4, 4, 4, 0, 3}, {4, 4, 4, 3, INT32_MIN}};
  for (const auto& [a, b, c, d, e] : kBad) {
    char line[200];
    std::snprintf(line, sizeof(line),
                  "invalid parameter: src[%p] dst[%p] srcW[%d] srcH[%d] stride[%d] dstW[%d] "
                  "dstH[%d]",
                  static_cast<void*>(src.data()), static_cast<void*>(dst.data()), a, b, c, d, e);
    log.clear();
    resize(src.data(), dst.data(), a, b, c, d, e);
    EXPECT_EQ(log.lines(), (Lines{{6, "VANTRO", line}}));
  }
  resize(nullptr, dst.data(), 4, 4, 4, 3, 3);
  EXPECT_EQ(log.lines().size(), 2u);
  log.clear();
  upscale4X(nullptr, dst.data(), 4, 4, 4, 15, 16);
  EXPECT_EQ(log.lines(), (Lines{{6, "VANTRO",
                                 "Invalid Parameter: srcW[4] dstW[15],this function use for 4 "
                                 "times upscale only"}}));
  upscale4X(src.data(), dst.data(), 1 << 30, 4, 1 << 30, 0, 16);
  EXPECT_EQ(log.lines().size(), 2u);  // 4 << 30 is not 0
  log.clear();
  // More blocks than the source has, and rows that overlap.
  resizeY16X(src.data(), 8, 8, 8, dst.data(), 3, 2, 3);
  resizeY16X(src.data(), 8, 8, 8, dst.data(), 2, 3, 2);
  resizeNV1216X(src.data(), 8, 8, 8, dst.data(), 2, 2, 1);
  upscale4X(src.data(), dst.data(), 4, 4, 3, 16, 4);
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(dst, Bytes(256, 7));
}

TEST(ColourResize, TakesOneTrackedTableAChannelAndLogsAMissingWidth) {
  const Bytes src(27, 9);
  Bytes dst(48, 7);
  LogCapture log;
  resizeUcharRGB(src.data(), dst.data(), 3, 3, 4, 4);
  const Lines lines = log.lines();
  EXPECT_EQ(std::count_if(
                lines.begin(), lines.end(),
                [](const LogLine& line) { return line.text == "Malloc 32  name:resizeUcharChl"; }),
            3);
  log.clear();
  resizeUcharRGBChl(nullptr, nullptr, 3, 3, 0, 4);
  resizeUcharRGB(src.data(), dst.data(), 3, 3, -1, 4);
  EXPECT_EQ(log.lines(), Lines(4, {5, "VANTRO", "dstW <= 0"}));
}

}  // namespace
}  // namespace vantro::test

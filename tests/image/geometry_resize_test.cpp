// Straight geometry resizers against their formulas, written out pixel by pixel.

#include <gtest/gtest.h>

#include <cstdio>

#include "tests/image/resize_reference.h"
#include "tests/support/log_capture.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

// A semi-planar frame of chroma(x, y) below luma(x, y).
template <typename Luma, typename Chroma>
Bytes FrameOf(const Sizes& s, Luma luma, Chroma chroma) {
  return PlaneOf(s.dst_width, s.dst_height + s.dst_height / 2, [&](int x, int y) {
    if (y < s.dst_height) return luma(x, y);
    const bool written = HasChroma(s) && x < s.dst_width / 2 * 2;
    return written ? chroma(x, y - s.dst_height) : kUntouched;
  });
}

TEST(Resize, OneFactorServesBothAxesAndOnlyNv21TruncatesEachTerm) {
  Random random(1);
  for (const Sizes& s : RandomSizes(random)) {
    const Bytes src = random.Noise(s.src_frame());
    const Plane plane = LumaOf(src, s);
    const double scale = static_cast<double>(s.src_width) / s.dst_width;
    const auto once = [&](int x, int y) {
      return SampleDouble(plane, scale * x, scale * y, false);
    };
    if (s.src_width * 4 != s.dst_width) {
      ExpectResized(s, src, PlaneOf(s.dst_width, s.dst_height, once), &resize);
    }
    const auto luma = [&](int x, int y) { return SampleDouble(plane, scale * x, scale * y); };
    const auto chroma = [&](int x, int y) {
      const auto fy = static_cast<float>(scale * y);
      return SampleDouble(ChromaOf(src, s, x % 2), scale * (x / 2), static_cast<double>(fy));
    };
    ExpectResized(s, src, FrameOf(s, luma, chroma), &resizeNV21);
  }
}

TEST(ResizeInteger, TakesEveryStepthSample) {
  Random random(3);
  for (const Sizes& s : RandomSizes(random)) {
    const Bytes src = random.Noise(s.src_frame());
    const int step = s.src_width / s.dst_width;
    const auto luma = [&](int x, int y) { return LumaOf(src, s).At(x * step, y * step); };
    const auto chroma = [&](int x, int y) {
      return ChromaOf(src, s, x % 2).At(x / 2 * step, y * step);
    };
    ExpectResized(s, src, PlaneOf(s.dst_width, s.dst_height, luma), &resizeYInteger);
    ExpectResized(s, src, FrameOf(s, luma, chroma), &resizeNV21Integer);
  }
}

TEST(Upscale4X, EqualsTheFixedPointRule) {
  Random random(4);
  for (Sizes s : RandomSizes(random)) {
    s.dst_width = 4 * s.src_width;
    const Bytes src = random.Noise(Area(s.src_stride, s.src_height));
    const Plane plane = LumaOf(src, s);
    const Bytes expected = PlaneOf(s.dst_width, s.dst_height, [&](int x, int y) {
      const auto blend = [&](int column) {
        return (4 - y % 4) * plane.At(column, y / 4) + y % 4 * plane.At(column, y / 4 + 1);
      };
      return ((4 - x % 4) * blend(x / 4) + x % 4 * blend(x / 4 + 1)) / 16;
    });
    ExpectResized(s, src, expected, &upscale4X);
    ExpectResized(s, src, expected, &resize);
  }
}

TEST(BoxReduction, IsTheTruncatedMeanOf4x4Blocks) {
  Random random(5);
  for (Sizes s : RandomSizes(random)) {
    s.src_width = 4 * s.dst_width + random.Int(0, 3);
    s.src_height = 4 * s.dst_height + random.Int(0, 3);
    s.src_stride = s.src_width + random.Int(0, 3);
    const int pitch = s.dst_width + random.Int(0, 3);
    const Bytes src = random.Noise(s.src_frame());
    const auto mean = [](const Plane& plane, int x, int y) {
      int sum = 0;
      for (int k = 0; k < 16; ++k) sum += plane.At(4 * x + k % 4, 4 * y + k / 4);
      return static_cast<uint8_t>(sum / 16);
    };
    const auto luma = [&](int x, int y) { return mean(LumaOf(src, s), x, y); };
    const auto expect = [&](auto* reduce, const Bytes& expected) {
      ExpectResized(s, src, expected,
                    [&](auto* from, auto* to, int w, int h, int stride, int dst_w, int dst_h) {
                      reduce(from, w, h, stride, to, dst_w, dst_h, pitch);
                    });
    };
    expect(&resizeY16X, PlaneOf(pitch, s.dst_height, [&](int x, int y) {
      return x < s.dst_width ? luma(x, y) : kUntouched;
    }));
    // In a frame the rows are packed, and the chroma stands where the pitch puts it.
    Bytes frame =
        FrameOf(s, luma, [&](int x, int y) { return mean(ChromaOf(src, s, x % 2), x / 2, y); });
    frame.insert(frame.begin() + s.dst_width * s.dst_height,
                 Area(pitch - s.dst_width, s.dst_height), kUntouched);
    expect(&resizeNV1216X, frame);
  }
}

TEST(GeometryResize, RefusalsAreLoggedOnlyByResizeAndUpscale4X) {
  Bytes src(64, 1), dst(256, 7);
  LogCapture log;
  for (const auto& [from, s] : {std::pair{src.data(), Sizes{0, 4, 4, 3, 3}},
                                {src.data(), {4, -1, 4, 3, 3}},
                                {src.data(), {4, 4, 4, 0, 3}},
                                {src.data(), {4, 4, 4, 3, INT32_MIN}},
                                {static_cast<uint8_t*>(nullptr), {4, 4, 4, 3, 3}}}) {
    char line[200];
    std::snprintf(line, sizeof(line),
                  "invalid parameter: src[%p] dst[%p] srcW[%d] srcH[%d] stride[%d] dstW[%d] "
                  "dstH[%d]",
                  static_cast<void*>(from), static_cast<void*>(dst.data()), s.src_width,
                  s.src_height, s.src_stride, s.dst_width, s.dst_height);
    log.clear();
    resize(from, dst.data(), s.src_width, s.src_height, s.src_stride, s.dst_width, s.dst_height);
    EXPECT_EQ(log.lines(), (std::vector<LogLine>{{6, "VANTRO", line}}));
  }
  log.clear();
  upscale4X(nullptr, dst.data(), 4, 4, 4, 15, 16);
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{{6, "VANTRO",
                                                "Invalid Parameter: srcW[4] dstW[15],this function "
                                                "use for 4 times upscale only"}}));
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

}  // namespace
}  // namespace vantro::test

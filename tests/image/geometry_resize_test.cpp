// Straight geometry resizers against their formulas, written out pixel by pixel.

#include <gtest/gtest.h>

#include <cstdio>

#include "tests/image/double_reference.h"
#include "tests/image/image_buffers.h"
#include "tests/support/log_capture.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

std::vector<Sizes> RandomSizes(Random& random, int count) {
  std::vector<Sizes> sizes = {{1, 1, 1, 1, 1}, {1, 1, 3, 5, 5},       {2, 2, 2, 3, 3},
                              {3, 9, 3, 1, 1}, {700, 6, 700, 600, 4}, {90, 5, 90, 1030, 9}};
  for (int i = 0; i < count; ++i) {
    const int width = random.Int(1, 80);
    sizes.push_back(
        {width, random.Int(1, 40), width + random.Int(0, 4), random.Int(1, 90), random.Int(1, 40)});
  }
  return sizes;
}

template <typename Run>
void Expect(const Sizes& s, const Bytes& src, const Bytes& before, const Bytes& expected,
            const Run& run) {
  SCOPED_TRACE(s);
  ExpectPlane(src, before, expected, s.dst_width, run);
}

TEST(Resize, OneFactorServesBothAxesAndTheSumIsTruncatedOnce) {
  Random random(1);
  for (const Sizes& s : RandomSizes(random, 60)) {
    if (s.src_width * 4 == s.dst_width) continue;
    const Bytes src = random.Noise(Area(s.src_stride, s.src_height));
    const Plane plane = {src.data(), s.src_width, s.src_height, s.src_stride};
    const double scale = static_cast<double>(s.src_width) / s.dst_width;
    Bytes expected;
    for (int y = 0; y < s.dst_height; ++y) {
      for (int x = 0; x < s.dst_width; ++x) {
        expected.push_back(SampleDouble(plane, scale * x, scale * y, Truncation::kOnce));
      }
    }
    Expect(s, src, Bytes(expected.size()), expected, [&](auto* from, auto* to) {
      resize(from, to, s.src_width, s.src_height, s.src_stride, s.dst_width, s.dst_height);
    });
  }
}

TEST(ResizeNv21, TermsAreTruncatedAndChromaRowsArePlacedInSinglePrecision) {
  Random random(2);
  for (const Sizes& s : RandomSizes(random, 60)) {
    const Bytes src = random.Noise(s.src_frame());
    const Plane luma = {src.data(), s.src_width, s.src_height, s.src_stride};
    const double scale = static_cast<double>(s.src_width) / s.dst_width;
    const Bytes before = random.Noise(s.dst_frame());
    Bytes expected = before;
    for (int y = 0; y < s.dst_height; ++y) {
      for (int x = 0; x < s.dst_width; ++x) {
        expected[Area(s.dst_width, y) + static_cast<size_t>(x)] =
            SampleDouble(luma, scale * x, scale * y, Truncation::kEachTerm);
      }
    }
    for (int y = 0; s.src_width >= 2 && s.src_height >= 2 && y < s.dst_height / 2; ++y) {
      for (int x = 0; x < s.dst_width / 2 * 2; ++x) {
        const Plane chroma = {src.data() + Area(s.src_stride, s.src_height) + x % 2,
                              s.src_width / 2, s.src_height / 2, s.src_stride, 2};
        const auto fy = static_cast<float>(scale * y);
        expected[Area(s.dst_width, s.dst_height + y) + static_cast<size_t>(x)] =
            SampleDouble(chroma, scale * (x / 2), static_cast<double>(fy), Truncation::kEachTerm);
      }
    }
    Expect(s, src, before, expected, [&](auto* from, auto* to) {
      EXPECT_EQ(
          resizeNV21(from, to, s.src_width, s.src_height, s.src_stride, s.dst_width, s.dst_height),
          from);
    });
  }
}

TEST(ResizeInteger, TakesEveryStepthSample) {
  Random random(3);
  for (const Sizes& s : RandomSizes(random, 60)) {
    const Bytes src = random.Noise(s.src_frame());
    const int step = s.src_width / s.dst_width;
    const Bytes before = random.Noise(s.dst_frame());
    Bytes luma = before;
    for (int y = 0; y < s.dst_height; ++y) {
      for (int x = 0; x < s.dst_width; ++x) {
        luma[Area(s.dst_width, y) + static_cast<size_t>(x)] =
            src[Area(s.src_stride, std::min(y * step, s.src_height - 1)) +
                static_cast<size_t>(std::min(x * step, s.src_width - 1))];
      }
    }
    Bytes frame = luma;
    for (int y = 0; s.src_width >= 2 && s.src_height >= 2 && y < s.dst_height / 2; ++y) {
      for (int x = 0; x < s.dst_width / 2 * 2; ++x) {
        const int row = std::min(y * step, s.src_height / 2 - 1);
        const int pair = std::min(x / 2 * step, s.src_width / 2 - 1);
        frame[Area(s.dst_width, s.dst_height + y) + static_cast<size_t>(x)] =
            src[Area(s.src_stride, s.src_height + row) + static_cast<size_t>(2 * pair + x % 2)];
      }
    }
    Expect(s, src, before, luma, [&](auto* from, auto* to) {
      resizeYInteger(from, to, s.src_width, s.src_height, s.src_stride, s.dst_width, s.dst_height);
    });
    Expect(s, src, before, frame, [&](auto* from, auto* to) {
      resizeNV21Integer(from, to, s.src_width, s.src_height, s.src_stride, s.dst_width,
                        s.dst_height);
    });
  }
}

TEST(Upscale4X, EqualsTheFixedPointRule) {
  Random random(4);
  for (int i = 0; i < 40; ++i) {
    const int width = random.Int(1, 60), height = random.Int(1, 6);
    const Sizes s = {width, height, width + random.Int(0, 3), 4 * width, random.Int(1, 30)};
    const Bytes src = random.Noise(Area(s.src_stride, height));
    Bytes expected;
    for (int y = 0; y < s.dst_height; ++y) {
      const int top = std::min(y / 4, height - 1), bottom = std::min(y / 4 + 1, height - 1);
      for (int x = 0; x < s.dst_width; ++x) {
        const auto blend = [&](int column) {
          const auto at = static_cast<size_t>(std::min(column, width - 1));
          return (4 - y % 4) * src[Area(s.src_stride, top) + at] +
                 y % 4 * src[Area(s.src_stride, bottom) + at];
        };
        const int left = blend(x / 4), right = blend(x / 4 + 1);
        expected.push_back(static_cast<uint8_t>(((4 - x % 4) * left + x % 4 * right) / 16));
      }
    }
    Expect(s, src, Bytes(expected.size()), expected, [&](auto* from, auto* to) {
      upscale4X(from, to, width, height, s.src_stride, s.dst_width, s.dst_height);
    });
    Expect(s, src, Bytes(expected.size()), expected, [&](auto* from, auto* to) {
      resize(from, to, width, height, s.src_stride, s.dst_width, s.dst_height);
    });
  }
}

TEST(BoxReduction, IsTheTruncatedMeanOf4x4Blocks) {
  Random random(5);
  for (int i = 0; i < 60; ++i) {
    Sizes s = {0, 0, 0, random.Int(1, 70), random.Int(1, 6)};
    s.src_width = 4 * s.dst_width + random.Int(0, 3);
    s.src_height = 4 * s.dst_height + random.Int(0, 3);
    s.src_stride = s.src_width + random.Int(0, 3);
    const int dst_stride = s.dst_width + random.Int(0, 3);
    const Bytes src = random.Noise(s.src_frame());
    // Sums of 16 samples `step` apart, from byte column `column` of source row `row`.
    const auto mean = [&](int row, int column, int step) {
      int sum = 0;
      for (int k = 0; k < 16; ++k) {
        sum += src[Area(s.src_stride, row + k / 4) + static_cast<size_t>(column + k % 4 * step)];
      }
      return static_cast<uint8_t>(sum / 16);
    };
    const Bytes before = random.Noise(Area(dst_stride, s.dst_height + s.dst_height / 2));
    Bytes plane = before, frame = before;
    for (int y = 0; y < s.dst_height; ++y) {
      for (int x = 0; x < s.dst_width; ++x) {
        plane[Area(dst_stride, y) + static_cast<size_t>(x)] = mean(4 * y, 4 * x, 1);
        frame[Area(s.dst_width, y) + static_cast<size_t>(x)] = mean(4 * y, 4 * x, 1);
      }
    }
    for (int y = 0; y < s.dst_height / 2; ++y) {
      for (int x = 0; x < s.dst_width / 2 * 2; ++x) {
        frame[Area(dst_stride, s.dst_height) + Area(s.dst_width, y) + static_cast<size_t>(x)] =
            mean(s.src_height + 4 * y, x / 2 * 8 + x % 2, 2);
      }
    }
    Expect(s, src, before, plane, [&](auto* from, auto* to) {
      resizeY16X(from, s.src_width, s.src_height, s.src_stride, to, s.dst_width, s.dst_height,
                 dst_stride);
    });
    Expect(s, src, before, frame, [&](auto* from, auto* to) {
      resizeNV1216X(from, s.src_width, s.src_height, s.src_stride, to, s.dst_width, s.dst_height,
                    dst_stride);
    });
  }
}

TEST(GeometryResize, RefusalsAreLoggedOnlyByResizeAndUpscale4X) {
  Bytes src(64, 1), dst(256, 7);
  LogCapture log;
  char expected[200];
  const auto refused = [&](const uint8_t* from, uint8_t* to, int a, int b, int c, int d, int e) {
    log.clear();
    resize(from, to, a, b, c, d, e);
    std::snprintf(expected, sizeof(expected),
                  "invalid parameter: src[%p] dst[%p] srcW[%d] srcH[%d] stride[%d] dstW[%d] "
                  "dstH[%d]",
                  static_cast<const void*>(from), static_cast<void*>(to), a, b, c, d, e);
    EXPECT_EQ(log.lines(), (std::vector<LogLine>{{6, "VANTRO", expected}}));
  };
  refused(nullptr, dst.data(), 4, 4, 4, 3, 3);
  refused(src.data(), nullptr, 4, 4, 4, 3, 3);
  for (int bad : {0, -1, INT32_MIN}) {
    refused(src.data(), dst.data(), bad, 4, 4, 3, 3);
    refused(src.data(), dst.data(), 4, bad, 4, 3, 3);
    refused(src.data(), dst.data(), 4, 4, bad, 3, 3);
    refused(src.data(), dst.data(), 4, 4, 4, bad, 3);
    refused(src.data(), dst.data(), 4, 4, 4, 3, bad);
  }
  log.clear();
  upscale4X(nullptr, dst.data(), 4, 4, 4, 15, 16);
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{{6, "VANTRO",
                                                "Invalid Parameter: srcW[4] dstW[15],this function "
                                                "use for 4 times upscale only"}}));
  log.clear();
  upscale4X(src.data(), dst.data(), 1 << 30, 4, 1 << 30, 0, 16);
  EXPECT_EQ(log.lines().size(), 1u);  // 4 << 30 is not 0
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

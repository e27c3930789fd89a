// The sampler against its definition: each sample the mean of the pixels under it.
#include "engine/frame_sampler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "tests/engine/picture.h"
#include "tests/support/guarded_buffer.h"
#include "vantro/vantro.h"

namespace vantro::test {
namespace {

using engine::FrameSampler;
using engine::FrameView;
using engine::Region;

// The overlap of pixel `index` with [begin, end), where the first and last pixel go on outside.
double Share(int index, int limit, double begin, double end) {
  const double from = index == 0 ? -1e9 : index;
  const double to = index == limit - 1 ? 1e9 : index + 1;
  return std::max(0.0, std::min(to, end) - std::max(from, begin));
}

// Mean of `value(x, y)` of a plane under sample (row, column).
template <typename Value>
double Mean(int width, int height, const Region& region, int rows, int columns, int row, int column,
            const Value& value) {
  const auto stretch = [](double origin, double extent, int count, int index, double* begin) {
    const double length = std::max(extent / count, 1.0);
    *begin = origin + (index + 0.5) * extent / count - length / 2;
    return *begin + length;
  };
  double top, left;
  const double bottom = stretch(region.top, region.height, rows, row, &top);
  const double right = stretch(region.left, region.width, columns, column, &left);
  double sum = 0;
  for (int y = 0; y < height; ++y) {
    const double share = Share(y, height, top, bottom);
    if (share == 0) continue;
    for (int x = 0; x < width; ++x) sum += share * Share(x, width, left, right) * value(x, y);
  }
  return sum / ((bottom - top) * (right - left));
}

struct Case {
  int format, width, height, stride;
  Region region;
};

void ExpectMeans(const Case& c, uint32_t seed) {
  SCOPED_TRACE(testing::Message() << "format " << c.format << ", " << c.width << "x" << c.height
                                  << " stride " << c.stride << ", region " << c.region.left << ","
                                  << c.region.top << " " << c.region.width << "x"
                                  << c.region.height);
  // Reading one byte too many, or writing at all, faults.
  const bool packed = c.format == VANTRO_FORMAT_UYVY;
  const size_t last_row =
      packed ? 2 * static_cast<size_t>(c.width) : 2 * static_cast<size_t>(c.width / 2);
  const size_t bytes = FrameBytes(c.format, c.height, c.stride) -
                       (static_cast<size_t>(c.stride) * (packed ? 2 : 1) - last_row);
  GuardedBuffer frame(bytes);
  std::mt19937 random(seed);
  for (size_t i = 0; i < bytes; ++i) frame[i] = static_cast<uint8_t>(random());
  frame.set_read_only(true);

  constexpr int kRows = 12;
  constexpr int kColumns = 16;
  std::vector<float> rgb(3 * kRows * kColumns);
  FrameSampler sampler(kRows, kColumns);
  const FrameView view{frame.data(), c.format, c.width, c.height, c.stride};
  ASSERT_TRUE(view.valid());
  sampler.Sample(view, c.region, rgb.data());

  const auto byte = [&](int row, int column) -> double {
    return frame
        .data()[static_cast<size_t>(row) * static_cast<size_t>(c.stride) * (packed ? 2 : 1) +
                static_cast<size_t>(column)];
  };
  const Region half{c.region.left / 2, packed ? c.region.top : c.region.top / 2, c.region.width / 2,
                    packed ? c.region.height : c.region.height / 2};
  const auto chroma = [&](int row, int column, int second) {
    return Mean(c.width / 2, packed ? c.height : c.height / 2, half, kRows, kColumns, row, column,
                [&](int x, int y) {
                  return packed ? byte(y, 4 * x + 2 * second) : byte(c.height + y, 2 * x + second);
                });
  };
  for (int row = 0; row < kRows; ++row) {
    for (int column = 0; column < kColumns; ++column) {
      const double y =
          Mean(c.width, c.height, c.region, kRows, kColumns, row, column,
               [&](int px, int py) { return packed ? byte(py, 2 * px + 1) : byte(py, px); });
      const bool v_first = c.format == VANTRO_FORMAT_NV21;
      const double u = chroma(row, column, v_first ? 1 : 0) - 128;
      const double v = chroma(row, column, v_first ? 0 : 1) - 128;
      const double expected[3] = {y + 1.402 * v, y - 0.344136 * u - 0.714136 * v, y + 1.772 * u};
      for (int i = 0; i < 3; ++i) {
        const float got = rgb[static_cast<size_t>(3 * (row * kColumns + column) + i)];
        // The weights of rows are rounded to 1/256 of the whole.
        ASSERT_NEAR(got * 255, std::clamp(expected[i], 0.0, 255.0), 4.0)
            << "row " << row << " column " << column << " channel " << i;
      }
    }
  }
}

TEST(FrameSampler, AveragesThePixelsUnderEachSample) {
  uint32_t seed = 1;
  for (const int format : {VANTRO_FORMAT_NV21, VANTRO_FORMAT_NV12, VANTRO_FORMAT_UYVY}) {
    for (const auto& [width, height] :
         {std::pair{2, 2}, {3, 5}, {16, 12}, {61, 47}, {400, 300}, {97, 1201}, {2000, 31}}) {
      const auto w = static_cast<float>(width);
      const auto h = static_cast<float>(height);
      const float side = std::max(w, h);
      for (const Region& region :
           {Region{0, 0, w, h}, Region{(w - side) / 2, (h - side) / 2, side, side},
            Region{w * 0.3f, h * 0.2f, w * 0.4f, h * 0.7f}, Region{-w, h / 2, 1.5f * w, 2 * h}}) {
        for (const int padding : {0, 7}) {
          ExpectMeans({format, width, height, width + padding, region}, seed++);
        }
      }
    }
  }
}

// One sampler serves frames of changing geometry; nothing of an earlier one may remain.
TEST(FrameSampler, FollowsTheGeometryOfTheFrame) {
  Picture picture(64, 48);
  std::mt19937 random(5);
  for (uint8_t& byte : picture.rgb) byte = static_cast<uint8_t>(random());
  FrameSampler reused(16, 16);
  for (const int format : {VANTRO_FORMAT_NV12, VANTRO_FORMAT_UYVY, VANTRO_FORMAT_NV21}) {
    for (const int width : {64, 20, 33}) {
      for (const int padding : {0, 3}) {
        const Picture scaled = Scale(picture, width, 40);
        const std::vector<uint8_t> frame = ToFrame(scaled, format, width + padding);
        const FrameView view{frame.data(), format, width, 40, width + padding};
        const Region region{0, 0, static_cast<float>(width), 40};
        std::vector<float> got(3 * 256);
        std::vector<float> expected(3 * 256);
        reused.Sample(view, region, got.data());
        FrameSampler(16, 16).Sample(view, region, expected.data());
        ASSERT_EQ(got, expected) << format << " " << width;
      }
    }
  }
}

}  // namespace
}  // namespace vantro::test

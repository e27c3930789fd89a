// The sampler against its definition: each sample the mean of the pixels under it.
#include "engine/frame_sampler.h"

#include <gtest/gtest.h>

#include <algorithm>
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

constexpr int kRows = 12;
constexpr int kColumns = 16;

// The share of each pixel of a line in one of `count` samples; the first and the last pixel go on
// outside.
std::vector<double> Shares(int pixels, double origin, double extent, int count, int sample) {
  const double length = std::max(extent / count, 1.0);
  const double begin = origin + (sample + 0.5) * extent / count - length / 2;
  std::vector<double> shares;
  for (int i = 0; i < pixels; ++i) {
    const double from = i == 0 ? begin : std::max<double>(i, begin);
    const double to = i == pixels - 1 ? begin + length : std::min<double>(i + 1, begin + length);
    shares.push_back(std::max(0.0, to - from) / length);
  }
  return shares;
}

// `sampler` has served frames of other geometries; nothing of them may remain.
void ExpectMeans(const FrameView& view, const Region& region, FrameSampler& sampler) {
  // Reading one byte too many, or writing at all, faults.
  const bool packed = view.format == VANTRO_FORMAT_UYVY;
  const int pitch = packed ? 2 * view.stride : view.stride;
  const int gap = pitch - (packed ? 2 * view.width : view.width / 2 * 2);
  GuardedBuffer frame(FrameBytes(view.format, view.height, view.stride) - static_cast<size_t>(gap));
  std::minstd_rand random(1);
  for (size_t i = 0; i < frame.size(); ++i) frame[i] = static_cast<uint8_t>(random() >> 8);
  frame.set_read_only(true);
  std::vector<float> rgb(3 * kRows * kColumns);
  FrameView guarded = view;
  guarded.data = frame.data();
  ASSERT_TRUE(guarded.valid());
  sampler.Sample(guarded, region, rgb.data());
  std::vector<float> fresh(rgb.size());
  FrameSampler(kRows, kColumns).Sample(guarded, region, fresh.data());
  ASSERT_EQ(rgb, fresh);

  // A plane whose pixels are `across` and `down` pixels of luma large and `step` bytes apart.
  const auto mean = [&](int sample, int first, int step, int across, int down) {
    const auto rows = Shares(view.height / down, region.top / static_cast<float>(down),
                             region.height / static_cast<float>(down), kRows, sample / kColumns);
    const auto columns =
        Shares(view.width / across, region.left / static_cast<float>(across),
               region.width / static_cast<float>(across), kColumns, sample % kColumns);
    double sum = 0;
    for (size_t y = 0; y < rows.size(); ++y) {
      const uint8_t* bytes = frame.data() + first + y * static_cast<size_t>(pitch);
      for (size_t x = 0; rows[y] > 0 && x < columns.size(); ++x) {
        sum += rows[y] * columns[x] * bytes[x * static_cast<size_t>(step)];
      }
    }
    return sum;
  };
  const auto chroma = [&](int sample, int second) {
    return packed ? mean(sample, 2 * second, 4, 2, 1) - 128
                  : mean(sample, view.height * pitch + second, 2, 2, 2) - 128;
  };
  const int u_at = view.format == VANTRO_FORMAT_NV21 ? 1 : 0;
  for (int sample = 0; sample < kRows * kColumns; ++sample) {
    const double y = packed ? mean(sample, 1, 2, 1, 1) : mean(sample, 0, 1, 1, 1);
    const double u = chroma(sample, u_at);
    const double v = chroma(sample, 1 - u_at);
    const double expected[3] = {y + 1.402 * v, y - 0.344136 * u - 0.714136 * v, y + 1.772 * u};
    for (int i = 0; i < 3; ++i) {
      // The weights of rows are rounded to 1/256 of the whole.
      ASSERT_NEAR(rgb[static_cast<size_t>(3 * sample + i)] * 255,
                  std::clamp(expected[i], 0.0, 255.0), 4.0)
          << "sample " << sample << " channel " << i;
    }
  }
}

TEST(FrameSampler, AveragesThePixelsUnderEachSample) {
  constexpr int kFormats[] = {VANTRO_FORMAT_NV21, VANTRO_FORMAT_NV12, VANTRO_FORMAT_UYVY};
  constexpr std::pair<int, int> kSizes[] = {{2, 2},     {3, 5},     {16, 12},  {61, 47},
                                            {400, 300}, {97, 1201}, {2000, 31}};
  std::mt19937 random(1);
  FrameSampler sampler(kRows, kColumns);
  size_t choices[4] = {};
  for (int round = 0; round < 240; ++round) {
    choices[random() % 4] = random();  // one thing changes at a time
    const auto [width, height] = kSizes[choices[0] % 7];
    const auto w = static_cast<float>(width);
    const auto h = static_cast<float>(height);
    const float side = std::max(w, h);
    const Region regions[] = {{0, 0, w, h},
                              {(w - side) / 2, (h - side) / 2, side, side},
                              {w * 0.3f, h * 0.2f, w * 0.4f, h * 0.7f},
                              {-w, h / 2, 1.5f * w, 2 * h}};
    const int stride = width + (choices[1] % 2 == 0 ? 0 : 7);
    SCOPED_TRACE(testing::Message()
                 << "format " << kFormats[choices[2] % 3] << ", " << width << "x" << height
                 << " stride " << stride << ", region " << choices[3] % 4);
    ASSERT_NO_FATAL_FAILURE(ExpectMeans({nullptr, kFormats[choices[2] % 3], width, height, stride},
                                        regions[choices[3] % 4], sampler));
  }
}

// The most rows under a sample that the sums hold, at the precision of the farthest positions.
TEST(FrameSampler, ServesTheLargestFrames) {
  FrameSampler sampler(256, 256);
  for (const auto& [width, height] : {std::pair{65536, 2}, {2, 65536}}) {
    const auto w = static_cast<float>(width);
    const auto h = static_cast<float>(height);
    const float side = std::max(w, h);
    GuardedBuffer frame(FrameBytes(VANTRO_FORMAT_UYVY, height, width));
    for (size_t i = 0; i < frame.size(); ++i) frame[i] = i % 2 == 0 ? 128 : 255;  // white
    const FrameView view{frame.data(), VANTRO_FORMAT_UYVY, width, height, width};
    ASSERT_TRUE(view.valid());
    for (const Region& region : {Region{0, 0, w, h},
                                 {(w - side) / 2, (h - side) / 2, side, side},
                                 {w * 0.3f, h * 0.2f, w * 0.4f, h * 0.7f}}) {
      std::vector<float> rgb(3 * 256 * 256);
      sampler.Sample(view, region, rgb.data());
      ASSERT_GT(*std::ranges::min_element(rgb), 0.99f) << width << "x" << height;
    }
  }
}

}  // namespace
}  // namespace vantro::test

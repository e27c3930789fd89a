// A real clip with the real engine: the person who talks in it stays in colour, the room does not.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "tests/app/clip.h"
#include "tests/app/program_run.h"

namespace vantro::test {
namespace {

class SampleClip : public ProgramTest {};

// One value for each chroma sample: whether it has colour.
std::vector<bool> Coloured(const PlanarFrame& frame) {
  std::vector<bool> coloured;
  for (size_t i = 0; i < frame.cb.size(); ++i) {
    coloured.push_back(std::abs(frame.cb[i] - 128) > 4 || std::abs(frame.cr[i] - 128) > 4);
  }
  return coloured;
}

// The share of samples with colour in a part of the frame, given in tenths of its size.
double ColouredShare(const PlanarFrame& frame, int left, int top, int right, int bottom) {
  const std::vector<bool> coloured = Coloured(frame);
  int count = 0;
  int all = 0;
  for (int y = frame.chroma_height * top / 10; y < frame.chroma_height * bottom / 10; ++y) {
    for (int x = frame.chroma_width * left / 10; x < frame.chroma_width * right / 10; ++x, ++all) {
      count += coloured[static_cast<size_t>(y * frame.chroma_width + x)];
    }
  }
  return static_cast<double>(count) / all;
}

TEST_F(SampleClip, KeepsThePersonInColour) {
  const std::string clip = VANTRO_SAMPLE_MEDIA "/cap13_edit2.mp4";
  if (!std::filesystem::exists(clip)) GTEST_SKIP() << "run scripts/fetch-media";
  constexpr size_t kFrames = 120;  // enough; sanitizers make the engine slow
  std::vector<PlanarFrame> before = DecodeClip(clip);
  before.resize(kFrames, before.front());
  WriteFile(Path("in.y4m"), RawVideo(before));
  ExpectSuccess(Run({"video", Path("in.y4m"), Path("out.mp4")}));
  const std::vector<PlanarFrame> after = DecodeClip(Path("out.mp4"));
  ASSERT_EQ(after.size(), kFrames);
  for (size_t i = 0; i < kFrames; ++i) {
    SCOPED_TRACE(testing::Message() << "frame " << i);
    // A lamp and a map hang at the left; the head moves about the middle.
    ASSERT_GT(ColouredShare(before[i], 0, 2, 2, 10), 0.5);
    ASSERT_LT(ColouredShare(after[i], 0, 2, 2, 10), 0.05);
    ASSERT_GT(ColouredShare(after[i], 4, 4, 6, 8), 0.5);
    // A mask that flickers would lose whole parts from one frame to the next.
    const std::vector<bool> now = Coloured(after[i]);
    const std::vector<bool> last = Coloured(after[i == 0 ? 0 : i - 1]);
    int changed = 0;
    for (size_t k = 0; k < now.size(); ++k) changed += now[k] != last[k];
    EXPECT_LT(changed, std::ranges::count(now, true) / 5);
  }
}

}  // namespace
}  // namespace vantro::test

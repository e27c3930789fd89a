// A real clip with the real engine: the person who talks in it stays in colour, the room does not.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "tests/app/clip.h"
#include "tests/app/program_run.h"

namespace vantro::test {
namespace {

class SampleClip : public ProgramTest {};

bool Coloured(const PlanarFrame& frame, size_t chroma) {
  return std::abs(frame.cb[chroma] - 128) > 4 || std::abs(frame.cr[chroma] - 128) > 4;
}

// The share of chroma samples with colour in a part of the frame, given in tenths of its size.
double ColouredShare(const PlanarFrame& frame, int left, int top, int right, int bottom) {
  const int width = frame.chroma_width;
  const int height = frame.chroma_height;
  int coloured = 0;
  int all = 0;
  for (int y = height * top / 10; y < height * bottom / 10; ++y) {
    for (int x = width * left / 10; x < width * right / 10; ++x) {
      coloured += Coloured(frame, static_cast<size_t>(y * width + x));
      ++all;
    }
  }
  return static_cast<double>(coloured) / all;
}

// Of the samples with colour in either frame, the share with colour in both.
double Overlap(const PlanarFrame& a, const PlanarFrame& b) {
  int both = 0;
  int either = 0;
  for (size_t i = 0; i < a.cb.size(); ++i) {
    both += Coloured(a, i) && Coloured(b, i);
    either += Coloured(a, i) || Coloured(b, i);
  }
  return either == 0 ? 0 : static_cast<double>(both) / either;
}

TEST_F(SampleClip, KeepsThePersonInColour) {
  const std::string clip = VANTRO_SAMPLE_MEDIA "/cap13_edit2.mp4";
  if (!std::filesystem::exists(clip)) GTEST_SKIP() << "run scripts/fetch-media";
  constexpr size_t kFrames = 120;  // enough; sanitizers make the engine slow
  std::vector<PlanarFrame> before = DecodeClip(clip);
  before.resize(kFrames, before.front());
  WriteFile(Path("in.y4m"), RawVideo(before));
  const Result result = Run({"video", Path("in.y4m"), Path("out.mp4")});
  ASSERT_EQ(result.status, 0) << result.errors;
  const std::vector<PlanarFrame> after = DecodeClip(Path("out.mp4"));
  ASSERT_EQ(after.size(), kFrames);
  double least_overlap = 1;
  for (size_t i = 0; i < after.size(); ++i) {
    // A lamp and a map hang at the left; the head moves about the middle.
    ASSERT_GT(ColouredShare(before[i], 0, 2, 2, 10), 0.5) << "frame " << i;
    ASSERT_LT(ColouredShare(after[i], 0, 2, 2, 10), 0.05) << "frame " << i;
    ASSERT_GT(ColouredShare(after[i], 4, 4, 6, 8), 0.5) << "frame " << i;
    if (i > 0) {
      least_overlap = std::min(least_overlap, Overlap(after[i - 1], after[i]));
    }
  }
  // A mask that flickers would lose whole parts from one frame to the next.
  EXPECT_GT(least_overlap, 0.8);
}

}  // namespace
}  // namespace vantro::test

// What travels with the frames: their times, and the audio.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/app/clip.h"
#include "tests/app/program_run.h"

namespace vantro::test {
namespace {

class VideoTimes : public ProgramTest {};

// 25, 30 and 60 frames a second mixed, a pause, and a first frame that is not at 0.
TEST_F(VideoTimes, OfFramesAreKept) {
  const std::vector<int> times = {80, 120, 160, 193, 227, 243, 260, 1500, 1540, 1580, 1597, 1667};
  WriteClip(Path("in.mp4"), NoiseFrames(12, 64, 48), times);
  const StoredVideo before = ReadClip(Path("in.mp4"));
  ASSERT_EQ(before.video.size(), times.size());
  for (const std::string name : {"out.mp4", "out.mov", "out.mkv"}) {
    SCOPED_TRACE(name);
    ExpectSuccess(Video({Path("in.mp4"), Path(name)}));
    const StoredVideo after = ReadClip(Path(name));
    EXPECT_EQ(after.kind.substr(0, 15), "h264,64,yuv420p");
    ASSERT_EQ(after.video.size(), times.size());
    EXPECT_EQ(DecodeClip(Path(name)).size(), times.size());
    for (size_t i = 0; i < times.size(); ++i) {
      EXPECT_EQ(after.video[i].pts, before.video[i].pts) << "frame " << i;
    }
    // The last frame, too, is shown as long as before; Matroska does not say how long.
    if (name != "out.mkv") {
      EXPECT_EQ(after.length, before.length);
    }
  }
}

// A container may stretch what its frames call square.
TEST_F(VideoTimes, PixelShapeIsThatOfTheContainer) {
  WriteClip(Path("in.mp4"), NoiseFrames(3, 64, 48), {0, 40, 80});
  const std::string copy = "ffmpeg -v error -i " + Path("in.mp4") + " -c copy -aspect 2:1 ";
  ASSERT_EQ(std::system((copy + Path("wide.mp4")).c_str()), 0);
  ExpectSuccess(Video({Path("wide.mp4"), Path("out.y4m")}));
  EXPECT_NE(ReadFile(Path("out.y4m")).find(" A3:2 "), std::string::npos);
}

TEST_F(VideoTimes, OfASteadyVideoAreSteady) {
  WriteFile(Path("in.y4m"), RawVideo(NoiseFrames(10, 64, 48)));
  ExpectSuccess(Video({Path("in.y4m"), Path("out.mp4")}));
  const StoredVideo after = ReadClip(Path("out.mp4"));
  ASSERT_EQ(after.video.size(), 10u);
  for (size_t i = 0; i < 10; ++i) {
    EXPECT_EQ(after.video[i].pts, static_cast<int64_t>(i) * 40000) << "frame " << i;
    EXPECT_EQ(after.video[i].duration, 40000) << "frame " << i;
  }
  EXPECT_EQ(after.length, 400000);
}

TEST_F(VideoTimes, AndBytesOfAudioAreKept) {
  const std::vector<int> times = {0, 40, 80, 200, 240, 1000};
  WriteClip(Path("in.mkv"), NoiseFrames(6, 64, 48), times,
            "-f lavfi -i sine=r=8000:d=1.2 -c:a pcm_s16le");
  const StoredVideo before = ReadClip(Path("in.mkv"));
  ASSERT_GT(before.audio.size(), 5u);
  ExpectSuccess(Video({Path("in.mkv"), Path("out.mkv")}));
  const StoredVideo after = ReadClip(Path("out.mkv"));
  EXPECT_EQ(after.audio, before.audio);
  EXPECT_EQ(after.video.size(), times.size());

  // MP4 cannot hold this kind: the video is rendered all the same, and the user is told.
  const std::string said = ExpectSuccess(Video({Path("in.mkv"), Path("out.mp4")}));
  EXPECT_NE(said.find("audio of the kind pcm_s16le"), std::string::npos) << said;
  const StoredVideo silent = ReadClip(Path("out.mp4"));
  EXPECT_TRUE(silent.audio.empty());
  EXPECT_EQ(silent.video.size(), times.size());
}

}  // namespace
}  // namespace vantro::test

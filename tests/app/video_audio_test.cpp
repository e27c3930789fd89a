// What travels with the frames: their times, and the audio.
#include <gtest/gtest.h>

#include "tests/app/clip.h"
#include "tests/app/program_run.h"

namespace vantro::test {
namespace {

std::vector<PlanarFrame> Frames(size_t count) {
  return std::vector<PlanarFrame>(count, NoiseFrame(64, 48, true, 1));
}

class VideoTimes : public ProgramTest {};

// 25, 30 and 60 frames a second mixed, a pause, and a first frame that is not at 0.
TEST_F(VideoTimes, OfFramesAreKept) {
  const std::vector<int64_t> times = {48, 72, 96, 116, 136, 146, 156, 900, 924, 948, 958, 1000};
  WriteClip(Path("in.mp4"), Frames(times.size()), {.times = times});
  const StoredVideo before = ReadClip(Path("in.mp4"));
  ASSERT_EQ(before.video.size(), times.size());
  for (const char* name : {"out.mp4", "out.mov", "out.mkv"}) {
    SCOPED_TRACE(name);
    const Result result = Video({Path("in.mp4"), Path(name)});
    ASSERT_EQ(result.status, 0) << result.errors;
    const StoredVideo after = ReadClip(Path(name));
    EXPECT_EQ(after.codec, "h264");
    EXPECT_EQ(after.pixel_format, "yuv420p");
    ASSERT_EQ(after.video.size(), times.size());
    EXPECT_EQ(after.decoded.size(), times.size());
    // Matroska counts milliseconds.
    const int64_t tolerance = std::string(name) == "out.mkv" ? 1000 : 0;
    for (size_t i = 0; i < times.size(); ++i) {
      EXPECT_NEAR(static_cast<double>(after.video[i].pts), static_cast<double>(before.video[i].pts),
                  static_cast<double>(tolerance))
          << "frame " << i;
    }
    // The last frame, too, is shown as long as before; Matroska does not say how long.
    if (std::string(name) != "out.mkv") {
      EXPECT_EQ(after.length, before.length);
    }
  }
}

TEST_F(VideoTimes, OfASteadyVideoAreSteady) {
  const std::vector<int64_t> times = {0, 24, 48, 72, 96, 120, 144, 168, 192, 216};
  WriteClip(Path("in.mp4"), Frames(times.size()), {.times = times});
  const Result result = Video({Path("in.mp4"), Path("out.mp4")});
  ASSERT_EQ(result.status, 0) << result.errors;
  const StoredVideo after = ReadClip(Path("out.mp4"));
  ASSERT_EQ(after.video.size(), times.size());
  for (size_t i = 0; i < times.size(); ++i) {
    EXPECT_EQ(after.video[i].pts, static_cast<int64_t>(i) * 40000) << "frame " << i;
    EXPECT_EQ(after.video[i].duration, 40000) << "frame " << i;
  }
  EXPECT_EQ(after.length, static_cast<int64_t>(times.size()) * 40000);
}

TEST_F(VideoTimes, AndBytesOfAudioAreKept) {
  const std::vector<int64_t> times = {0, 24, 48, 120, 144, 600};
  WriteClip(Path("in.mkv"), Frames(times.size()), {.times = times, .audio = true});
  const StoredVideo before = ReadClip(Path("in.mkv"));
  ASSERT_EQ(before.audio.size(), 12u);
  Result result = Video({Path("in.mkv"), Path("out.mkv")});
  ASSERT_EQ(result.status, 0) << result.errors;
  const StoredVideo after = ReadClip(Path("out.mkv"));
  EXPECT_TRUE(after.audio == before.audio);
  EXPECT_EQ(after.video.size(), times.size());

  // MP4 cannot hold this kind: the video is rendered all the same, and the user is told.
  result = Video({Path("in.mkv"), Path("out.mp4")});
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_NE(result.errors.find("audio of the kind pcm_s16le"), std::string::npos) << result.errors;
  const StoredVideo silent = ReadClip(Path("out.mp4"));
  EXPECT_TRUE(silent.audio.empty());
  EXPECT_EQ(silent.video.size(), times.size());
}

}  // namespace
}  // namespace vantro::test

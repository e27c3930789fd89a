// Ctrl-C in the middle of a video, or of many pictures.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <utility>

#include "tests/app/clip.h"
#include "tests/app/picture_file.h"

namespace vantro::test {
namespace {

class Interrupt : public ProgramTest {
 protected:
  Interrupt() {
    EXPECT_EQ(pipe2(ends_, O_CLOEXEC), 0);
    // Room for all that a test feeds.
    EXPECT_GE(fcntl(ends_[1], F_SETPIPE_SZ, 1 << 20), 1 << 20);
  }
  ~Interrupt() override {
    for (const int end : ends_) close(end);
  }
  // A program that renders `video`, which comes through a pipe that the test holds.
  RunningProgram Start(const std::string& video) {
    EXPECT_EQ(write(ends_[1], video.data(), video.size()), static_cast<ssize_t>(video.size()));
    return RunningProgram({"video", "-", Path("out.mp4"), "-v", "--engine", VANTRO_SCRIPTED_ENGINE},
                          ends_[0]);
  }

  int ends_[2] = {-1, -1};
};

class InterruptBy : public Interrupt, public testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(Signals, InterruptBy, testing::Values(SIGINT, SIGTERM));

TEST_P(InterruptBy, KeepsWhatWasRendered) {
  RunningProgram program = Start(RawVideo(NoiseFrames(60, 64, 48)));
  // The library tells in its log which frame it is at; then the pipe is empty, and the program
  // waits for more.
  ASSERT_TRUE(program.WaitFor("frameIdx is 20")) << program.errors();
  program.Signal(GetParam());
  EXPECT_EQ(program.Wait(), 128 + GetParam()) << program.errors();
  const size_t kept = DecodeClip(Path("out.mp4")).size();
  EXPECT_TRUE(kept >= 20 && kept <= 60) << kept;
  EXPECT_EQ(Files(), std::vector<std::string>{"out.mp4"});
}

// While the program waits for the head of the video, and while it waits for a whole frame.
class InterruptAfter : public Interrupt, public testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(Heads, InterruptAfter,
                         testing::Values("", "YUV4MPEG2 W64 H48 F25:1\nFRAME\n"));

TEST_P(InterruptAfter, NoFrameLeavesNothing) {
  RunningProgram program = Start(GetParam());
  while (Files().empty()) usleep(1000);  // its working file
  program.Signal(SIGINT);
  ExpectFailure({program.Wait(), program.errors(), ""}, 130, {"interrupted before the first"}, {});
}

// As nohup has it.
TEST_F(Interrupt, ThatWasIgnoredAtTheStartStaysIgnored) {
  const auto earlier = std::signal(SIGHUP, SIG_IGN);  // handed down
  RunningProgram program = Start(RawVideo(NoiseFrames(20, 64, 48)));
  std::signal(SIGHUP, earlier);
  ASSERT_TRUE(program.WaitFor("frameIdx is 5")) << program.errors();
  program.Signal(SIGHUP);
  close(std::exchange(ends_[1], -1));
  EXPECT_EQ(program.Wait(), 0) << program.errors();
  EXPECT_EQ(DecodeClip(Path("out.mp4")).size(), 20u);
}

// Pictures in work are finished, or, after a second signal, not even begun; none is left
// half-written.
TEST_F(Interrupt, OfPicturesLeavesWholeOnes) {
  WriteTestPng(Path("0.png"), NoisePicture(500, 400));
  std::vector<std::string> arguments = {"photo", Path("0.png")};
  for (int i = 1; i < 60; ++i) {
    arguments.push_back(Path(std::to_string(i) + ".png"));
    std::filesystem::create_hard_link(Path("0.png"), arguments.back());
  }
  arguments.insert(arguments.end(), {Path("out"), "-v", "--jobs", "3", "--mask-out", Path("masks"),
                                     "--engine", VANTRO_SCRIPTED_ENGINE, "--overwrite"});
  for (const int signals : {1, 2}) {
    SCOPED_TRACE(signals);
    RunningProgram program(arguments, ends_[0]);
    ASSERT_TRUE(program.WaitFor("Photo_Seg_process")) << program.errors();
    // Two of one kind that are pending together would arrive as one.
    program.Signal(SIGINT);
    if (signals == 2) program.Signal(SIGTERM);
    const int status = program.Wait();
    EXPECT_TRUE(status == 130 || (signals == 2 && status == 143)) << program.errors();
    EXPECT_LT(Files("out").size(), 60u);
    EXPECT_EQ(program.errors().find("not begun") != std::string::npos, signals == 1);
    for (const std::string& name : Files("out")) {
      EXPECT_EQ(ReadPhoto(Path("out/" + name)).width, 500) << name;
    }
    for (const std::string& name : Files("masks")) {
      EXPECT_EQ(std::filesystem::path(name).extension(), ".png");
    }
  }
}

}  // namespace
}  // namespace vantro::test

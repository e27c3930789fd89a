// Ctrl-C in the middle of a video, or of many pictures.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "tests/app/clip.h"
#include "tests/app/picture_file.h"
#include "tests/app/program_run.h"

namespace vantro::test {
namespace {

class Interrupt : public ProgramTest {
 protected:
  // The program renders what comes through a pipe that the test holds.
  void OpenPipe() {
    ASSERT_EQ(pipe2(ends_, O_CLOEXEC), 0);
    // Room for all that a test feeds: while it feeds, nobody reads the program's standard error.
    ASSERT_GE(fcntl(ends_[1], F_SETPIPE_SZ, 1 << 20), 1 << 20);
  }
  void ClosePipe() {
    close(ends_[0]);
    close(ends_[1]);
  }
  void Feed(const std::string& bytes) {
    for (size_t at = 0; at < bytes.size();) {
      const ssize_t done = write(ends_[1], bytes.data() + at, bytes.size() - at);
      ASSERT_GT(done, 0);
      at += static_cast<size_t>(done);
    }
  }
  std::vector<std::string> Arguments(const std::string& output) {
    return {"video", "-", Path(output), "-v", "--engine", VANTRO_SCRIPTED_ENGINE};
  }

  int ends_[2] = {-1, -1};
};

TEST_F(Interrupt, KeepsWhatWasRendered) {
  constexpr int kFed = 60;
  const auto frames = NoiseFrames(kFed, 64, 48);
  for (const int signal_number : {SIGINT, SIGTERM}) {
    SCOPED_TRACE(signal_number);
    const std::string output = "out" + std::to_string(signal_number) + ".mp4";
    OpenPipe();
    RunningProgram program(Arguments(output), ends_[0], folder_.string() + ".stdout");
    Feed(RawVideo(frames));
    // The library tells in its log which frame it is at; then the pipe is empty, and the program
    // waits for more.
    ASSERT_TRUE(program.WaitFor("frameIdx is 20")) << program.errors();
    program.Signal(signal_number);
    EXPECT_EQ(program.Wait(), 128 + signal_number) << program.errors();
    ClosePipe();
    const size_t kept = DecodeClip(Path(output)).size();
    EXPECT_TRUE(kept >= 20 && kept <= kFed) << kept;
    EXPECT_EQ(Files().size(), signal_number == SIGINT ? 1u : 2u) << "only whole videos are left";
  }
}

// While the program waits for the head of the video, and while it waits for a whole frame.
TEST_F(Interrupt, BeforeTheFirstFrameLeavesNothing) {
  for (const std::string fed : {"", "YUV4MPEG2 W64 H48 F25:1\nFRAME\n"}) {
    SCOPED_TRACE(fed);
    OpenPipe();
    RunningProgram program(Arguments("out.mp4"), ends_[0], folder_.string() + ".stdout");
    Feed(fed);
    while (Files().empty()) usleep(1000);  // its working file
    program.Signal(SIGINT);
    EXPECT_EQ(program.Wait(), 130) << program.errors();
    EXPECT_NE(program.errors().find("interrupted before the first frame"), std::string::npos)
        << program.errors();
    ClosePipe();
    EXPECT_TRUE(Files().empty());
  }
}

// Pictures in work are finished, or, after a second signal, not even begun; none is left
// half-written.
TEST_F(Interrupt, OfPicturesLeavesWholeOnes) {
  TestPicture picture(500, 400, 3);
  for (size_t i = 0; i < picture.samples.size(); ++i) {
    picture.samples[i] = static_cast<uint8_t>(i * i >> 7);
  }
  WriteTestPng(Path("0.png"), picture);
  std::vector<std::string> arguments = {"photo", Path("0.png")};
  for (int i = 1; i < 60; ++i) {
    arguments.push_back(Path(std::to_string(i) + ".png"));
    std::filesystem::create_hard_link(Path("0.png"), arguments.back());
  }
  arguments.insert(arguments.end(), {Path("out"), "-v", "--jobs", "3", "--mask-out", Path("masks"),
                                     "--engine", VANTRO_SCRIPTED_ENGINE, "--overwrite"});
  for (const int signals : {1, 2}) {
    SCOPED_TRACE(signals);
    RunningProgram program(arguments, open("/dev/null", O_RDONLY), folder_.string() + ".stdout");
    ASSERT_TRUE(program.WaitFor("Photo_Seg_process")) << program.errors();
    // Two of one kind that are pending together would arrive as one.
    program.Signal(SIGINT);
    if (signals == 2) program.Signal(SIGTERM);
    const int status = program.Wait();
    EXPECT_TRUE(status == 130 || (signals == 2 && status == 143)) << program.errors();
    EXPECT_LT(Files("out").size(), 60u);
    EXPECT_EQ(program.errors().find("not begun") != std::string::npos, signals == 1);
    for (const std::string& name : Files("out")) {
      EXPECT_EQ(ReadPicture(Path("out/" + name)).width, 500) << name;
    }
    for (const std::string& name : Files("masks")) {
      EXPECT_EQ(std::filesystem::path(name).extension(), ".png");
    }
  }
}

}  // namespace
}  // namespace vantro::test

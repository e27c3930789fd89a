// What goes wrong ends with the right status, a message that names the culprit, and no file.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/app/clip.h"
#include "tests/app/program_run.h"

namespace vantro::test {
namespace {

class VideoFailures : public ProgramTest {
 protected:
  void SetUp() override { WriteFile(Path("in.y4m"), RawVideo(NoiseFrames(6, 64, 48))); }
};

TEST_F(VideoFailures, OfWrongUsage) {
  const std::string in = Path("in.y4m");
  const std::string out = Path("out.mp4");
  const struct {
    std::vector<std::string> arguments;
    std::string culprit;
  } cases[] = {
      {{}, "a command is missing"},
      {{"paint", in, out}, "paint"},
      {{"video"}, "INPUT"},
      {{"video", in}, "OUTPUT"},
      {{"video", in, out, "--frobnicate"}, "--frobnicate"},
      {{"video", in, out, "--format", "rgb"}, "\"rgb\" is not nv21, nv12 or uyvy"},
      {{"video", in, out, "--threads", "65"}, "--threads"},
      {{"video", in, out, "--rect", "1,2,3"}, "--rect"},
      {{"video", in, out, "--rect", "0,0,0,4"}, "--rect"},
      {{"video", in, out, "--rect", "0,0,4,4x"}, "--rect"},
      {{"video", in, out, "--rect", "0,0,99999999999,4"}, "--rect"},
      {{"video", in, out, "--rect=-2,0,4,4"}, "--rect"},
      {{"video", in, Path("out.avi")}, ".avi"},
      {{"video", in, out, "--contact-sheet", Path("sheet.jpg")}, "sheet.jpg"},
      {{"video", in, in, "--overwrite"}, "is the input itself"},
      {{"video", in, Path("./sub/../in.y4m"), "--overwrite"}, "is the input itself"},
  };
  std::filesystem::create_directory(Path("sub"));
  const auto files = Files();
  for (const auto& usage : cases) {
    SCOPED_TRACE(usage.culprit);
    ExpectFailure(Run(usage.arguments), 2, {usage.culprit}, files);
  }
  // Only the frames tell how large a rectangle may be.
  ExpectFailure(Video({in, out, "--rect", "60,0,5,4"}), 2, {"--rect", "64x48"}, files);
  ExpectFailure(Video({in, out, "--rect", "2147483647,0,2147483647,4"}), 2, {"--rect"}, files);
}

TEST_F(VideoFailures, OfInputs) {
  WriteFile(Path("text.mp4"), std::string(5000, 'x'));
  WriteFile(Path("empty.mp4"), "");
  WriteFile(Path("headonly.y4m"), "YUV4MPEG2 W64 H48 F25:1\n");
  WriteFile(Path("tiny.y4m"), RawVideo(NoiseFrames(1, 1, 48)));
  std::filesystem::create_directory(Path("folder.mp4"));
  const std::pair<std::string, std::string> cases[] = {{Path("missing.mp4"), "missing.mp4"},
                                                       {Path("text.mp4"), "text.mp4"},
                                                       {Path("empty.mp4"), "empty.mp4"},
                                                       {Path("headonly.y4m"), "headonly.y4m"},
                                                       {Path("tiny.y4m"), "1x48"},
                                                       {Path("folder.mp4"), "folder.mp4"},
                                                       {"-", "standard input"}};
  const auto files = Files();
  for (const auto& [input, culprit] : cases) {
    ExpectFailure(Video({input, Path("out.mp4")}), 1, {"vantro: ", culprit}, files);
  }
}

TEST_F(VideoFailures, OfOutputs) {
  const std::string in = Path("in.y4m");
  WriteFile(Path("kept.mp4"), "kept");
  const auto files = Files();
  ExpectFailure(Video({in, Path("kept.mp4")}), 1, {"kept.mp4", "--overwrite"}, files);
  ExpectFailure(Video({in, Path("no/out.mp4")}), 1, {"no/out.mp4"}, files);
  ExpectFailure(Video({in, "/dev/null", "--overwrite"}), 1, {"/dev/null"}, files);
  ExpectFailure(Video({in, Path("out.mp4"), "--contact-sheet", Path("no/s.png")}), 1, {"no/s.png"},
                files);
  // The disk is full in the middle of the video, or at its end.
  for (const std::string name : {"out.y4m", "kept.mp4"}) {
    ExpectSuccess(Video({in, Path("whole" + name)}));
    const auto size = static_cast<int64_t>(ReadFile(Path("whole" + name)).size());
    std::filesystem::remove(Path("whole" + name));
    for (const int64_t space : {int64_t{1000}, size - 1}) {
      ExpectFailure(Video({in, Path(name), "--overwrite"}, "/dev/null", space), 1, {name}, files);
    }
  }
  EXPECT_EQ(ReadFile(Path("kept.mp4")), "kept");

  ExpectSuccess(Video({in, Path("kept.mp4"), "--overwrite"}));
  EXPECT_EQ(ReadClip(Path("kept.mp4")).video.size(), 6u);
  EXPECT_EQ(Files(), files);

  // A link to a file stays one, and the file it leads to is replaced.
  std::filesystem::create_symlink("kept.mp4", Path("link.mp4"));
  WriteFile(Path("kept.mp4"), "old");
  ExpectSuccess(Video({in, Path("link.mp4"), "--overwrite"}));
  EXPECT_TRUE(std::filesystem::is_symlink(Path("link.mp4")));
  EXPECT_EQ(ReadClip(Path("kept.mp4")).video.size(), 6u);
}

// What could be read of a file that ends too early is rendered, and the user is told.
TEST_F(VideoFailures, OfIncompleteInputs) {
  WriteClip(Path("whole.mp4"), NoiseFrames(6, 64, 48), {0, 40, 80, 120, 160, 200},
            "-movflags +faststart");
  const std::string whole = ReadFile(Path("whole.mp4"));
  WriteFile(Path("cut.mp4"), whole.substr(0, whole.size() * 3 / 4));
  const std::string said = ExpectSuccess(Video({Path("cut.mp4"), Path("out.mp4")}));
  EXPECT_NE(said.find("cut.mp4: seems incomplete, "), std::string::npos) << said;
  const size_t frames = ReadClip(Path("out.mp4")).video.size();
  EXPECT_TRUE(frames > 1 && frames < 6) << frames;
}

TEST_F(VideoFailures, OfEngines) {
  WriteFile(Path("text.so"), "not a library");
  std::filesystem::copy_file(VANTRO_SCRIPTED_ENGINE, Path("renamed.so"));
  const auto files = Files();
  const auto run = [this](const std::string& engine) {
    return Run({"video", Path("in.y4m"), Path("out.mp4"), "--engine", engine});
  };
  ExpectFailure(run(Path("missing.so")), 1, {"--engine", "missing.so"}, files);
  ExpectFailure(run(Path("text.so")), 1, {"--engine", "text.so"}, files);
  ExpectFailure(run(VANTRO_FOREIGN_LIBRARY), 1, {"soname", "libPlimra.so"}, files);
  // The file's own name does not matter.
  EXPECT_EQ(run(Path("renamed.so")).status, 0);
}

}  // namespace
}  // namespace vantro::test

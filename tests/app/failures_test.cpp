// What goes wrong ends with the right status, a message that names the culprit, and no file.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "tests/app/clip.h"
#include "tests/app/picture_file.h"

namespace vantro::test {
namespace {

namespace fs = std::filesystem;

class Failures : public ProgramTest {
 protected:
  using Arguments = std::vector<std::string>;

  Failures() {
    WriteFile(in_, RawVideo(NoiseFrames(6, 64, 48)));
    fs::create_directory(Path("sub"));
    for (const char* name : {"a.png", "b.png", "sub/a.png"}) {
      WriteTestPng(Path(name), NoisePicture(200, 200));
    }
    for (const char* name : {"a.jpg", "kept.mp4", "kept.png", "kept.html"}) {
      WriteFile(Path(name), "kept");
    }
  }
  // Each names its culprit and leaves the files as they were.
  void ExpectFailures(int status, bool photo,
                      const std::vector<std::pair<Arguments, std::string>>& cases) {
    const auto files = Files();
    for (const auto& [arguments, culprit] : cases) {
      SCOPED_TRACE(testing::PrintToString(arguments));
      ExpectFailure(photo ? Photo(arguments) : Video(arguments), status, {"vantro: ", culprit},
                    files);
    }
    for (const char* name : {"kept.mp4", "kept.png", "kept.html"}) {
      EXPECT_EQ(ReadFile(Path(name)), "kept");
    }
  }

  const std::string in_ = Path("in.y4m");
  const std::string out_ = Path("out.mp4");
};

TEST_F(Failures, OfUsageForVideos) {
  const auto files = Files();
  ExpectFailure(Run({}), 2, {"a command is missing"}, files);
  ExpectFailure(Run({"paint", in_, out_}), 2, {"paint"}, files);
  ExpectFailure(Run({"--frobnicate"}), 2, {"--frobnicate"}, files);
  ExpectFailures(
      2, false,
      {{{}, "INPUT"},
       {{in_}, "OUTPUT"},
       {{in_, out_, "--frobnicate"}, "--frobnicate"},
       {{in_, out_, "--format", "rgb"}, "\"rgb\" is not nv21, nv12 or uyvy"},
       {{in_, out_, "--threads", "65"}, "--threads"},
       {{in_, out_, "--rect", "1,2,3"}, "--rect"},
       {{in_, out_, "--rect", "0,0,0,4"}, "--rect"},
       {{in_, out_, "--rect", "0,0,4,4x"}, "--rect"},
       {{in_, out_, "--rect", "0,0,99999999999,4"}, "--rect"},
       {{in_, out_, "--rect=-2,0,4,4"}, "--rect"},
       // Only the frames tell how large a rectangle may be.
       {{in_, out_, "--rect", "60,0,5,4"}, "--rect 60,0,5,4: the rectangle does not fit"},
       {{in_, out_, "--rect", "2147483647,0,2147483647,4"}, "--rect"},
       {{in_, Path("out.avi")}, ".avi"},
       {{in_, out_, "--contact-sheet", Path("sheet.jpg")}, "sheet.jpg"},
       {{in_, out_, "--report", Path("page.pdf")}, "page.pdf"},
       {{in_, out_, "--report", ""}, "--report: the name is empty"},
       {{in_, out_, "--contact-sheet", ""}, "--contact-sheet: the name is empty"},
       {{in_, in_, "--overwrite"}, "is the input itself"},
       {{in_, Path("./sub/../in.y4m"), "--overwrite"}, "is the input itself"}});
}

TEST_F(Failures, OfUsageForPictures) {
  const std::string in = Path("a.png");
  const std::string other = Path("b.png");
  const std::string out = Path("out.png");
  ExpectFailures(2, true,
                 {{{}, "INPUT"},
                  {{in}, "OUTPUT"},
                  {{in, Path("out.gif")}, ".gif"},
                  {{in, Path("out")}, "out"},
                  {{in, other, Path("a.jpg")}, "is no folder"},
                  {{in, other, Path("new.jpg")}, "is no folder"},
                  {{in, other, Path("sub"), "--mask-out", Path("m.png")}, "--mask-out"},
                  {{in, Path("sub/a.png"), Path("out")}, "would both be written"},
                  {{Path("a.jpg"), Path("a.heic"), Path("out")}, "would both be written"},
                  {{in, Path("sub/../a.png"), "--overwrite"}, "is an input, and"},
                  {{in, other, Path("."), "--overwrite"}, "is an input, and"},
                  {{in, out, "--mask-out", in, "--overwrite"}, "is an input, and"},
                  {{in, out, "--mask-out", out}, "the mask of"},
                  {{in, out, "--mask-out", Path("mask.jpg")}, "mask.jpg"},
                  {{in, out, "--contact-sheet", Path("sheet.jpg")}, "sheet.jpg"},
                  {{in, out, "--contact-sheet", out}, "would both be written"},
                  {{in, out, "--format", "rgb"}, "rgb"},
                  {{in, out, "--jobs", "0"}, "--jobs"},
                  {{in, out, "--jobs", "65"}, "--jobs"}});
}

TEST_F(Failures, OfFiles) {
  WriteFile(Path("text.mp4"), std::string(5000, 'x'));
  WriteFile(Path("empty.mp4"), "");
  WriteFile(Path("headonly.y4m"), "YUV4MPEG2 W64 H48 F25:1\n");
  WriteFile(Path("tiny.y4m"), RawVideo(NoiseFrames(1, 1, 48)));
  fs::create_directory(Path("folder.mp4"));
  ExpectFailures(1, false,
                 {{{Path("missing.mp4"), out_}, "missing.mp4"},
                  // A terminal gets no control characters.
                  {{Path("\x1B[1m\xC3\x84\xC2\x9B.mp4"), out_}, "/?[1m\xC3\x84?.mp4"},
                  {{Path("text.mp4"), out_}, "text.mp4"},
                  {{Path("empty.mp4"), out_}, "empty.mp4"},
                  {{Path("headonly.y4m"), out_}, "headonly.y4m"},
                  {{Path("tiny.y4m"), out_}, "1x48"},
                  {{Path("folder.mp4"), out_}, "folder.mp4"},
                  {{"-", out_}, "standard input"},
                  {{in_, Path("kept.mp4")}, "--overwrite"},
                  {{in_, Path("no/out.mp4")}, "no/out.mp4"},
                  {{in_, "/dev/null", "--overwrite"}, "/dev/null"},
                  {{in_, out_, "--contact-sheet", Path("no/s.png")}, "no/s.png"},
                  {{in_, out_, "--report", Path("kept.html")}, "kept.html"}});
  // Names are taken as they stand.
  ExpectFailures(1, true,
                 {{{Path("a.png"), Path("no/out.png")}, "folder"},
                  {{Path("a.png"), Path("b.png"), Path("no/out")}, "make it first"},
                  {{"[absent,file]", Path("out.png")}, "[absent,file]: no such file"},
                  {{"--", "-absent.png", Path("out.png")}, "-absent.png: no such file"}});
}

// In the middle of the file, or at its end.
TEST_F(Failures, OfFullDisks) {
  const auto files = Files();
  for (const std::string name : {"out.y4m", "kept.mp4"}) {
    ExpectSuccess(Video({in_, Path("whole" + name)}));
    const auto size = static_cast<int64_t>(fs::file_size(Path("whole" + name)));
    fs::remove(Path("whole" + name));
    for (const int64_t space : {int64_t{1000}, size - 1}) {
      ExpectFailure(Video({in_, Path(name), "--overwrite"}, "/dev/null", space), 1, {name}, files);
    }
  }
  for (const std::string name : {"kept.png", "new.jpg", "new.webp"}) {
    ExpectFailure(Photo({Path("a.png"), Path(name), "--overwrite"}, 2000), 1, {name}, files);
  }
  EXPECT_EQ(ReadFile(Path("kept.mp4")), "kept");
  EXPECT_EQ(ReadFile(Path("kept.png")), "kept");

  // The pictures are told of even when their sheet fails.
  const std::vector<std::string> all = {Path("a.png"), Path("a.jpg"),     Path("out"),
                                        "--overwrite", "--contact-sheet", Path("kept.png")};
  EXPECT_EQ(Photo(all).status, 1);
  const auto size = static_cast<int64_t>(fs::file_size(Path("kept.png")));
  ExpectFailure(Photo(all, size - 1), 1,
                {"rendered  ", "a.jpg: is not a JPEG", "kept.png: cannot be written"}, Files());
  EXPECT_EQ(fs::file_size(Path("kept.png")), static_cast<uintmax_t>(size));
}

// The video, which took long, and the other files stay.
TEST_F(Failures, OfAReportAlone) {
  WriteFile(in_, RawVideo({6, PlanarFrame(64, 48, true, {90, 128, 128})}));
  auto files = Files();
  files.insert(files.end(), {"out.mp4", "sheet.png"});
  std::ranges::sort(files);
  const Arguments arguments = {
      in_, out_, "--contact-sheet", Path("sheet.png"), "--report", Path("page.html")};
  ExpectFailure(Video(arguments, "/dev/null", 16000), 1,
                {"page.html: cannot be written", "  frames "}, files);
  EXPECT_EQ(ReadClip(out_).video.size(), 6u);
}

// A link to a file stays one, also when the file is still to be made; a file that is replaced keeps
// its permissions; a name may be as long as names can be.
TEST_F(Failures, DoNotComeOfLinksOrLongNames) {
  fs::permissions(Path("kept.mp4"), fs::perms::owner_read | fs::perms::owner_write);
  fs::create_symlink("kept.mp4", Path("link.mp4"));
  fs::create_symlink("sub/new.mp4", Path("early.mp4"));
  ExpectSuccess(Video({in_, Path("link.mp4"), "--overwrite"}));
  ExpectSuccess(Video({in_, Path("early.mp4")}));
  EXPECT_TRUE(fs::is_symlink(Path("link.mp4")));
  EXPECT_TRUE(fs::is_symlink(Path("early.mp4")));
  EXPECT_EQ(fs::status(Path("kept.mp4")).permissions(),
            fs::perms::owner_read | fs::perms::owner_write);
  const std::string long_name = std::string(251, 'n') + ".mp4";
  ExpectSuccess(Video({in_, Path(long_name)}));
  for (const std::string& name : {std::string("kept.mp4"), std::string("sub/new.mp4"), long_name}) {
    EXPECT_EQ(ReadClip(Path(name)).video.size(), 6u) << name;
  }
}

// What could be read of a file that ends too early is rendered, and the user is told.
TEST_F(Failures, OfIncompleteVideos) {
  WriteClip(Path("whole.mp4"), NoiseFrames(6, 64, 48), {0, 40, 80, 120, 160, 200},
            "-movflags +faststart");
  const std::string copy = "ffmpeg -v error -i " + Path("whole.mp4") + " -c copy ";
  ASSERT_EQ(std::system((copy + Path("whole.avi")).c_str()), 0);
  for (const std::string ending : {".mp4", ".avi"}) {
    const std::string whole = ReadFile(Path("whole" + ending));
    WriteFile(Path("cut" + ending), whole.substr(0, whole.size() * 3 / 4));
    const std::string said = ExpectSuccess(Video({Path("cut" + ending), out_, "--overwrite"}));
    EXPECT_NE(said.find("cut" + ending + ": seems incomplete, "), std::string::npos) << said;
    const size_t frames = ReadClip(out_).video.size();
    EXPECT_TRUE(frames > 1 && frames < 6) << frames;
  }
}

// Frames larger than the included engine takes; each is told of once, although some are fed twice.
TEST_F(Failures, OfSegmentations) {
  if (VANTRO_HAS_ENGINE == 0) GTEST_SKIP() << "needs the included engine";
  WriteFile(Path("wide.y4m"), RawVideo(NoiseFrames(3, 65538, 2)));
  for (const char* rect : {"0,0,65538,2", "0,0,2,2"}) {
    const Result result =
        Run({"video", Path("wide.y4m"), Path("out.y4m"), "--rect", rect, "--overwrite"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.errors.find("failed on 3 frames"), std::string::npos) << result.errors;
  }
}

TEST_F(Failures, OfEngines) {
  WriteFile(Path("text.so"), "not a library");
  fs::copy_file(VANTRO_SCRIPTED_ENGINE, Path("renamed.so"));
  const auto files = Files();
  const auto run = [this](const std::string& engine) {
    return Run({"video", in_, out_, "--engine", engine});
  };
  ExpectFailure(run(Path("missing.so")), 1, {"--engine", "missing.so"}, files);
  ExpectFailure(run(Path("text.so")), 1, {"--engine", "text.so"}, files);
  ExpectFailure(run(VANTRO_FOREIGN_LIBRARY), 1, {"soname", "libPlimra.so"}, files);
  // The file's own name does not matter.
  ExpectSuccess(run(Path("renamed.so")));
}

}  // namespace
}  // namespace vantro::test

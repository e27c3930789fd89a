// BMP writers, guarded file routines, tracked allocation.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "tests/support/log_capture.h"
#include "vantro/diagnostics.h"
#include "vantro/image.h"
#include "vantro/tracked_alloc.h"

namespace vantro::test {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class Diagnostics : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::temp_directory_path() / ("vantro_diagnostics_" + std::to_string(getpid()));
    fs::create_directories(folder_);
  }
  void TearDown() override { fs::remove_all(folder_); }

  std::string Path(const char* name) const { return (folder_ / name).string(); }

  // The one file in the folder, its name checked against a dump of `name`, and removed.
  std::vector<uint8_t> TakeDump(const std::string& name) {
    std::vector<fs::path> files(fs::directory_iterator(folder_), fs::directory_iterator{});
    if (files.size() != 1) {
      ADD_FAILURE() << files.size() << " files";
      return {};
    }
    EXPECT_TRUE(std::regex_match(files[0].filename().string(),
                                 std::regex(name + R"(\d{4}_\d{6}_\d{3}\.bmp)")))
        << files[0];
    std::ifstream file(files[0], std::ios::binary);
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(file)), {});
    fs::remove(files[0]);
    return bytes;
  }
  bool NoFiles() const { return fs::is_empty(folder_); }

  fs::path folder_;
  LogCapture log_;
};

uint32_t Field(const std::vector<uint8_t>& bmp, size_t at) {
  uint32_t field = 0;
  for (size_t i = 4; i-- > 0;) field = field << 8 | bmp[at + i];
  return field;
}

// Pixel of a BMP as red, green, blue, counted from the top.
std::vector<int> Pixel(const std::vector<uint8_t>& bmp, int x, int y) {
  const uint32_t pitch = (Field(bmp, 18) * 3 + 3) / 4 * 4;
  const uint8_t* p =
      bmp.data() + 54 + (Field(bmp, 22) - 1 - static_cast<uint32_t>(y)) * pitch + 3 * x;
  return {p[2], p[1], p[0]};
}

TEST_F(Diagnostics, WritesPicturesOfEveryLayout) {
  // 5 x 2: rows of 15 bytes and one fill byte.
  std::vector<uint8_t> buffer(30);
  for (size_t i = 0; i < buffer.size(); ++i) buffer[i] = static_cast<uint8_t>(i);
  for (const auto& [channel, type] : {std::pair{1, 0}, {1, 1}, {3, 0}, {3, 1}}) {
    ASSERT_EQ(save_bmp_file(Path("a.bmp"), buffer.data(), 5, 2, channel, type), 0);
    const std::vector<uint8_t> bmp = TakeDump("a.bmp");
    ASSERT_EQ(bmp.size(), 54u + 32u);
    EXPECT_EQ(bmp[0], 'B');
    EXPECT_EQ(bmp[1], 'M');
    EXPECT_EQ(Field(bmp, 2), 86u);
    EXPECT_EQ(Field(bmp, 10), 54u);
    EXPECT_EQ(Field(bmp, 14), 40u);
    EXPECT_EQ(Field(bmp, 18), 5u);
    EXPECT_EQ(Field(bmp, 22), 2u);
    EXPECT_EQ(Field(bmp, 26), 1u | 24u << 16);
    EXPECT_EQ(Field(bmp, 34), 32u);
    EXPECT_EQ(bmp[54 + 15], 0);
    for (int y = 0; y < 2; ++y) {
      for (int x = 0; x < 5; ++x) {
        const int i = y * 5 + x;
        const std::vector<int> expected = channel == 1 ? std::vector{i, i, i}
                                          : type == 0  ? std::vector{3 * i, 3 * i + 1, 3 * i + 2}
                                                       : std::vector{i, 10 + i, 20 + i};
        EXPECT_EQ(Pixel(bmp, x, y), expected);
      }
    }
  }
}

TEST_F(Diagnostics, RefusesBadPicturesWithoutAFile) {
  uint8_t buffer[12] = {};
  EXPECT_EQ(save_bmp_file(Path("a"), buffer, 2, 2, 2, 0), -1);
  EXPECT_EQ(save_bmp_file(Path("a"), buffer, 2, 2, 4, 0), -1);
  EXPECT_EQ(save_bmp_file(Path("a"), buffer, 2, 2, 3, 2), -1);
  EXPECT_EQ(save_bmp_file(Path("a"), buffer, 2, 2, 3, -1), -1);
  EXPECT_EQ(save_bmp_file(Path("a"), nullptr, 2, 2, 3, 0), -1);
  EXPECT_EQ(save_bmp_file(Path("a"), buffer, 0, 2, 3, 0), -1);
  EXPECT_EQ(save_bmp_file(Path("a"), buffer, 2, -2, 3, 0), -1);
  EXPECT_EQ(save_bmp_file(Path("a"), buffer, 1 << 20, 1 << 20, 3, 0), -1);
  testing::internal::CaptureStdout();
  EXPECT_EQ(save_bmp_file("/no such folder/a", buffer, 2, 2, 3, 0), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "save_bmp_file, width=2, height=2, channel=3, type=0\n"
            "save_bmp_image() create the bmp file error!");
  EXPECT_TRUE(NoFiles());
}

TEST_F(Diagnostics, DumpsFramesInTheirColours) {
  std::mt19937 random(5);
  for (const int type : {0, 1, 4}) {
    for (const auto& [width, height] : {std::pair{6, 4}, {7, 5}, {1, 1}, {2, 3}}) {
      SCOPED_TRACE(testing::Message() << "type " << type << ", " << width << " x " << height);
      const int chroma_rows = type == 4 ? height : height / 2;
      GuardedBuffer frame(static_cast<size_t>(width * (height + chroma_rows)));
      for (size_t i = 0; i < frame.size(); ++i) frame[i] = static_cast<uint8_t>(random());
      save_nv12_or_nv21_UYVY_to_bmp_file(Path("f"), frame.data(), width, height, type);
      const std::vector<uint8_t> bmp = TakeDump("f");
      ASSERT_FALSE(bmp.empty());
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
          if (type == 4) {
            if (x == width - 1 && width % 2 != 0) continue;  // half a group
            const uint8_t* group = frame.data() + y * width * 2 + x / 2 * 4;
            const RGBCOLOR c = yuvTorgb(group[1 + x % 2 * 2], group[0], group[2]);
            ASSERT_THAT(Pixel(bmp, x, y), ElementsAre(c.red, c.green, c.blue));
            continue;
          }
          // Pairs go on over the ends of odd rows.
          const size_t pair = static_cast<size_t>((height + y / 2) * width + x / 2 * 2);
          if (pair + 2 > frame.size()) continue;
          const int v = frame[pair + (type == 0 ? 0 : 1)] - 128;
          const int u = frame[pair + (type == 0 ? 1 : 0)] - 128;
          const int luma = std::max(frame[static_cast<size_t>(y * width + x)] - 16, 0) * 1192;
          const auto limit = [](int value) { return std::clamp(value, 0, 262143) >> 10; };
          ASSERT_THAT(Pixel(bmp, x, y),
                      ElementsAre(limit(luma + 1634 * v), limit(luma - 833 * v - 400 * u),
                                  limit(luma + 2066 * u)));
        }
      }
      EXPECT_EQ(log_.timing_labels().size(), type == 4 ? 1u : 0u);
      log_.clear();
    }
  }
  uint8_t byte = 0;
  save_nv12_or_nv21_UYVY_to_bmp_file(Path("f"), &byte, 1, 1, 3);
  EXPECT_TRUE(log_.contains("save_nv12_or_nv21_UYVY_to_bmp_file type is 3, not support!\n"));
  for (const int side : {60000, INT32_MAX}) {
    log_.clear();
    save_nv12_or_nv21_UYVY_to_bmp_file(Path("f"), &byte, side, side, 0);
    EXPECT_TRUE(log_.contains("save_nv12_or_nv21_UYVY_to_bmp_file rgb_buf alloc Failed!\n"));
  }
  save_nv12_or_nv21_UYVY_to_bmp_file(Path("f"), &byte, -5, -5, 0);
  save_nv12_or_nv21_UYVY_to_bmp_file(Path("f"), nullptr, 2, 2, 0);
  EXPECT_TRUE(NoFiles());
}

TEST_F(Diagnostics, FileRoutinesKeepTheirGuards) {
  const std::string path = Path("data");
  uint8_t out[4] = {1, 2, 3, 4};
  uint8_t in[5] = {};
  EXPECT_EQ(writeFile(path.c_str(), out, 4), 0);
  EXPECT_EQ(readFile(path.c_str(), in, 4), 0);
  EXPECT_EQ(std::memcmp(in, out, 4), 0);
  EXPECT_EQ(readFile(path.c_str(), in, 5), -1) << "fewer bytes than asked for";
  EXPECT_TRUE(log_.contains("read file Error:" + path + "!"));

  testing::internal::CaptureStdout();
  EXPECT_EQ(writeFile(path, out, 2), 0);
  EXPECT_EQ(writeFile(path, nullptr, 2), -1);
  EXPECT_EQ(writeFile(path, out, 0), -1);
  EXPECT_EQ(writeFile(std::string("/no such folder/x"), out, 2), -1);
  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_THAT(printed, HasSubstr("save file: " + path + " success!\n"));
  EXPECT_THAT(printed, HasSubstr(" : input parm error!\n"));
  EXPECT_THAT(printed, HasSubstr(" : Write /no such folder/x Failed!\n"));

  log_.clear();
  const std::string relative = (folder_ / "." / "data").string();
  EXPECT_EQ(readFile(relative.c_str(), in, 2), -1);
  EXPECT_EQ(writeFile(relative.c_str(), out, 2), -1);
  EXPECT_EQ(log_.lines()[0], (LogLine{5, "VANTRO", "it is not absulate path"}));
  EXPECT_EQ(
      log_.lines()[1],
      (LogLine{5, "VANTRO", "your input filenmae contains relative signs!file: " + relative}));
  EXPECT_EQ(readFile(Path("absent").c_str(), in, 2), -1);
  EXPECT_EQ(readFile((path + std::string(4096, 'x')).c_str(), in, 2), -1);
  EXPECT_EQ(readFile(nullptr, in, 2), -1);
  EXPECT_EQ(writeFile("/no such folder/x", out, 2), -1);
  EXPECT_TRUE(log_.contains("Debug open file Error:/no such folder/x!"));
  if (fs::exists("/dev/full")) {
    EXPECT_EQ(writeFile("/dev/full", out, 2), 0) << "a short write is only logged";
    EXPECT_TRUE(log_.contains("Debug write file Error:/dev/full!"));
  }
}

TEST_F(Diagnostics, TrackedAllocationCountsCalls) {
  showMemTotal(7);
  const int total_before = std::stoi(log_.lines()[0].text.substr(19));
  log_.clear();
  void* a = __Malloc(100, "a");
  void* b = __Malloc(50, "b");
  ASSERT_NE(a, nullptr);
  std::memset(a, 1, 100);
  __Free(a, "a");
  __Free(b, "b");
  __Free(nullptr, "none");
  EXPECT_EQ(__Malloc(-1, "negative"), nullptr);
  __Free(nullptr, "negative");
  char freed_a[64];
  char freed_b[64];
  std::snprintf(freed_a, sizeof(freed_a), "Free %p  name:a", a);
  std::snprintf(freed_b, sizeof(freed_b), "Free %p  name:b", b);
  showMemTotal(8);
  const auto debug = [](const std::string& text) { return LogLine{3, "VANTRO", text}; };
  EXPECT_THAT(log_.lines(),
              ElementsAre(debug("Malloc 100  name:a"), debug("Malloc 50  name:b"), debug(freed_a),
                          debug("memory blk cnt = 1"), debug(freed_b), debug("memory blk cnt = 0"),
                          debug("Free (nil)  name:none"), debug("memory blk cnt = -1"),
                          debug("Malloc -1  name:negative"), debug("Free (nil)  name:negative"),
                          debug("memory blk cnt = -1"),
                          LogLine{4, "VANTRO",
                                  "frame: 8  mem use: " + std::to_string(total_before + 149)}));
}

}  // namespace
}  // namespace vantro::test

// BMP writers, guarded file routines, full disks, tracked allocation.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <random>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "tests/support/log_capture.h"
#include "tests/support/threads.h"
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
    const std::vector<fs::path> files(fs::directory_iterator(folder_), fs::directory_iterator{});
    EXPECT_EQ(files.size(), 1u);
    if (files.empty()) return {};
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

// No file grows past a size; writing past it fails like writing to a full disk.
class SmallDisk {
 public:
  explicit SmallDisk(rlim_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &before_);
    rlimit small = before_;
    small.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &small);
  }
  ~SmallDisk() { setrlimit(RLIMIT_FSIZE, &before_); }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

 private:
  rlimit before_ = {};
};

// A 24-bit BMP whose pixels, counted from the top, are red, green and blue as pixel(x, y) tells;
// any where it tells none.
template <typename PixelAt>
void ExpectBmp(const std::vector<uint8_t>& bmp, int width, int height, PixelAt pixel) {
  const int pitch = (width * 3 + 3) / 4 * 4;
  const int size = 54 + pitch * height;
  ASSERT_EQ(bmp.size(), static_cast<size_t>(size));
  std::vector<uint8_t> header(54);
  const std::pair<size_t, int> fields[] = {
      {0, 'B' | 'M' << 8}, {2, size},    {10, 54},           {14, 40},
      {18, width},         {22, height}, {26, 1 | 24 << 16}, {34, size - 54}};
  for (const auto& [at, value] : fields) std::memcpy(&header[at], &value, 4);
  EXPECT_EQ(std::vector<uint8_t>(bmp.begin(), bmp.begin() + 54), header);
  for (int y = 0; y < height; ++y) {
    const uint8_t* row = &bmp[static_cast<size_t>(54 + (height - 1 - y) * pitch)];
    for (int x = 0; x < width; ++x) {
      const std::vector<int> rgb = pixel(x, y);
      if (rgb.empty()) continue;
      ASSERT_THAT(rgb, ElementsAre(row[3 * x + 2], row[3 * x + 1], row[3 * x])) << x << ", " << y;
    }
    for (int i = width * 3; i < pitch; ++i) ASSERT_EQ(row[i], 0);
  }
}

TEST_F(Diagnostics, WritesPicturesOfEveryLayout) {
  std::vector<uint8_t> buffer(30);
  std::iota(buffer.begin(), buffer.end(), uint8_t{0});
  for (const auto& [channel, type] : {std::pair{1, 0}, {1, 1}, {3, 0}, {3, 1}}) {
    ASSERT_EQ(save_bmp_file(Path("a.bmp"), buffer.data(), 5, 2, channel, type), 0);
    ExpectBmp(TakeDump("a.bmp"), 5, 2, [&, c = channel, t = type](int x, int y) {
      const int i = y * 5 + x;
      if (c == 1) return std::vector{i, i, i};
      return t == 0 ? std::vector{3 * i, 3 * i + 1, 3 * i + 2} : std::vector{i, 10 + i, 20 + i};
    });
  }
}

TEST_F(Diagnostics, RefusesBadPicturesWithoutAFile) {
  uint8_t buffer[12] = {};
  // Width, height, channel, type.
  const std::array<int, 4> refused[] = {{2, 2, 2, 0},
                                        {2, 2, 4, 0},
                                        {2, 2, 3, 2},
                                        {2, 2, 3, -1},
                                        {0, 2, 3, 0},
                                        {2, -2, 3, 0},
                                        {1 << 20, 1 << 20, 3, 0}};
  for (const auto& [width, height, channel, type] : refused) {
    EXPECT_EQ(save_bmp_file(Path("a"), buffer, width, height, channel, type), -1);
  }
  EXPECT_EQ(save_bmp_file(Path("a"), nullptr, 2, 2, 3, 0), -1);
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
      const auto at = [&](int i) { return frame[static_cast<size_t>(i)]; };
      const auto pixel = [&, w = width, h = height](int x, int y) -> std::vector<int> {
        if (type == 4) {
          if (x == w - 1 && w % 2 != 0) return {};  // half a group
          const int group = y * w * 2 + x / 2 * 4;
          const RGBCOLOR c = yuvTorgb(at(group + 1 + x % 2 * 2), at(group), at(group + 2));
          return {c.red, c.green, c.blue};
        }
        // Pairs go on over the ends of odd rows.
        const int pair = (h + y / 2) * w + x / 2 * 2;
        if (pair + 2 > static_cast<int>(frame.size())) return {};
        const int v = at(pair + (type == 0 ? 0 : 1)) - 128;
        const int u = at(pair + (type == 0 ? 1 : 0)) - 128;
        const int luma = std::max(at(y * w + x) - 16, 0) * 1192;
        const auto limit = [](int value) { return std::clamp(value, 0, 262143) >> 10; };
        return {limit(luma + 1634 * v), limit(luma - 833 * v - 400 * u), limit(luma + 2066 * u)};
      };
      ExpectBmp(TakeDump("f"), width, height, pixel);
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
}

TEST_F(Diagnostics, AFullDiskIsReportedAndLeavesNothingOpen) {
  const std::string path = Path("file");
  std::vector<uint8_t> picture(400 * 300 * 2, 9);
  const auto open_files = OpenFiles();
  // In the header, between two rows, in the bytes that only closing writes.
  for (const rlim_t room : {0u, 20u, 54u, 1253u, 200000u, 360000u}) {
    SCOPED_TRACE(room);
    const SmallDisk disk(room);
    EXPECT_EQ(save_bmp_file(path, picture.data(), 400, 300, 1, 0), -1);
    save_nv12_or_nv21_UYVY_to_bmp_file(path, picture.data(), 400, 300, 4);
    testing::internal::CaptureStdout();
    EXPECT_EQ(writeFile(path, picture.data(), 240000), room < 240000 ? -1 : 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout().find("success") != std::string::npos,
              room >= 240000);
    EXPECT_EQ(writeFile(path.c_str(), picture.data(), 240000), 0) << "a short write is only logged";
    EXPECT_EQ(log_.contains("Debug write file Error:" + path + "!"), room < 240000);
    log_.clear();
  }
  std::vector<uint8_t> back(240000);
  EXPECT_EQ(readFile(path.c_str(), back.data(), 240000), 0);
  EXPECT_TRUE(std::equal(back.begin(), back.end(), picture.begin()));
  EXPECT_EQ(readFile(folder_.c_str(), back.data(), 1), -1) << "a folder";
  EXPECT_EQ(OpenFiles(), open_files);
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
  const auto freed = [](void* block, const std::string& name) {
    return (std::ostringstream() << "Free " << block << "  name:" << name).str();
  };
  std::vector<LogLine> expected;
  for (const std::string& text :
       {std::string("Malloc 100  name:a"), std::string("Malloc 50  name:b"), freed(a, "a"),
        std::string("memory blk cnt = 1"), freed(b, "b"), std::string("memory blk cnt = 0"),
        std::string("Free (nil)  name:none"), std::string("memory blk cnt = -1"),
        std::string("Malloc -1  name:negative"), std::string("Free (nil)  name:negative"),
        std::string("memory blk cnt = -1")}) {
    expected.push_back({3, "VANTRO", text});
  }
  EXPECT_EQ(log_.lines(), expected);
  log_.clear();
  showMemTotal(8);
  EXPECT_EQ(log_.lines()[0].text, "frame: 8  mem use: " + std::to_string(total_before + 149));
}

}  // namespace
}  // namespace vantro::test

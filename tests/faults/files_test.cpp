// Files that end early: the disk is full after so many bytes.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/log_capture.h"
#include "vantro/diagnostics.h"

namespace vantro::test {
namespace {

namespace fs = std::filesystem;

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

auto OpenFiles() {
  return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

TEST(FullDisk, IsReportedAndLeavesNothingOpen) {
  const fs::path folder = fs::temp_directory_path() / ("vantro_files_" + std::to_string(getpid()));
  fs::create_directories(folder);
  const std::string path = (folder / "file").string();
  std::vector<uint8_t> picture(400 * 300 * 2, 9);
  const auto open_files = OpenFiles();
  LogCapture log;
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
    EXPECT_EQ(log.contains("Debug write file Error:" + path + "!"), room < 240000);
    log.clear();
    EXPECT_EQ(OpenFiles(), open_files);
  }
  EXPECT_EQ(writeFile(path.c_str(), picture.data(), 240000), 0);
  std::vector<uint8_t> back(240000);
  EXPECT_EQ(readFile(path.c_str(), back.data(), 240000), 0);
  EXPECT_TRUE(std::equal(back.begin(), back.end(), picture.begin()));
  EXPECT_EQ(readFile(folder.c_str(), back.data(), 1), -1) << "a folder";
  EXPECT_EQ(OpenFiles(), open_files);
  fs::remove_all(folder);
}

}  // namespace
}  // namespace vantro::test

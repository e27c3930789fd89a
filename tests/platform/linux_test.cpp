// The library's own log and properties: standard error and the environment.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "vantro/thread.h"
#include "vantro/tracked_alloc.h"
#include "vantro/vantro.h"

namespace vantro::test {
namespace {

// What a call writes to standard error while the variable has this value; null: it is not set.
template <typename Call>
std::string Shown(const char* lowest, Call call) {
  lowest == nullptr ? unsetenv("VANTRO_LOG") : setenv("VANTRO_LOG", lowest, 1);
  testing::internal::CaptureStderr();
  call();
  unsetenv("VANTRO_LOG");
  return testing::internal::GetCapturedStderr();
}

TEST(LinuxLog, ShowsLinesFromTheLowestLevelOn) {
  const auto error = [] { MThread_Create(0, nullptr, nullptr); };
  const auto info = [] { showMemTotal(3); };
  const auto debug = [] { __Free(nullptr, "x"); };
  const std::string error_line = "E QZA_MVANTRO: Wrong Thread Number (0)!\n";
  const std::string info_line = "I VANTRO: frame: 3  mem use: 0\n";
  for (const char* lowest : {static_cast<const char*>(nullptr), "error", "no such level"}) {
    EXPECT_EQ(Shown(lowest, error), error_line);
    EXPECT_EQ(Shown(lowest, info), "");
  }
  EXPECT_EQ(Shown("warn", info), "");
  EXPECT_EQ(Shown("info", info), info_line);
  EXPECT_EQ(Shown("info", debug), "");
  EXPECT_EQ(Shown("debug", info), info_line);
  EXPECT_EQ(Shown("debug", debug).find("D VANTRO: Free (nil)  name:x\nD VANTRO: memory"), 0u);
  EXPECT_EQ(Shown("silent", error), "");
}

TEST(LinuxProperties, AreVariablesWithUnderscores) {
  MemPool no_memory = {[](uint32_t, const char*, int32_t) -> void* { return nullptr; },
                       [](void*, const char*, int32_t) {}};
  const auto switch_for = [&](const char* value) {
    setenv("vendor_qzVantro_printlog", value, 1);
    const std::string log = Shown("debug", [&] {
      void* handle = nullptr;
      EXPECT_EQ(Vantro_Init(&handle, "x", &no_memory), VANTRO_ERR_INPUT);
    });
    unsetenv("vendor_qzVantro_printlog");
    const std::string line = "get vendor.qzVantro.printlog debug flag mask ";
    const size_t at = log.find(line);
    return at == std::string::npos ? '?' : log[at + line.size()];
  };
  EXPECT_EQ(switch_for("1"), '1');
  EXPECT_EQ(switch_for(std::string(500, '1').c_str()), '1');
  EXPECT_EQ(switch_for("0"), '0');
  EXPECT_EQ(switch_for(""), '0');
}

}  // namespace
}  // namespace vantro::test

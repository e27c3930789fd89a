// How a pool's threads are made: number, names, CPU sets, nice values, and the lines about them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/log_capture.h"
#include "vantro/thread.h"

namespace vantro::test {
namespace {

constexpr char kTag[] = "QZA_MVANTRO";
constexpr uint32_t kAny = 0xFFFFFFFF;

// CPUs of the calling thread as a mask of the first 32.
uint32_t OwnCpus() {
  cpu_set_t set;
  CPU_ZERO(&set);
  sched_getaffinity(0, sizeof(set), &set);
  uint32_t mask = 0;
  for (size_t cpu = 0; cpu < 32; ++cpu) mask |= CPU_ISSET(cpu, &set) ? 1u << cpu : 0u;
  return mask;
}

// Whether the system takes a mask of four bytes: qemu-user refuses all but multiples of eight.
bool TakesFourBytes() {
  const uint32_t own = OwnCpus();
  return syscall(SYS_sched_setaffinity, 0, sizeof(own), &own) == 0;
}

// What one thread saw of itself.
struct Self {
  uint32_t cpus = 0;
  int nice = 99;
  std::string name;
  void Look() {
    cpus = OwnCpus();
    nice = getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
    char text[16] = {};
    pthread_getname_np(pthread_self(), text, sizeof(text));
    name = text;
  }
};

bool Has(const std::vector<LogLine>& lines, const std::string& text) {
  return std::find(lines.begin(), lines.end(), LogLine{6, kTag, text}) != lines.end();
}

struct Record {
  const MThreadAttr* attributes;
  int32_t flag;  // of threads 0 to 3 and 8
  uint32_t mask;
  uint32_t mask_4_to_7;
  int nice;
  const char* name;  // null: the caller's

  friend void PrintTo(const Record& record, std::ostream* out) { *out << "flag " << record.flag; }
};

class ThreadPlacement : public testing::TestWithParam<Record> {};

// A thread has what the attributes ask for, or a line says that it could not be had (this machine
// may have fewer CPUs, or forbid a raised priority).
TEST_P(ThreadPlacement, ThreadsAreMadeAsTheAttributesSay) {
  constexpr int32_t kCount = 9;
  const Record& record = GetParam();
  MThreadPool* pool = nullptr;
  int32_t made = -77;
  Self selves[kCount];
  Self caller;
  std::vector<LogLine> lines;
  // On a thread of its own, as the flag 1 pins the thread that creates the pool.
  std::thread([&] {
    const LogCapture log;
    pool = MThread_Create(kCount, record.attributes, &made);
    ASSERT_NE(pool, nullptr);
    const auto look = [](void* all, int32_t index) -> int32_t {
      static_cast<Self*>(all)[index].Look();
      return 0;
    };
    MThread_Finish(pool, 0, kCount, look, selves);
    caller.Look();
    lines = log.lines();
  }).join();
  ASSERT_NE(pool, nullptr);
  EXPECT_EQ(made, kCount);
  EXPECT_EQ(pool->thread_num, kCount);
  const bool takes_masks = TakesFourBytes();
  const bool pinned = record.flag == 1 && (caller.cpus & ~0xF0u) == 0 && takes_masks;
  EXPECT_EQ(Has(lines, "Fail to Set CPU Affinity for Main Thead!"), record.flag == 1 && !pinned);
  for (int32_t i = 0; i < kCount; ++i) {
    SCOPED_TRACE(i);
    const bool second_half = i >= 4 && i <= 7;
    const MThreadUnit& unit = pool->threads[i];
    EXPECT_EQ(unit.thread_index, i);
    EXPECT_EQ(unit.bind_core_flag, second_half ? (record.flag == 1 ? 2 : 1) : record.flag);
    EXPECT_EQ(unit.priority, record.nice);
    const uint32_t mask = second_half ? record.mask_4_to_7 : record.mask;
    const std::string number = std::to_string(i);
    EXPECT_EQ(Has(lines, "Fail to Set CPU Affinity for Thead " + number + "!\n"),
              (selves[i].cpus & ~mask) != 0 || (mask != kAny && !takes_masks));
    EXPECT_EQ(Has(lines, "Set Priority for Thread " + number + " failed, priority " +
                             std::to_string(record.nice) + "!\n"),
              selves[i].nice != record.nice);
    EXPECT_EQ(selves[i].name, record.name != nullptr ? record.name : caller.name);
  }
  const auto line = [&](const char* format) {
    char text[80];
    std::snprintf(text, sizeof(text), format, static_cast<void*>(pool));
    return LogLine{3, kTag, text};
  };
  EXPECT_THAT(lines, testing::Contains(line("9 / 9 threads Created for %p.")));
  const LogLine destroyed = line("9 threads Destroyed for %p.");
  const LogCapture log;
  MThread_Destroy(pool);
  EXPECT_THAT(log.lines(), testing::ElementsAre(destroyed));
}

constexpr MThreadAttr kFlag2 = {2, 0, "VANTRO"};
constexpr MThreadAttr kFlag1 = {1, 1, nullptr};
constexpr MThreadAttr kBadFlag = {3, -5, "fifteen letters"};
INSTANTIATE_TEST_SUITE_P(Attributes, ThreadPlacement,
                         testing::Values(Record{nullptr, 0, 0xFF, 0xF0, 0, "Nuvex_Algo"},
                                         Record{&kFlag2, 2, 0x0F, 0xF0, 0, "VANTRO"},
                                         Record{&kFlag1, 1, 0xF0, 0x0F, -20, nullptr},
                                         Record{&kBadFlag, 3, kAny, 0xF0, -20, "fifteen letters"}));

TEST(ThreadCreation, RefusesCountsBelowOne) {
  for (const int32_t count : {0, -1, INT32_MIN}) {
    const LogCapture log;
    int32_t made = -77;
    EXPECT_EQ(MThread_Create(count, nullptr, &made), nullptr);
    EXPECT_EQ(made, -77);
    EXPECT_THAT(log.lines(), testing::ElementsAre(LogLine{
                                 6, kTag, "Wrong Thread Number (" + std::to_string(count) + ")!"}));
  }
}

TEST(ThreadCreation, BindsAndNamesTheCallerOrAThread) {
  struct Case {
    int32_t (*bind)(int32_t);
    int32_t flag;
    uint32_t mask;  // 0: refused
  };
  const Case cases[] = {{MThread_Bind, 0, 0xFF}, {MThread_Bind, 1, 0xF0}, {MThread_Bind, 2, 0x0F},
                        {MThread_Bind, 3, 0},    {MThread_Bind, -1, 0},   {bindCore, 1, 0xF0},
                        {bindCore, 0, 0x0F},     {bindCore, 2, 0x0F},     {bindCore, -9, 0x0F}};
  const bool takes_masks = TakesFourBytes();
  for (const Case& c : cases) {
    std::thread([&] {
      const uint32_t before = OwnCpus();
      const int32_t result = c.bind(c.flag);
      // Refused, or none of the CPUs is there.
      const bool possible = (before & c.mask) != 0 && takes_masks;
      EXPECT_EQ(result, possible ? 0 : -1) << c.flag;
      EXPECT_EQ(OwnCpus(), possible ? before & c.mask : before) << c.flag;
    }).join();
  }

  std::thread([] {
    Self self;
    MThread_Name(nullptr, "a name longer than fifteen");
    self.Look();
    EXPECT_EQ(self.name, "a name longer t");
    const pthread_t handle = pthread_self();
    MThread_Name(&handle, "by handle");
    MThread_Name(&handle, nullptr);
    MThread_Name(nullptr, nullptr);
    self.Look();
    EXPECT_EQ(self.name, "by handle");
  }).join();
}

}  // namespace
}  // namespace vantro::test

// How a pool's threads are made: number, names, CPU sets, nice values, and the lines about them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/log_capture.h"
#include "vantro/thread.h"

namespace vantro::test {
namespace {

constexpr char kTag[] = "QZA_MVANTRO";

// CPUs of the calling thread as a mask of the first 32.
uint32_t OwnCpus() {
  cpu_set_t set;
  CPU_ZERO(&set);
  sched_getaffinity(0, sizeof(set), &set);
  uint32_t mask = 0;
  for (size_t cpu = 0; cpu < 32; ++cpu) mask |= CPU_ISSET(cpu, &set) ? 1u << cpu : 0u;
  return mask;
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

// The CPUs that a thread started from here has after asking for `mask`; whether the kernel refused.
struct Pinned {
  uint32_t cpus;
  bool refused;
};

Pinned AskFor(uint32_t mask) {
  Pinned result{};
  std::thread([&] {
    result.refused = syscall(SYS_sched_setaffinity, gettid(), sizeof(mask), &mask) != 0;
    result.cpus = OwnCpus();
  }).join();
  return result;
}

bool MayTakeNice(int value) {
  bool allowed = false;
  std::thread([&] {
    allowed = setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), value) == 0;
  }).join();
  return allowed;
}

struct Record {
  const char* what;
  const MThreadAttr* attributes;
  int32_t flag;  // of threads 0 to 3 and 8
  uint32_t mask;
  uint32_t mask_4_to_7;
  int nice;
  const char* name;  // null: the caller's
};

TEST(ThreadPlacement, ThreadsAreMadeAsTheAttributesSay) {
  static constexpr MThreadAttr kFlag2 = {2, 0, "VANTRO"};
  static constexpr MThreadAttr kFlag1 = {1, 1, nullptr};
  static constexpr MThreadAttr kBadFlag = {3, -5, "fifteen letters"};
  constexpr uint32_t kAny = 0xFFFFFFFF;
  static constexpr Record kRecords[] = {
      {"default", nullptr, 0, 0xFF, 0xF0, 0, "Nuvex_Algo"},
      {"video", &kFlag2, 2, 0x0F, 0xF0, 0, "VANTRO"},
      {"big cores", &kFlag1, 1, 0xF0, 0x0F, -20, nullptr},
      {"no such set", &kBadFlag, 3, kAny, 0xF0, -20, "fifteen letters"}};
  constexpr int32_t kCount = 9;
  for (const Record& record : kRecords) {
    SCOPED_TRACE(record.what);
    std::vector<Self> selves(kCount);
    std::vector<LogLine> lines;
    int32_t made = -77;
    MThreadPool* pool = nullptr;
    Self caller;
    bool caller_refused = false;
    uint32_t start_cpus = 0;
    // In a thread of its own: the flag 1 pins the thread that creates the pool.
    std::thread([&] {
      const bool pins_caller = record.flag == 1;
      caller_refused = pins_caller && AskFor(0xF0).refused;
      const LogCapture log;
      pool = MThread_Create(kCount, record.attributes, &made);
      ASSERT_NE(pool, nullptr);
      MThread_Finish(
          pool, 0, kCount,
          [](void* argument, int32_t index) -> int32_t {
            (*static_cast<std::vector<Self>*>(argument))[static_cast<size_t>(index)].Look();
            return 0;
          },
          &selves);
      caller.Look();
      start_cpus = caller.cpus;  // a thread inherits these
      lines = log.lines();
    }).join();
    ASSERT_NE(pool, nullptr);
    EXPECT_EQ(made, kCount);
    EXPECT_EQ(pool->thread_num, kCount);

    size_t complaints = 0;
    const auto expect_line = [&](const std::string& text) {
      EXPECT_THAT(lines, testing::Contains(LogLine{6, kTag, text}));
      ++complaints;
    };
    if (caller_refused) expect_line("Fail to Set CPU Affinity for Main Thead!");
    for (int32_t i = 0; i < kCount; ++i) {
      SCOPED_TRACE(i);
      const bool second_half = i >= 4 && i <= 7;
      const MThreadUnit& unit = pool->threads[i];
      EXPECT_EQ(unit.thread_index, i);
      EXPECT_EQ(unit.bind_core_flag, second_half ? (record.flag == 1 ? 2 : 1) : record.flag);
      EXPECT_EQ(unit.priority, record.nice);
      const uint32_t mask = second_half ? record.mask_4_to_7 : record.mask;
      const Self& self = selves[static_cast<size_t>(i)];
      const Pinned pinned = mask == kAny ? Pinned{start_cpus, false} : AskFor(mask);
      EXPECT_EQ(self.cpus, pinned.refused ? start_cpus : pinned.cpus);
      if (pinned.refused) {
        expect_line("Fail to Set CPU Affinity for Thead " + std::to_string(i) + "!\n");
      }
      if (MayTakeNice(record.nice)) {
        EXPECT_EQ(self.nice, record.nice);
      } else {
        expect_line("Set Priority for Thread " + std::to_string(i) + " failed, priority " +
                    std::to_string(record.nice) + "!\n");
      }
      EXPECT_EQ(self.name, record.name != nullptr ? record.name : caller.name);
    }
    char created[80];
    std::snprintf(created, sizeof(created), "9 / 9 threads Created for %p.",
                  static_cast<void*>(pool));
    EXPECT_THAT(lines, testing::Contains(LogLine{3, kTag, created}));
    EXPECT_EQ(lines.size(), complaints + 1);

    char destroyed[80];
    std::snprintf(destroyed, sizeof(destroyed), "9 threads Destroyed for %p.",
                  static_cast<void*>(pool));
    const LogCapture log;
    MThread_Destroy(pool);
    EXPECT_THAT(log.lines(), testing::ElementsAre(LogLine{3, kTag, destroyed}));
  }
}

TEST(ThreadPlacement, RefusesCountsBelowOne) {
  for (const int32_t count : {0, -1, INT32_MIN}) {
    const LogCapture log;
    int32_t made = -77;
    EXPECT_EQ(MThread_Create(count, nullptr, &made), nullptr);
    EXPECT_EQ(made, -77);
    EXPECT_THAT(log.lines(), testing::ElementsAre(LogLine{
                                 6, kTag, "Wrong Thread Number (" + std::to_string(count) + ")!"}));
  }
}

TEST(ThreadPlacement, BindsAndNamesTheCallerOrAThread) {
  struct Case {
    int32_t (*bind)(int32_t);
    int32_t flag;
    uint32_t mask;  // 0: refused
  };
  const Case cases[] = {{MThread_Bind, 0, 0xFF}, {MThread_Bind, 1, 0xF0}, {MThread_Bind, 2, 0x0F},
                        {MThread_Bind, 3, 0},    {MThread_Bind, -1, 0},   {bindCore, 1, 0xF0},
                        {bindCore, 0, 0x0F},     {bindCore, 2, 0x0F},     {bindCore, -9, 0x0F}};
  for (const Case& c : cases) {
    const Pinned wanted = c.mask == 0 ? Pinned{OwnCpus(), true} : AskFor(c.mask);
    std::thread([&] {
      EXPECT_EQ(c.bind(c.flag), wanted.refused ? -1 : 0) << c.flag;
      EXPECT_EQ(OwnCpus(), wanted.cpus) << c.flag;
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

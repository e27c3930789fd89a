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
constexpr uint32_t kUnset = 0;  // no CPU set

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
  const MThreadAttr* attributes;
  int32_t flag;  // of threads 0 to 3 and 8
  uint32_t mask;
  uint32_t mask_4_to_7;
  int nice;
  const char* name;  // null: the caller's
};

class ThreadPlacement : public testing::TestWithParam<Record> {
 protected:
  static constexpr int32_t kCount = 9;

  // Makes the pool on a thread of its own, as the flag 1 pins the thread that creates it, and has
  // every thread look at itself.
  void MakePool() {
    std::thread([&] {
      const bool refused = GetParam().flag == 1 && AskFor(0xF0).refused;
      if (refused) Expect("Fail to Set CPU Affinity for Main Thead!");
      const LogCapture log;
      pool_ = MThread_Create(kCount, GetParam().attributes, &made_);
      ASSERT_NE(pool_, nullptr);
      MThread_Finish(
          pool_, 0, kCount,
          [](void* selves, int32_t index) -> int32_t {
            static_cast<Self*>(selves)[index].Look();
            return 0;
          },
          selves_);
      caller_.Look();
      lines_ = log.lines();
    }).join();
  }
  void Expect(const std::string& text) { expected_.push_back({6, kTag, text}); }

  MThreadPool* pool_ = nullptr;
  int32_t made_ = -77;
  Self selves_[kCount];
  Self caller_;
  std::vector<LogLine> lines_;
  std::vector<LogLine> expected_;
};

TEST_P(ThreadPlacement, ThreadsAreMadeAsTheAttributesSay) {
  MakePool();
  ASSERT_NE(pool_, nullptr);
  EXPECT_EQ(made_, kCount);
  EXPECT_EQ(pool_->thread_num, kCount);
  const Record& record = GetParam();
  const bool nice_allowed = MayTakeNice(record.nice);
  for (int32_t i = 0; i < kCount; ++i) {
    SCOPED_TRACE(i);
    const bool second_half = i >= 4 && i <= 7;
    const MThreadUnit& unit = pool_->threads[i];
    EXPECT_EQ(unit.thread_index, i);
    EXPECT_EQ(unit.bind_core_flag, second_half ? (record.flag == 1 ? 2 : 1) : record.flag);
    EXPECT_EQ(unit.priority, record.nice);
    const uint32_t mask = second_half ? record.mask_4_to_7 : record.mask;
    const Pinned pinned = mask == kUnset ? Pinned{0, true} : AskFor(mask);
    EXPECT_EQ(selves_[i].cpus, pinned.refused ? caller_.cpus : pinned.cpus);
    const std::string number = std::to_string(i);
    if (pinned.refused && mask != kUnset) {
      Expect("Fail to Set CPU Affinity for Thead " + number + "!\n");
    }
    if (nice_allowed) {
      EXPECT_EQ(selves_[i].nice, record.nice);
    } else {
      Expect("Set Priority for Thread " + number + " failed, priority " +
             std::to_string(record.nice) + "!\n");
    }
    EXPECT_EQ(selves_[i].name, record.name != nullptr ? record.name : caller_.name);
  }
  const auto line = [&](const char* format) {
    char text[80];
    std::snprintf(text, sizeof(text), format, static_cast<void*>(pool_));
    return LogLine{3, kTag, text};
  };
  expected_.push_back(line("9 / 9 threads Created for %p."));
  EXPECT_THAT(lines_, testing::UnorderedElementsAreArray(expected_));
  const LogLine destroyed = line("9 threads Destroyed for %p.");
  const LogCapture log;
  MThread_Destroy(pool_);
  EXPECT_THAT(log.lines(), testing::ElementsAre(destroyed));
}

constexpr MThreadAttr kFlag2 = {2, 0, "VANTRO"};
constexpr MThreadAttr kFlag1 = {1, 1, nullptr};
constexpr MThreadAttr kBadFlag = {3, -5, "fifteen letters"};
INSTANTIATE_TEST_SUITE_P(Attributes, ThreadPlacement,
                         testing::Values(Record{nullptr, 0, 0xFF, 0xF0, 0, "Nuvex_Algo"},
                                         Record{&kFlag2, 2, 0x0F, 0xF0, 0, "VANTRO"},
                                         Record{&kFlag1, 1, 0xF0, 0x0F, -20, nullptr},
                                         Record{&kBadFlag, 3, kUnset, 0xF0, -20,
                                                "fifteen letters"}));

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

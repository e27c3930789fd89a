// Handing over, waiting, the state of the slots, and pools or ranges that do not exist.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/log_capture.h"
#include "vantro/thread.h"

namespace vantro::test {
namespace {

constexpr MThreadAttr kUnpinned = {-1, 0, nullptr};

using Pool = std::unique_ptr<MThreadPool, void (*)(MThreadPool*)>;

Pool MakePool(int32_t count) {
  return {MThread_Create(count, &kUnpinned, nullptr), &MThread_Destroy};
}

// Notes who ran it. Not guarded: the pool's hand-over alone orders the accesses.
struct Note {
  std::vector<int32_t> indices;
  std::vector<pthread_t> threads;
};

int32_t TakeNote(void* argument, int32_t index) {
  auto* note = static_cast<Note*>(argument);
  note->indices.push_back(index);
  note->threads.push_back(pthread_self());
  return index * 10;
}

// Interrupts what a thread waits for (no SA_RESTART), for 20 ms.
void Disturb(pthread_t thread) {
  struct sigaction noted = {};
  noted.sa_handler = [](int) {};
  sigaction(SIGUSR1, &noted, nullptr);
  for (int i = 0; i < 20; ++i) {
    pthread_kill(thread, SIGUSR1);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

void ExpectOneFreeSlot(MThreadUnit& unit) {
  int free_slots = 0;
  sem_getvalue(&unit.end_sem, &free_slots);
  EXPECT_EQ(free_slots, 1);
}

TEST(ThreadPool, RunsEachTaskOnItsOwnThreadAndClearsTheSlot) {
  const Pool pool = MakePool(3);
  ASSERT_NE(pool, nullptr);
  Note notes[3];
  for (int32_t i = 2; i >= 0; --i) EXPECT_EQ(MThread_Boot(pool.get(), i, TakeNote, &notes[i]), 0);
  for (int32_t i = 0; i < 3; ++i) {
    MThread_Clean(pool.get(), i);
    MThreadUnit& unit = pool->threads[i];
    EXPECT_THAT(notes[i].indices, testing::ElementsAre(i));
    EXPECT_TRUE(pthread_equal(notes[i].threads[0], unit.thread));
    EXPECT_EQ(unit.task_func, nullptr);
    EXPECT_EQ(unit.task_arg, nullptr);
    Disturb(unit.thread);
    ExpectOneFreeSlot(unit);
  }
  MThread_Clean(pool.get(), 1);  // idle: returns at once
}

// A task that stays until it is let go.
struct Gate {
  std::atomic<bool> open{false};
  std::atomic<bool> left{false};
};

int32_t WaitAtGate(void* argument, int32_t) {
  auto* gate = static_cast<Gate*>(argument);
  while (!gate->open) std::this_thread::yield();
  gate->left = true;
  return 0;
}

TEST(ThreadPool, EveryCallOutlastsTheRunningTaskWhateverSignalsCome) {
  static Note note;
  const struct {
    const char* name;
    void (*run)(MThreadPool*);
  } kCalls[] = {
      {"Boot", [](MThreadPool* pool) { MThread_Boot(pool, 1, TakeNote, &note); }},
      {"Clean", [](MThreadPool* pool) { MThread_Clean(pool, 1); }},
      {"Sync", [](MThreadPool* pool) { MThread_Sync(pool, 0, 2); }},
      {"ChangeBindCoreFlag", [](MThreadPool* pool) { MThread_ChangeBindCoreFlag(pool, 2); }},
      {"Destroy", [](MThreadPool* pool) { MThread_Destroy(pool); }}};
  for (const auto& call : kCalls) {
    const std::string name = call.name;
    SCOPED_TRACE(name);
    Pool pool = MakePool(2);
    Gate gate;
    MThread_Boot(pool.get(), 1, WaitAtGate, &gate);
    std::atomic<bool> returned{false};
    std::thread caller([&] {
      call.run(pool.get());
      returned = true;
    });
    Disturb(caller.native_handle());
    EXPECT_FALSE(returned);
    gate.open = true;
    caller.join();
    EXPECT_TRUE(gate.left);
    if (name == "ChangeBindCoreFlag") {
      EXPECT_EQ(pool->threads[0].bind_core_flag, 2);
      EXPECT_EQ(pool->threads[1].bind_core_flag, 2);
      // The task has run and nobody has collected it: it stays in the slot.
      EXPECT_EQ(pool->threads[1].task_func, &WaitAtGate);
    }
    if (name == "Clean") ExpectOneFreeSlot(pool->threads[1]);
    if (name == "Destroy") pool.release();
  }
  EXPECT_THAT(note.indices, testing::ElementsAre(1));
}

TEST(ThreadPool, RunSyncAndFinishCoverTheirRangeOnly) {
  const Pool owner = MakePool(4);
  MThreadPool* pool = owner.get();
  std::atomic<uint32_t> ran{0};
  const auto mark = [](void* argument, int32_t index) -> int32_t {
    static_cast<std::atomic<uint32_t>*>(argument)->fetch_add(1u << (8 * index));
    return 0;
  };
  MThread_Run(pool, 1, 2, mark, &ran);
  MThread_Sync(pool, 1, 2);
  EXPECT_EQ(ran, 0x00010100u);
  MThread_Finish(pool, 0, 4, mark, &ran);
  EXPECT_EQ(ran, 0x01020201u);
  EXPECT_EQ(MThread_Boot(pool, 3, nullptr, nullptr), 0);  // a slot without a task
  MThread_Clean(pool, 3);
}

TEST(ThreadPool, RangesOutsideThePoolRunNothing) {
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
  const Pool owner = MakePool(2);
  MThreadPool* pool = owner.get();
  Note note;
  for (const int32_t index : {-1, 2, kMax, kMin}) {
    EXPECT_EQ(MThread_Boot(pool, index, TakeNote, &note), -1);
    MThread_Clean(pool, index);
  }
  const std::pair<int32_t, int32_t> ranges[] = {
      {0, 3}, {1, 2}, {-1, 2}, {2, 1}, {0, 0}, {0, kMin}, {1, kMax}, {kMax, kMax}, {kMin, 2}};
  for (const auto& [first, number] : ranges) {
    MThread_Run(pool, first, number, TakeNote, &note);
    MThread_Sync(pool, first, number);
    MThread_Finish(pool, first, number, TakeNote, &note);
  }
  MThreadPool empty = {nullptr, 3};
  EXPECT_EQ(MThread_Boot(&empty, 0, TakeNote, &note), -1);
  MThread_Sync(&empty, 0, 1);
  EXPECT_TRUE(note.indices.empty());
}

TEST(ThreadPool, WithoutAPoolTasksRunInTheCaller) {
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  Note note;
  EXPECT_EQ(MThread_Boot(nullptr, -7, TakeNote, &note), -70);
  MThread_Run(nullptr, 5, 2, TakeNote, &note);
  MThread_Finish(
      nullptr, kMax - 1, 2,
      [](void* argument, int32_t index) -> int32_t {
        static_cast<Note*>(argument)->indices.push_back(index);
        return 0;
      },
      &note);
  EXPECT_THAT(note.indices, testing::ElementsAre(-7, 5, 6, kMax - 1, kMax));
  MThread_Run(nullptr, 5, 0, TakeNote, &note);
  MThread_Finish(nullptr, 5, -3, TakeNote, &note);
  MThread_Run(nullptr, kMax, 2, TakeNote, &note);  // the second index does not exist
  EXPECT_EQ(MThread_Boot(nullptr, 0, nullptr, &note), -1);
  MThread_Clean(nullptr, 0);
  MThread_Sync(nullptr, 0, 4);
  EXPECT_EQ(note.indices.size(), 5u);
  for (const pthread_t thread : note.threads) EXPECT_TRUE(pthread_equal(thread, pthread_self()));
}

TEST(ThreadPool, PoolsWithoutThreadsAreReportedAndReleased) {
  const LogCapture log;
  MThread_Destroy(nullptr);
  MThread_ChangeBindCoreFlag(nullptr, 1);
  MThreadUnit untouched{};
  MThreadPool no_records = {nullptr, 2};
  MThreadPool no_threads = {&untouched, 0};
  MThread_ChangeBindCoreFlag(&no_records, 1);
  MThread_ChangeBindCoreFlag(&no_threads, 1);
  auto* heap_pool = static_cast<MThreadPool*>(std::malloc(sizeof(MThreadPool)));
  *heap_pool = {nullptr, -4};
  MThread_Destroy(heap_pool);
  EXPECT_EQ(untouched.bind_core_flag, 0);
  const char tag[] = "QZA_MVANTRO";
  EXPECT_THAT(log.lines(),
              testing::ElementsAre(LogLine{6, tag, "NULL Pointer of Thread Pool."},
                                   LogLine{6, tag, "NULL Pointer of Thread Pool."},
                                   LogLine{6, tag, "NULL Pointer / Threads (2) of Thread Pool."},
                                   LogLine{6, tag, "NULL Pointer / Threads (0) of Thread Pool."},
                                   LogLine{6, tag, "NULL Pointer / Threads (-4) of Thread Pool."}));
}

// The hand-over must order plain memory: the thread sanitizer watches this one. A task that was
// dispatched runs before the pool ends.
TEST(ThreadPool, ManyHandoversLoseNothing) {
  int64_t sums[2] = {0, 0};
  const auto add = [](void* argument, int32_t index) -> int32_t {
    static_cast<int64_t*>(argument)[index] += index + 1;
    return 0;
  };
  for (int round = 0; round < 200; ++round) {
    const Pool pool = MakePool(2);
    for (int i = 0; i < 15; ++i) MThread_Finish(pool.get(), 0, 2, add, sums);
    MThread_Run(pool.get(), 0, 2, add, sums);
  }
  EXPECT_EQ(sums[0], 200 * 16);
  EXPECT_EQ(sums[1], 2 * sums[0]);
}

}  // namespace
}  // namespace vantro::test

// Every failure point of a pool's creation: the lines in their order, the out-count, and nothing
// left behind. The system calls are replaced at link time.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <semaphore.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/failing_malloc.h"
#include "tests/support/log_capture.h"
#include "tests/support/threads.h"
#include "vantro/thread.h"

namespace {

enum Call { kSemInit, kThreadCreate, kAttrInit, kAttrDestroy, kCallKinds };

// Armed only inside a creation, on the thread that creates.
thread_local bool armed = false;
thread_local int calls[kCallKinds] = {};
thread_local std::vector<std::pair<Call, int>>* failures = nullptr;
std::atomic<int> semaphores{0};
int live_attributes = 0;

bool Fails(Call call) {
  if (!armed) return false;
  const int number = calls[call]++;
  for (const auto& [kind, at] : *failures) {
    if (kind == call && at == number) return true;
  }
  return false;
}

}  // namespace

extern "C" {
int __real_sem_init(sem_t* semaphore, int shared, unsigned value);
int __real_sem_destroy(sem_t* semaphore);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attr, void* (*body)(void*),
                          void* argument);
int __real_pthread_attr_init(pthread_attr_t* attr);
int __real_pthread_attr_destroy(pthread_attr_t* attr);

int __wrap_sem_init(sem_t* semaphore, int shared, unsigned value) {
  if (Fails(kSemInit)) return -1;
  ++semaphores;
  return __real_sem_init(semaphore, shared, value);
}
int __wrap_sem_destroy(sem_t* semaphore) {
  --semaphores;
  return __real_sem_destroy(semaphore);
}
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attr, void* (*body)(void*),
                          void* argument) {
  if (Fails(kThreadCreate)) return EAGAIN;
  return __real_pthread_create(thread, attr, body, argument);
}
int __wrap_pthread_attr_init(pthread_attr_t* attr) {
  if (Fails(kAttrInit)) return ENOMEM;
  ++live_attributes;
  return __real_pthread_attr_init(attr);
}
int __wrap_pthread_attr_destroy(pthread_attr_t* attr) {
  --live_attributes;
  const int result = __real_pthread_attr_destroy(attr);
  return Fails(kAttrDestroy) ? EINVAL : result;
}
}  // extern "C"

namespace vantro::test {
namespace {

constexpr char kTag[] = "QZA_MVANTRO";
constexpr char kNotEnough[] = "Not Enough Thread Created!";
constexpr char kAttrLeft[] = "Failed to Destroy Thread Attr!";
constexpr int32_t kThreads = 3;
constexpr MThreadAttr kUnpinned = {-1, 0, "failing"};

// The creation of a pool when these calls, and the `malloc_at`-th of malloc, fail: the errors
// before its closing line, and nothing left behind.
void ExpectErrors(std::vector<std::pair<Call, int>> at, const std::vector<std::string>& errors,
                  int malloc_at = -1) {
  SCOPED_TRACE(errors.front());
  const int threads_before = CountThreads();
  failures = &at;
  std::fill_n(calls, static_cast<int>(kCallKinds), 0);
  const LogCapture log;
  const FailingMalloc heap(malloc_at);
  int32_t made = -77;
  armed = true;
  MThreadPool* pool = MThread_Create(kThreads, &kUnpinned, &made);
  armed = false;
  // An attribute object that stays does not cost the pool.
  const bool made_all = errors.size() == 1 && errors[0] == kAttrLeft;
  EXPECT_EQ(pool != nullptr, made_all);
  EXPECT_EQ(made, made_all ? kThreads : 1);
  const std::vector<LogLine> lines = log.lines();
  ASSERT_EQ(lines.size(), errors.size() + 1);
  for (size_t i = 0; i < errors.size(); ++i) EXPECT_EQ(lines[i], (LogLine{6, kTag, errors[i]}));
  const LogLine closing = {3, kTag, "0 / 3 threads Created for (nil)."};
  EXPECT_EQ(lines.back() == closing, !made_all);
  if (made_all) MThread_Destroy(pool);
  EXPECT_EQ(heap.live(), 0);
  EXPECT_EQ(semaphores, 0);
  EXPECT_EQ(live_attributes, 0);
  EXPECT_TRUE(ThreadsComeDownTo(threads_before));
}

TEST(ThreadFailure, EveryFailurePointLeavesNothingBehind) {
  const std::string no_records = "Failed to Allocate Memory of " +
                                 std::to_string(kThreads * sizeof(MThreadUnit)) + " for 3 threads!";
  const std::string no_pool =
      "Failed to Allocate Memory of " + std::to_string(sizeof(MThreadPool)) + "!";
  ExpectErrors({{kAttrInit, 0}}, {"Failed to Init Thread attribute."});
  ExpectErrors({{kAttrDestroy, 0}}, {kAttrLeft});
  ExpectErrors({}, {no_records}, 0);
  ExpectErrors({{kAttrDestroy, 0}}, {no_records, kAttrLeft}, 0);
  ExpectErrors({}, {no_pool}, 1);
  ExpectErrors({{kSemInit, 0}}, {"Failed to init start_sem of thread 0", kNotEnough});
  ExpectErrors({{kSemInit, 3}}, {"Failed to init end_sem of thread 1", kNotEnough});
  ExpectErrors({{kSemInit, 4}, {kAttrDestroy, 0}},
               {"Failed to init start_sem of thread 2", kNotEnough, kAttrLeft});
  ExpectErrors({{kThreadCreate, 0}}, {"Failed to Create Thread 0!", kNotEnough});
  ExpectErrors({{kThreadCreate, 1}}, {"Failed to Create Thread 1!", kNotEnough});
  ExpectErrors({{kSemInit, 0}, {kSemInit, 2}, {kThreadCreate, 0}},
               {"Failed to init start_sem of thread 0", "Failed to init end_sem of thread 1",
                "Failed to Create Thread 2!", kNotEnough});
}

TEST(ThreadFailure, CountsWhoseRecordsPassTwoGigabytesAreRefused) {
  // 104-byte records: sizes that come out negative, positive and zero in 32 bits.
  for (const int64_t count : {int64_t{0x7FFFFFFF}, INT64_C(0x80000000) / 104 + 1,
                              INT64_C(0x100000000) / 104 + 1, INT64_C(0x20000000)}) {
    const auto wrapped = static_cast<int32_t>(
        static_cast<uint32_t>(static_cast<uint64_t>(count) * sizeof(MThreadUnit)));
    const LogCapture log;
    int32_t made = -77;
    EXPECT_EQ(MThread_Create(static_cast<int32_t>(count), &kUnpinned, &made), nullptr);
    EXPECT_EQ(made, 1);
    const std::string number = std::to_string(count);
    const std::string size = std::to_string(wrapped);
    EXPECT_THAT(
        log.lines(),
        testing::ElementsAre(
            LogLine{5, kTag, "the memory size " + size + " you want to malloced is negative!!"},
            LogLine{6, kTag,
                    "Failed to Allocate Memory of " + size + " for " + number + " threads!"},
            LogLine{3, kTag, "0 / " + number + " threads Created for (nil)."}));
  }
}

}  // namespace
}  // namespace vantro::test

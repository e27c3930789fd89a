// Threads and open files of this process, as the kernel lists them.
#ifndef VANTRO_TESTS_SUPPORT_THREADS_H_
#define VANTRO_TESTS_SUPPORT_THREADS_H_

#include <chrono>
#include <filesystem>
#include <iterator>
#include <thread>

namespace vantro::test {

// The thread sanitizer adds a thread of its own to the first one that is started: both have been
// there before anyone counts.
inline const bool first_thread_has_run = (std::thread([] {}).join(), true);

inline int CountThreads() {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
    count += entry.exists() ? 1 : 0;
  }
  return count;
}

// A joined thread may stay in the list for a moment.
inline bool ThreadsComeDownTo(int count) {
  for (int i = 0; i < 1000 && CountThreads() > count; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return CountThreads() <= count;
}

inline auto OpenFiles() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

}  // namespace vantro::test

#endif  // VANTRO_TESTS_SUPPORT_THREADS_H_

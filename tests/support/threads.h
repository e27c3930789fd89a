// Threads of this process, as the kernel lists them.
#ifndef VANTRO_TESTS_SUPPORT_THREADS_H_
#define VANTRO_TESTS_SUPPORT_THREADS_H_

#include <chrono>
#include <filesystem>
#include <thread>

namespace vantro::test {

// The thread sanitizer adds a thread of its own to the first one that is started: let both have been
// before anyone counts.
inline const bool first_thread_has_run = (std::thread([] {}).join(), true);

inline int CountThreads() {
#if defined(__SANITIZE_THREAD__)
  // The sanitizer starts a thread of its own beside the first one, and keeps it.
  static const bool started = [] {
    std::thread([] {}).join();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));  // until the kernel has let it go
    return true;
  }();
  static_cast<void>(started);
#endif
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

}  // namespace vantro::test

#endif  // VANTRO_TESTS_SUPPORT_THREADS_H_

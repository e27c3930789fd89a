// All memory that the library takes, from whatever source, as one row of requests of which some
// fail: the C heap (the program is linked with --wrap), operator new, a pool, the two hooks.
#ifndef VANTRO_TESTS_FAULTS_FAILING_MEMORY_H_
#define VANTRO_TESTS_FAULTS_FAILING_MEMORY_H_

#include <functional>

#include "vantro/vantro.h"

namespace vantro::test {

// Counts the requests of every thread from its construction to its destruction; one at a time.
class FailingMemory {
 public:
  enum Mode { kNone, kOnce, kFromThenOn };

  // The request with this number, counted from 0, fails; and every later one for kFromThenOn.
  explicit FailingMemory(Mode mode = kNone, int fail_at = 0);
  ~FailingMemory();
  FailingMemory(const FailingMemory&) = delete;
  FailingMemory& operator=(const FailingMemory&) = delete;

  // Runs before the first request, on the thread that makes it.
  void OnFirstRequest(std::function<void()> action);

  int requests() const;
  int live() const;  // blocks of these requests that were not released

  // A pool and the hooks that draw on the same row.
  static MemPool* Pool();
  static void SetHooks();
};

}  // namespace vantro::test

#endif  // VANTRO_TESTS_FAULTS_FAILING_MEMORY_H_

// All memory that the library takes, through malloc, operator new[] or a pool on malloc, as one row
// of requests of which some fail. For test programs on the static archive that are linked with
// vantro_failing_malloc(<target>); requests of the C++ run-time library pass through.
#ifndef VANTRO_TESTS_SUPPORT_FAILING_MALLOC_H_
#define VANTRO_TESTS_SUPPORT_FAILING_MALLOC_H_

#include <cstddef>
#include <functional>
#include <vector>

namespace vantro::test {

// Counts the requests of every thread from its construction to its destruction; one at a time.
class FailingMalloc {
 public:
  // The request with this number, counted from 0, fails, or with `from_then_on` all from it on;
  // none does if it is negative.
  explicit FailingMalloc(int fail_at = -1, bool from_then_on = false);
  ~FailingMalloc();
  FailingMalloc(const FailingMalloc&) = delete;
  FailingMalloc& operator=(const FailingMalloc&) = delete;

  // Runs before the first request, on the thread that makes it.
  void OnFirstRequest(std::function<void()> action);

  // Sizes requested so far, the failed ones included.
  std::vector<size_t> sizes() const;
  // Blocks of these requests that were not freed yet.
  int live() const;
};

}  // namespace vantro::test

#endif  // VANTRO_TESTS_SUPPORT_FAILING_MALLOC_H_

// Lets the C heap fail at a chosen request. For test programs on the static archive that are linked
// with vantro_failing_malloc(<target>); requests of the C++ run-time library pass through.
#ifndef VANTRO_TESTS_SUPPORT_FAILING_MALLOC_H_
#define VANTRO_TESTS_SUPPORT_FAILING_MALLOC_H_

#include <cstddef>
#include <vector>

namespace vantro::test {

// Counts this thread's calls of malloc, and fails one, from its construction to its destruction;
// one at a time.
class FailingMalloc {
 public:
  // The request with this number, counted from 0, fails; none does if it is negative.
  explicit FailingMalloc(int fail_at = -1);
  ~FailingMalloc();
  FailingMalloc(const FailingMalloc&) = delete;
  FailingMalloc& operator=(const FailingMalloc&) = delete;

  // Sizes requested so far, the failed one included.
  std::vector<size_t> sizes() const;
  // Blocks of these requests that were not freed yet.
  int live() const;
};

}  // namespace vantro::test

#endif  // VANTRO_TESTS_SUPPORT_FAILING_MALLOC_H_

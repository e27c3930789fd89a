// Lets the label table's allocation fail. Include in one file of a test program: it replaces the
// non-throwing array new.
#ifndef VANTRO_TESTS_MASK_LABEL_MEMORY_H_
#define VANTRO_TESTS_MASK_LABEL_MEMORY_H_

#include <cstdlib>
#include <new>

namespace vantro::test {

// The request with this number, counted from 0, fails; none does if it is negative.
inline int fail_table_at = -1;

}  // namespace vantro::test

void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  if (vantro::test::fail_table_at >= 0 && vantro::test::fail_table_at-- == 0) return nullptr;
  try {
    return operator new[](size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

#endif  // VANTRO_TESTS_MASK_LABEL_MEMORY_H_

// Floats that need heap memory when there is none.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "tests/support/failing_malloc.h"
#include "vantro/bounded.h"

namespace vantro::test {
namespace {

TEST(BoundedInner, FloatsTakeHeapMemoryFrom512BytesOn) {
  char text[6000];
  const auto expect_heap = [&](const char* format, auto value, std::vector<size_t> sizes) {
    for (const int fail_at : {-1, 0}) {
      const FailingMalloc heap(fail_at);
      std::strcpy(text, "left");
      const int result = sprintf_s(text, sizeof(text), format, value);
      EXPECT_EQ(heap.sizes(), sizes) << format;
      EXPECT_EQ(heap.live(), 0);
      const bool fails = fail_at == 0 && !sizes.empty();
      EXPECT_EQ(result, fails ? -1 : static_cast<int>(std::strlen(text))) << format;
      EXPECT_EQ(text[0] == '\0', fails);
    }
  };
  expect_heap("%.160f", 1.5, {});
  expect_heap("%.161f", 1.5, {512});
  expect_heap("%509f", 1.5, {});
  expect_heap("%510f", 1.5, {512});
  expect_heap("%.3Lf", 1.5L, {4977});
  expect_heap("%5000.3Lf", 1.5L, {5002});
  // Nothing is taken for a text that cannot fit.
  const FailingMalloc heap;
  EXPECT_EQ(sprintf_s(text, 100, "%*f", 1000000, 1.5), -1);
  EXPECT_EQ(sprintf_s(text, 100, "%.*f", 1000000, 1.5), -1);
  EXPECT_TRUE(heap.sizes().empty());
}

}  // namespace
}  // namespace vantro::test

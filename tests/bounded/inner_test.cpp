// The conversions of single characters, which the library keeps to itself, and floats that need
// heap memory when there is none.
#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <vector>

#include "bounded/wide_char.h"
#include "tests/support/failing_malloc.h"
#include "vantro/bounded.h"

namespace vantro::test {
namespace {

TEST(BoundedInner, SingleCharactersFollowTheLocale) {
  ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
  char bytes[MB_LEN_MAX] = {};
  EXPECT_EQ(vantro::wctomb(bytes, L'\u20ac'), 3);
  EXPECT_STREQ(bytes, "\u20ac");
  EXPECT_EQ(vantro::wctomb(bytes, wchar_t{0xD800}), -1);
  wchar_t wide = L'?';
  EXPECT_EQ(vantro::mbtowc(&wide, "\u20ac", 4), 3);
  EXPECT_TRUE(wide == L'\u20ac');
  EXPECT_EQ(vantro::mbtowc(&wide, "\xE2\x82\xAC", 2), -2);  // unfinished; the state keeps it
  EXPECT_EQ(vantro::mbtowc(&wide, "\xAC", 1), 1);
  EXPECT_EQ(vantro::mbtowc(&wide, "\xFF", 1), -1);
  EXPECT_EQ(vantro::mbtowc(&wide, "", 1), 0);
  std::setlocale(LC_ALL, "C");
}

TEST(BoundedInner, FloatsTakeHeapMemoryFrom512BytesOn) {
  const struct {
    const char* format;
    bool is_long;
    size_t heap;  // 0: none
  } cases[] = {{"%.160f", false, 0},  {"%.161f", false, 512}, {"%509f", false, 0},
               {"%510f", false, 512}, {"%.3Lf", true, 4977},  {"%5000.3Lf", true, 5002}};
  for (const auto& c : cases) {
    for (const int fail_at : {-1, 0}) {
      char text[6000] = "left";
      int result = 0;
      {
        const FailingMalloc heap(fail_at);
        result = c.is_long ? sprintf_s(text, sizeof(text), c.format, 1.5L)
                           : sprintf_s(text, sizeof(text), c.format, 1.5);
        EXPECT_EQ(heap.sizes(), c.heap == 0 ? std::vector<size_t>{} : std::vector<size_t>{c.heap});
        EXPECT_EQ(heap.live(), 0);
      }
      if (c.heap != 0 && fail_at == 0) {
        EXPECT_EQ(result, -1) << c.format;
        EXPECT_STREQ(text, "");
      } else {
        EXPECT_EQ(static_cast<size_t>(result), std::strlen(text)) << c.format;
      }
    }
  }
  // Nothing is taken for a text that cannot fit.
  char text[100];
  const FailingMalloc heap;
  EXPECT_EQ(sprintf_s(text, sizeof(text), "%*f", 1000000, 1.5), -1);
  EXPECT_EQ(sprintf_s(text, sizeof(text), "%.*f", 1000000, 1.5), -1);
  EXPECT_EQ(heap.sizes(), std::vector<size_t>{});
}

}  // namespace
}  // namespace vantro::test

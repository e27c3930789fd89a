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
  for (const char* locale : {"C", "C.UTF-8"}) {
    ASSERT_NE(std::setlocale(LC_ALL, locale), nullptr);
    for (const wchar_t wide : {L'\0', L'a', L'\u00e9', L'\u20ac', L'\U0001F600', wchar_t{0xD800}}) {
      char bytes[MB_LEN_MAX] = {};
      char expected[MB_LEN_MAX] = {};
      const auto code = static_cast<unsigned>(wide);
      EXPECT_EQ(vantro::wctomb(bytes, wide), ::wctomb(expected, wide)) << locale << ' ' << code;
      EXPECT_EQ(std::memcmp(bytes, expected, sizeof(bytes)), 0) << locale << ' ' << code;
    }
    for (const char* bytes : {"", "a", "\xC3\xA9", "\xE2\x82\xAC", "\xFF"}) {
      wchar_t wide = L'?';
      wchar_t expected = L'?';
      EXPECT_EQ(vantro::mbtowc(&wide, bytes, 4), ::mbtowc(&expected, bytes, 4)) << locale;
      EXPECT_TRUE(wide == expected) << locale;
    }
  }
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

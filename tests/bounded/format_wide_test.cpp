// Wide characters and strings, converted by the current locale.
#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <cwchar>
#include <string>

#include "tests/support/guarded_buffer.h"
#include "vantro/bounded.h"

namespace vantro::test {
namespace {

template <typename... Args>
std::string Format(const char* format, Args... args) {
  char text[64];
  const int result = sprintf_s(text, sizeof(text), format, args...);
  return result < 0 ? "<refused>" : std::string(text, static_cast<size_t>(result));
}

class BoundedFormatWide : public testing::Test {
 protected:
  ~BoundedFormatWide() override { std::setlocale(LC_ALL, "C"); }
  static void UseUtf8() { ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr); }
};

constexpr wint_t kEuro = 0x20AC;  // three bytes in UTF-8

TEST_F(BoundedFormatWide, LettersAndSizesThatMeanWide) {
  EXPECT_EQ(Format("%ls%S%ws%lls", L"a", L"b", L"c", L"d"), "abcd");
  EXPECT_EQ(Format("%lc%C%wc", wint_t{'x'}, wint_t{'y'}, wint_t{'z'}), "xyz");
  EXPECT_EQ(Format("%lc", wint_t{0}), std::string(1, '\0'));
  const wchar_t* none = nullptr;
  EXPECT_EQ(Format("%ls|%.3S|%8ws|", none, none, none), "(null)|(nu|  (null)|");
}

// The random comparison covers widths and precisions; this one, that nothing more is read.
TEST_F(BoundedFormatWide, NoCharacterIsReadOnceThePrecisionIsUsedUp) {
  UseUtf8();
  GuardedBuffer guarded(2 * sizeof(wchar_t));
  std::memcpy(guarded.data(), L"\u20ac\u00e9", guarded.size());  // 3 + 2 bytes
  EXPECT_EQ(Format("%.5ls", guarded.data()), "\u20ac\u00e9");
}

TEST_F(BoundedFormatWide, WhatTheLocaleCannotWriteIsAFailure) {
  EXPECT_EQ(Format("%lc", kEuro), "<refused>");
  EXPECT_EQ(Format("ab%ls", L"x\u20ac"), "<refused>");
  EXPECT_EQ(Format("%.1ls", L"x\u20ac"), "x");  // never reached
  UseUtf8();
  EXPECT_EQ(Format("%lc", kEuro), "\u20ac");
  EXPECT_EQ(Format("%lc", wint_t{0xD800}), "<refused>");
  EXPECT_EQ(Format("%C", WEOF), "<refused>");
  char text[5] = "....";
  EXPECT_EQ(sprintf_s(text, 4, "%lc", kEuro), 3);
  EXPECT_EQ(sprintf_s(text, 3, "%lc", kEuro), -1);
  EXPECT_STREQ(text, "");
}

}  // namespace
}  // namespace vantro::test

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

TEST_F(BoundedFormatWide, PrecisionCountsBytesAndCutsNoCharacter) {
  UseUtf8();
  const wchar_t text[] = L"\u20ac\u00e9x";  // 3 + 2 + 1 bytes
  const char* const wanted[] = {
      "", "", "", "\u20ac", "\u20ac", "\u20ac\u00e9", "\u20ac\u00e9x", "\u20ac\u00e9x"};
  for (int precision = 0; precision < 8; ++precision) {
    EXPECT_EQ(Format("%.*ls", precision, text), wanted[precision]) << precision;
    const std::string padded = std::string(7 - std::strlen(wanted[precision]), ' ');
    EXPECT_EQ(Format("%7.*ls|%-7.*ls", precision, text, precision, text),
              padded + wanted[precision] + "|" + wanted[precision] + padded);
  }
  EXPECT_EQ(Format("%5lc|%-5C|", kEuro, kEuro), "  \u20ac|\u20ac  |");

  // No wide character is read once the precision is used up.
  GuardedBuffer guarded(2 * sizeof(wchar_t));
  std::memcpy(guarded.data(), text, guarded.size());
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

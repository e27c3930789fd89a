// What the formatting engine writes and what it refuses, where the C library has other answers or
// none; format_random_test.cpp compares the rest with snprintf.
#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <string>

#include "tests/support/guarded_buffer.h"
#include "vantro/bounded.h"

namespace vantro::test {
namespace {

// The text, or "<refused>" when the call failed with an empty string.
template <typename... Args>
std::string Format(const char* format, Args... args) {
  char text[400];
  std::memset(text, '~', sizeof(text));
  const int result = sprintf_s(text, sizeof(text), format, args...);
  if (result < 0) return text[0] == '\0' ? "<refused>" : "<refused, destination left>";
  EXPECT_EQ(static_cast<size_t>(result), std::strlen(text)) << format;
  return text;
}

template <typename... Args>
bool Refused(const char* format, Args... args) {
  return Format(format, args...) == "<refused>";
}

TEST(BoundedFormat, SizesAndLettersOfItsOwn) {
  const int64_t wide = int64_t{7} << 40;
  EXPECT_EQ(Format("%I64d %I32d %I32u %Id", wide, -7, UINT_MAX, wide),
            "7696581394432 -7 4294967295 7696581394432");
  EXPECT_EQ(Format("%Nd %Zd %lNd %NlZld", 1, 2, 3l, 4ll), "1 2 3 4");
  EXPECT_EQ(Format("%+u|% x|%+o", 7u, 7u, 7u), "7|7|7");
  void* const ten = reinterpret_cast<void*>(uintptr_t{10});
  EXPECT_EQ(Format("%p|%6p|%-6p|%06p|%.4p|%.0p", nullptr, ten, ten, ten, ten, nullptr),
            "0x0|   0xa|0xa   |0x000a|0x000a|0x0");
  EXPECT_EQ(Format("%hp", reinterpret_cast<void*>(uintptr_t{0x12345678})), "0x12345678");
  EXPECT_EQ(Format("%lf %hf %zf %qg", 1.25, 1.25, 1.25, 2.5L), "1.250000 1.250000 1.250000 2.5");
}

TEST(BoundedFormat, StringsAndCharacters) {
  const char* none = nullptr;
  EXPECT_EQ(Format("%s|%.3s|%9s|%-9s|%.0s|%.99s", none, none, none, none, none, none),
            "(null)|(nu|   (null)|(null)   ||(null)");
  EXPECT_EQ(Format("%05s|%03c|%hs%hc%hS%hC%zs", "abc", 'w', "a", 'b', "c", 'd', "e"),
            "  abc|  w|abcde");
  EXPECT_EQ(Format("\xC3\xA9\x01\x7F %d \xFF", 1), "\xC3\xA9\x01\x7F 1 \xFF");
  char text[8];
  EXPECT_EQ(sprintf_s(text, sizeof(text), "%c%c%c", 'a', 0, 'b'), 3);
  EXPECT_EQ(std::string(text, 4), std::string("a\0b\0", 4));
  // Nothing behind a precision is read.
  GuardedBuffer guarded(4);
  std::memcpy(guarded.data(), "wxyz", 4);
  EXPECT_EQ(Format("%.4s|%.*s", guarded.data(), 2, guarded.data()), "wxyz|wx");
}

TEST(BoundedFormat, WideTextIsConvertedByTheLocale) {
  EXPECT_EQ(Format("%ls%S%ws%lls", L"a", L"b", L"c", L"d"), "abcd");
  EXPECT_EQ(Format("%lc%C%wc", wint_t{'x'}, wint_t{'y'}, wint_t{'z'}), "xyz");
  const wchar_t* none = nullptr;
  EXPECT_EQ(Format("%ls|%.3S|%8ws|", none, none, none), "(null)|(nu|  (null)|");
  char text[5] = "....";
  EXPECT_EQ(sprintf_s(text, sizeof(text), "%lc", wint_t{0}), 1);

  constexpr wint_t kEuro = 0x20AC;  // three bytes in UTF-8
  EXPECT_TRUE(Refused("%lc", kEuro));
  EXPECT_TRUE(Refused("ab%ls", L"x\u20ac"));
  EXPECT_EQ(Format("%.1ls", L"x\u20ac"), "x");  // never reached
  ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
  EXPECT_TRUE(Refused("%lc", wint_t{0xD800}));
  EXPECT_TRUE(Refused("%C", WEOF));
  EXPECT_EQ(sprintf_s(text, 4, "%lc", kEuro), 3);
  EXPECT_EQ(sprintf_s(text, 3, "%lc", kEuro), -1);
  // No character is read once the precision is used up.
  GuardedBuffer guarded(2 * sizeof(wchar_t));
  std::memcpy(guarded.data(), L"\u20ac\u00e9", guarded.size());  // 3 + 2 bytes
  EXPECT_EQ(Format("%.5ls", guarded.data()), "\u20ac\u00e9");
  std::setlocale(LC_ALL, "C");
}

TEST(BoundedFormat, TheTableDecidesOnOddOrders) {
  EXPECT_EQ(Format("%5-d|%1-2d|", 7, 7), "7    |7           |");  // digits go on after a flag
  EXPECT_EQ(Format("%*0d|", 1, 7), "         7|");                // and after a star
  EXPECT_TRUE(Refused("%.*5d", -1, 7));                           // no precision to go on with
  for (const char* format :
       {"%n",    "%hhn",  "%a",    "%A",    "%k",    "%D",    "%~",    "%\x01", "%\x80",
        "%5%",   "%-%",   "%l%",   "%..1d", "%.-1d", "%.1-d", "%.5 d", "%**d",  "%1*d",
        "%.**d", "%.1*d", "%l5d",  "%l-d",  "%l.1d", "%l*d",  "%l0d",  "%.#x",  "%.+d",
        "%I3d",  "%I6d",  "%I33d", "%I22d", "%I34d", "%I46d", "%I63d", "%w8d"}) {
    EXPECT_TRUE(Refused(format, 1, 1, 1)) << format;
  }
  // Sizes that say nothing together.
  for (const char* format :
       {"%hld", "%lhd", "%hhhd", "%llld", "%jzd", "%I64ld", "%lI32d", "%qqd"}) {
    EXPECT_TRUE(Refused(format, 1ll)) << format;
  }
  // Formats that end inside a conversion, against the end of accessible memory.
  for (const char* format :
       {"%", "text%", "%-", "%5", "%*", "%.", "%.5", "%l", "%I", "%I3", "%I6", "%d%"}) {
    GuardedBuffer guarded(std::strlen(format) + 1);
    std::memcpy(guarded.data(), format, guarded.size());
    EXPECT_TRUE(Refused(reinterpret_cast<const char*>(guarded.data()), 1)) << format;
  }
}

TEST(BoundedFormat, RangesOfWidthAndPrecision) {
  EXPECT_EQ(Format("%0300d", 1), std::string(299, '0') + "1");
  EXPECT_EQ(Format("%.300d", -1), "-" + std::string(299, '0') + "1");
  // 21474836 may take one more digit, 21474837 may not; neither fits, and neither costs memory.
  EXPECT_EQ(Format("%.214748369s|%.0214748369s", "short", "short"), "short|short");
  for (const char* format : {"%.214748370s", "%.99999999999999999999s", "%214748369s"}) {
    EXPECT_TRUE(Refused(format, "short")) << format;
  }
  EXPECT_TRUE(Refused("%214748369d", 1) && Refused("%.214748369d", 1));
  for (const char* format : {"%214748369f", "%.214748369f", "%.214748369e", "%#.214748369g"}) {
    EXPECT_TRUE(Refused(format, 0.1)) << format;
  }
  EXPECT_EQ(Format("%.*d", INT_MIN, 7), "7");
  EXPECT_TRUE(Refused("%*d", INT_MIN, 7) && Refused("%*f", INT_MIN, 7.0));
  EXPECT_TRUE(Refused("%*d", INT_MAX, 1) && Refused("%.*d", INT_MAX, -1));
  EXPECT_TRUE(Refused("%*.*d", INT_MAX, INT_MAX, 1));
}

TEST(BoundedFormat, FloatsOfTheLargestPrecision) {
  constexpr int kLargest = INT_MAX - 349;
  constexpr int kLargestLong = INT_MAX - 4972;
  EXPECT_EQ(Format("%.*g|%.*f", kLargest, 0.1, kLargest, INFINITY),
            "0.1000000000000000055511151231257827021181583404541015625|inf");
  EXPECT_TRUE(Refused("%.*g", kLargest + 1, 0.1));
  EXPECT_EQ(Format("%.*Lg", kLargestLong, 0.5L), "0.5");
  EXPECT_TRUE(Refused("%.*Lg", kLargestLong + 1, 0.5L));
  EXPECT_TRUE(Refused("%.*f", kLargest, 0.1) && Refused("%.*f", INT_MAX, 0.1));
  EXPECT_TRUE(Refused("%*.*e", INT_MAX, INT_MAX, 0.1));
}

TEST(BoundedFormat, RefusesCapacitiesAndNullPointers) {
  char text[4] = "abc";
  EXPECT_EQ(sprintf_s(text, 0, "x"), -1);
  EXPECT_STREQ(text, "abc");
  EXPECT_EQ(sprintf_s(text, 4, nullptr), -1);
  EXPECT_STREQ(text, "");
  std::strcpy(text, "abc");
  EXPECT_EQ(sprintf_s(text, size_t{INT_MAX} + 1, "x"), -1);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(sprintf_s(nullptr, 4, "x"), -1);
  EXPECT_EQ(sprintf_s(text, INT_MAX, "%s", "fit"), 3);
}

}  // namespace
}  // namespace vantro::test

// Random formats: what C's snprintf defines, the engine writes alike.
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "vantro/bounded.h"

namespace vantro::test {
namespace {

constexpr int kRounds = 4000;

class BoundedFormatRandom : public testing::Test {
 protected:
  int Below(int limit) { return static_cast<int>(engine_() % static_cast<unsigned>(limit)); }
  bool Chance(int one_in) { return Below(one_in) == 0; }
  // Any number of bits, so that short and long numbers are as likely.
  uint64_t Bits() { return engine_() >> Below(64); }

  std::string Literal() {
    const char* const literals[] = {"", "%%", "a", "\xC3\xA9 100%% l", " XYZ:/=,.0159-+*#hlz\n"};
    return literals[Below(5)];
  }

  // A width or precision; stars take theirs from the arguments.
  std::string Number() {
    if (!Chance(4)) return std::to_string(Chance(8) ? Below(700) : Below(30));
    stars_.push_back(Below(60) - 20);
    return "*";
  }

  // A conversion with random flags, width and precision, behind an int and before a string, so that
  // an argument taken with the wrong size shows in its neighbours.
  template <typename T>
  void Compare(const std::string& flags, bool precision, const char* size_and_letter, T value) {
    stars_.clear();
    std::string format = Literal() + "%d" + Literal() + "%";
    for (const char flag : flags) {
      if (Chance(3)) format += flag;
    }
    if (Chance(2)) format += Number();
    if (precision && Chance(2)) {
      format += '.';
      if (!Chance(6)) format += Number();
    }
    format += size_and_letter;
    format += Literal() + "%s" + Literal();
    const int before = static_cast<int>(Bits());
    if (stars_.empty()) CompareBoth(format, before, value, "after");
    if (stars_.size() == 1) CompareBoth(format, before, stars_[0], value, "after");
    if (stars_.size() == 2) CompareBoth(format, before, stars_[0], stars_[1], value, "after");
  }

  template <typename T>
  void CompareIntegers(const std::string& size) {
    for (const char letter : {'d', 'i', 'u', 'o', 'x', 'X'}) {
      const char* flags = letter == 'd' || letter == 'i' ? "-+ 0" : letter == 'u' ? "-0" : "-#0";
      for (int round = 0; round < kRounds / 8 && !HasFatalFailure(); ++round) {
        const uint64_t bits = Chance(8) ? 0 : Bits();
        Compare(flags, true, (size + letter).c_str(), static_cast<T>(Chance(2) ? bits : ~bits));
      }
    }
  }

  template <typename Float>
  Float RandomFloat() {
    constexpr int kRange = std::numeric_limits<Float>::max_exponent;
    switch (Below(8)) {
      case 0:
        return std::numeric_limits<Float>::infinity();
      case 1:
        return -std::numeric_limits<Float>::quiet_NaN();
      case 2:
        return Chance(2) ? Float{0} : -Float{0};
      case 3:  // any exponent
        return std::ldexp(static_cast<Float>(Bits()), Below(2 * kRange) - kRange - 64);
      default:  // halves and quarters round to even
        return static_cast<Float>(static_cast<int64_t>(Bits() % 2000001) - 1000000) / 8;
    }
  }

 private:
  template <typename... Args>
  void CompareBoth(const std::string& format, Args... args) {
    static char expected[8000];
    const int length = std::snprintf(expected, sizeof(expected), format.c_str(), args...);
    ASSERT_TRUE(length >= 0 && length < 8000) << format;
    // Just enough room, plenty, or too little.
    const int capacity = Chance(5) ? Below(length + 1) : length + 1 + (Chance(3) ? Below(9) : 0);
    const bool fits = capacity > length;
    GuardedBuffer guarded(static_cast<size_t>(capacity));
    auto* text = reinterpret_cast<char*>(guarded.data());
    ASSERT_EQ(sprintf_s(text, guarded.size(), format.c_str(), args...), fits ? length : -1)
        << format << " for " << expected;
    ASSERT_TRUE(guarded.front_intact()) << format;
    if (capacity > 0) {
      ASSERT_STREQ(text, fits ? expected : "") << format;
    }
  }

  std::mt19937_64 engine_;
  std::vector<int> stars_;
};

TEST_F(BoundedFormatRandom, Integers) {
  for (const char* size : {"", "h", "hh"}) CompareIntegers<int>(size);
  for (const char* size : {"ll", "L", "q"}) CompareIntegers<long long>(size);
  CompareIntegers<long>("l");
  CompareIntegers<intmax_t>("j");
  CompareIntegers<size_t>("z");
  CompareIntegers<ptrdiff_t>("t");
}

TEST_F(BoundedFormatRandom, Floats) {
  for (int round = 0; round < kRounds && !HasFatalFailure(); ++round) {
    const std::string letter(1, "eEfFgG"[Below(6)]);
    Compare("-+ #0", true, letter.c_str(), RandomFloat<double>());
    Compare("-+ #0", true, ("L" + letter).c_str(), RandomFloat<long double>());
  }
}

TEST_F(BoundedFormatRandom, Text) {
  ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
  const char* const strings[] = {"", "a", "some words", "\xE2\x82\xAC uro",
                                 "more than thirty-two characters, to take the long road"};
  const wchar_t* const wide[] = {L"", L"a", L"some words", L"\u20ac\u00e9\U0001F600 uro",
                                 L"more than thirty-two characters, to take the long road"};
  for (int round = 0; round < kRounds && !HasFatalFailure(); ++round) {
    Compare("-", true, "s", strings[Below(5)]);
    Compare("-", true, "ls", wide[Below(5)]);
    Compare("-", false, "c", 1 + Below(255));
    Compare("-", false, "C", wint_t{0x20AC});
    Compare("-", false, "p", reinterpret_cast<void*>(Bits() | 1));
  }
  std::setlocale(LC_ALL, "C");
}

}  // namespace
}  // namespace vantro::test

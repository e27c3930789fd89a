// Random formats: what C's snprintf defines, the engine writes alike.
#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "vantro/bounded.h"

namespace vantro::test {
namespace {

class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  int Below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(engine_); }
  bool Chance(int one_in) { return Below(one_in) == 0; }
  // Any number of bits, so that short and long numbers are as likely.
  uint64_t Bits() { return engine_() >> Below(64); }

 private:
  std::mt19937_64 engine_;
};

// One conversion with its flags, width and precision; stars take their values from the arguments.
struct Piece {
  std::string text;
  std::vector<int> stars;
};

Piece MakePiece(Random& random, const char* flags, bool precision, const char* size, char letter) {
  Piece piece{"%", {}};
  for (const char* flag = flags; *flag != '\0'; ++flag) {
    if (random.Chance(3)) piece.text += *flag;
  }
  const auto number = [&] {
    if (random.Chance(4)) {
      piece.text += '*';
      piece.stars.push_back(random.Below(60) - 20);
    } else {
      piece.text += std::to_string(random.Chance(8) ? random.Below(700) : random.Below(30));
    }
  };
  // A width that begins with a zero would be a flag.
  if (random.Chance(2)) number();
  if (precision && random.Chance(2)) {
    piece.text += '.';
    if (!random.Chance(6)) number();
  }
  piece.text += size;
  piece.text += letter;
  return piece;
}

std::string Literal(Random& random) {
  static constexpr char kCharacters[] = "abc XYZ:/=,.0159-+*#hlz\n\xC3\xA9";
  std::string text;
  for (int length = random.Below(8); length > 0; --length) {
    text += kCharacters[random.Below(sizeof(kCharacters) - 1)];
  }
  if (random.Chance(6)) text += "%%";
  return text;
}

template <typename... Args>
void CompareBoth(Random& random, const std::string& format, Args... args) {
  static char expected[8000];
  const int length = std::snprintf(expected, sizeof(expected), format.c_str(), args...);
  ASSERT_GE(length, 0) << format;
  ASSERT_LT(static_cast<size_t>(length), sizeof(expected)) << format;
  // Just enough room, plenty, or too little.
  const int room = random.Chance(3) ? length + 1 + random.Below(9) : length + 1;
  const int capacity = random.Chance(5) ? random.Below(length + 1) : room;
  GuardedBuffer guarded(static_cast<size_t>(capacity));
  auto* text = reinterpret_cast<char*>(guarded.data());
  const int result = sprintf_s(text, static_cast<size_t>(capacity), format.c_str(), args...);
  ASSERT_TRUE(guarded.front_intact()) << format;
  if (capacity > length) {
    ASSERT_EQ(result, length) << format << " for " << expected;
    ASSERT_EQ(std::memcmp(text, expected, static_cast<size_t>(length) + 1), 0)
        << format << "\n  engine  " << text << "\n  library " << expected;
  } else {
    ASSERT_EQ(result, -1) << format;
    if (capacity > 0) {
      ASSERT_EQ(text[0], '\0') << format;
    }
  }
}

// The piece between literal text, behind an int and before a string, so that an argument taken with
// the wrong size shows in its neighbours.
template <typename T>
void Compare(Random& random, const Piece& piece, T value) {
  std::string format;
  for (const char* part : {"%d", piece.text.c_str(), "%s", ""}) {
    format += Literal(random);
    format += part;
  }
  const int before = static_cast<int>(random.Bits());
  const char* after = "after";
  const std::vector<int>& stars = piece.stars;
  if (stars.empty()) {
    CompareBoth(random, format, before, value, after);
  } else if (stars.size() == 1) {
    CompareBoth(random, format, before, stars[0], value, after);
  } else {
    CompareBoth(random, format, before, stars[0], stars[1], value, after);
  }
}

constexpr int kRounds = 4000;

template <typename T>
void CompareIntegers(Random& random, const char* size) {
  for (const char letter : {'d', 'i', 'u', 'o', 'x', 'X'}) {
    const char* flags = letter == 'd' || letter == 'i' ? "-+ 0" : letter == 'u' ? "-0" : "-#0";
    for (int round = 0; round < kRounds / 8; ++round) {
      const Piece piece = MakePiece(random, flags, true, size, letter);
      const uint64_t bits = random.Chance(8) ? 0 : random.Bits();
      ASSERT_NO_FATAL_FAILURE(
          Compare(random, piece, static_cast<T>(random.Chance(2) ? bits : ~bits)));
    }
  }
}

TEST(BoundedFormatRandom, Integers) {
  Random random(1);
  for (const char* size : {"", "h", "hh"}) CompareIntegers<int>(random, size);
  for (const char* size : {"ll", "L", "q"}) CompareIntegers<long long>(random, size);
  CompareIntegers<long>(random, "l");
  CompareIntegers<intmax_t>(random, "j");
  CompareIntegers<size_t>(random, "z");
  CompareIntegers<ptrdiff_t>(random, "t");
}

template <typename Float>
Float RandomFloat(Random& random) {
  switch (random.Below(8)) {
    case 0:
      return std::numeric_limits<Float>::infinity();
    case 1:
      return -std::numeric_limits<Float>::quiet_NaN();
    case 2:
      return random.Chance(2) ? Float{0} : -Float{0};
    case 3: {  // any exponent
      const int range = std::numeric_limits<Float>::max_exponent;
      return std::ldexp(static_cast<Float>(random.Bits()), random.Below(2 * range) - range - 64);
    }
    default:  // halves and quarters round to even
      return static_cast<Float>(static_cast<int64_t>(random.Bits() % 2000001) - 1000000) / 8;
  }
}

TEST(BoundedFormatRandom, Floats) {
  Random random(2);
  for (int round = 0; round < kRounds; ++round) {
    const char letter = "eEfFgG"[random.Below(6)];
    const Piece piece = MakePiece(random, "-+ #0", true, "", letter);
    ASSERT_NO_FATAL_FAILURE(Compare(random, piece, RandomFloat<double>(random)));
    const Piece longer = MakePiece(random, "-+ #0", true, "L", letter);
    ASSERT_NO_FATAL_FAILURE(Compare(random, longer, RandomFloat<long double>(random)));
  }
}

TEST(BoundedFormatRandom, Text) {
  Random random(3);
  ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
  const char* const strings[] = {
      "", "a", "some words", "\xE2\x82\xAC uro",
      "a text of more than thirty-two characters, to take the long road"};
  const wchar_t* const wide[] = {
      L"", L"a", L"some words", L"\u20ac\u00e9\U0001F600 uro",
      L"a text of more than thirty-two characters, to take the long road"};
  for (int round = 0; round < kRounds; ++round) {
    const Piece narrow = MakePiece(random, "-", true, "", 's');
    ASSERT_NO_FATAL_FAILURE(Compare(random, narrow, strings[random.Below(5)]));
    const Piece wider = MakePiece(random, "-", true, "l", 's');
    ASSERT_NO_FATAL_FAILURE(Compare(random, wider, wide[random.Below(5)]));
    const Piece character = MakePiece(random, "-", false, "", 'c');
    ASSERT_NO_FATAL_FAILURE(Compare(random, character, 1 + random.Below(255)));
    const Piece wide_character = MakePiece(random, "-", false, "", 'C');
    ASSERT_NO_FATAL_FAILURE(Compare(random, wide_character, wint_t{0x20AC}));
    const Piece pointer = MakePiece(random, "-", false, "", 'p');
    ASSERT_NO_FATAL_FAILURE(Compare(random, pointer, reinterpret_cast<void*>(random.Bits() | 1)));
  }
  std::setlocale(LC_ALL, "C");
}

// Formats of any bytes: nothing but a result and a terminated string may come of them.
TEST(BoundedFormatRandom, ArbitraryFormatsStayInBounds) {
  Random random(4);
  static constexpr char kAlphabet[] = "%%%%....***0123456789 #+-ILNZhjlqtwzCEFGXcdefgiopuxnaAk";
  for (int round = 0; round < 200000; ++round) {
    std::string format;
    for (int length = 1 + random.Below(12); length > 0; --length) {
      format += kAlphabet[random.Below(sizeof(kAlphabet) - 1)];
    }
    char text[40];
    std::memset(text, '~', sizeof(text));
    const size_t capacity = 1 + static_cast<size_t>(random.Below(32));
    const int result = sprintf_s(text, capacity, format.c_str(), 3, 2, 5, 1, 4, 6, 9, 8, 3, 2, 1, 7,
                                 1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5, 8.5, 1.5L, 2.5L, 3.5L, 4.5L);
    ASSERT_LT(result, static_cast<int>(capacity)) << format;
    ASSERT_EQ(text[result < 0 ? 0 : result], '\0') << format;
    for (size_t i = capacity; i < sizeof(text); ++i) ASSERT_EQ(text[i], '~') << format;
  }
}

}  // namespace
}  // namespace vantro::test

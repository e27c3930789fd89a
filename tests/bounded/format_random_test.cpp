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
  ASSERT_EQ(result, capacity > length ? length : -1) << format << " for " << expected;
  const std::string whole = capacity > length
                                ? std::string(expected, static_cast<size_t>(length) + 1)
                                : std::string(1, '\0');
  if (capacity == 0) return;
  ASSERT_EQ(std::string(text, whole.size()), whole) << format;
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
  if (stars.empty()) CompareBoth(random, format, before, value, after);
  if (stars.size() == 1) CompareBoth(random, format, before, stars[0], value, after);
  if (stars.size() == 2) CompareBoth(random, format, before, stars[0], stars[1], value, after);
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
  const char* const strings[] = {"", "a", "some words", "\xE2\x82\xAC uro",
                                 "more than thirty-two characters, to take the long road"};
  const wchar_t* const wide[] = {L"", L"a", L"some words", L"\u20ac\u00e9\U0001F600 uro",
                                 L"more than thirty-two characters, to take the long road"};
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

}  // namespace
}  // namespace vantro::test

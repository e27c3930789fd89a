// Bounded string copies and joins: results and destination, exhaustively in a small arena.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

#include "tests/support/guarded_buffer.h"
#include "vantro/bounded.h"

namespace vantro::test {
namespace {

constexpr size_t kArena = 8;

// A few bytes that both strings lie in, with an inaccessible page behind them. The models below
// give up where a byte outside would be needed.
struct Walk {
  std::string bytes;
  int code = 0;
};

std::optional<Walk> WalkCopy(std::string bytes, size_t dest, size_t capacity, size_t src) {
  const size_t length = std::min(bytes.find('\0', src), kArena) - src;
  if (length < capacity && src + length == kArena) return std::nullopt;
  const bool shared = dest != src && std::max(dest, src) <= std::min(dest, src) + length;
  const int code = length >= capacity ? 162 : shared ? 182 : 0;
  if (code != 0) bytes[dest] = '\0';
  if (code == 0 && dest != src) bytes.replace(dest, length + 1, bytes.substr(src, length + 1));
  return Walk{bytes, code};
}

std::optional<Walk> WalkJoin(std::string bytes, size_t dest, size_t capacity, size_t src) {
  const auto refuse = [&](int code) {
    bytes[dest] = '\0';
    return Walk{bytes, code};
  };
  const size_t end = dest + capacity;
  size_t to = dest;
  while (true) {
    if (to == end) return refuse(150);
    if (dest < src && to == src) return refuse(182);
    if (bytes[to] == '\0') break;
    ++to;
  }
  for (size_t from = src;; ++from, ++to) {
    if (to == end) return refuse(162);
    if (dest < src ? to == src : from == dest) return refuse(182);
    if (from >= kArena) return std::nullopt;
    bytes[to] = bytes[from];
    if (bytes[to] == '\0') return Walk{bytes, 0};
  }
}

template <typename Call, typename Model>
void TryEveryArena(Call call, Model model) {
  GuardedBuffer arena(kArena);
  auto* text = reinterpret_cast<char*>(arena.data());
  for (unsigned ends = 0; ends < 1u << kArena; ++ends) {  // where terminators stand
    std::string bytes = "abcdefgh";
    for (size_t i = 0; i < kArena; ++i) {
      if ((ends >> i & 1u) != 0) bytes[i] = '\0';
    }
    for (size_t place = 0; place < kArena * kArena; ++place) {
      const size_t dest = place / kArena, src = place % kArena;
      for (size_t capacity = 1; capacity <= kArena - dest; ++capacity) {
        const std::optional<Walk> expected = model(bytes, dest, capacity, src);
        if (!expected) continue;
        std::memcpy(text, bytes.data(), kArena);
        const int code = call(text + dest, capacity, text + src);
        const bool as_expected =
            code == expected->code && std::string(text, kArena) == expected->bytes;
        ASSERT_TRUE(as_expected) << "ends " << ends << " dest " << dest << " src " << src
                                 << " capacity " << capacity << " code " << code;
      }
    }
  }
}

TEST(BoundedString, CopiesInEveryGeometry) { TryEveryArena(strcpy_s, WalkCopy); }

TEST(BoundedString, JoinsInEveryGeometry) { TryEveryArena(strcat_s, WalkJoin); }

TEST(BoundedString, JudgesCapacityThenDestinationThenSource) {
  constexpr size_t kTooLarge = size_t{1} << 31;
  for (const auto call : {strcpy_s, strcpy_error, strcat_s}) {
    char text[8] = "dest";
    for (const size_t capacity : {size_t{0}, kTooLarge, SIZE_MAX}) {
      EXPECT_EQ(call(text, capacity, "x"), 34);
      EXPECT_EQ(call(nullptr, capacity, nullptr), 34);
    }
    EXPECT_EQ(call(nullptr, 8, nullptr), 22);
    EXPECT_EQ(call(nullptr, 8, "x"), 22);
    EXPECT_STREQ(text, "dest");
    EXPECT_EQ(call(text, 8, nullptr), 150);
    EXPECT_STREQ(text, "");
  }
  char text[8] = "dest";
  EXPECT_EQ(strcpy_s(text, kTooLarge - 1, "large"), 0);
  EXPECT_STREQ(text, "large");
  EXPECT_EQ(strcat_s(text, kTooLarge - 1, "r"), 0);
  EXPECT_STREQ(text, "larger");
  // The refusal alone: success when the source would fit, and never a copy.
  EXPECT_EQ(strcpy_error(text, 7, "123456"), 0);
  EXPECT_STREQ(text, "larger");
  EXPECT_EQ(strcpy_error(text, 6, "123456"), 162);
  EXPECT_STREQ(text, "");
}

TEST(BoundedString, CopiesEveryLengthBetweenGuards) {
  for (size_t length = 1; length <= 80; ++length) {
    const std::string text(length, 'q');
    GuardedBuffer src(length + 1);
    GuardedBuffer dest(length + 1);
    auto* from = reinterpret_cast<char*>(src.data());
    auto* to = reinterpret_cast<char*>(dest.data());
    std::memcpy(from, text.c_str(), length + 1);
    for (const auto call : {strcpy_s, strcat_s}) {  // the second one after an empty string
      ASSERT_EQ(call(to, length + 1, from), 0);
      ASSERT_EQ(text, to);
      ASSERT_EQ(strcpy_s(to, length, from), 162);
      ASSERT_EQ(to[0], '\0');
    }
    from[length] = 'u';  // without a terminator: not read past the capacity
    ASSERT_EQ(strcpy_s(to, length + 1, from), 162);
    ASSERT_EQ(strcat_s(to, length + 1, from), 162);
    ASSERT_TRUE(dest.front_intact());
  }
}

}  // namespace
}  // namespace vantro::test

// Copies, fills and moves: results, the destination they leave, and the bytes around it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "vantro/bounded.h"

namespace vantro::test {
namespace {

// `lenient` ones judge the capacity only when the call is refused for another reason.
template <typename Function>
struct Variant {
  const char* name;
  Function call;
  bool lenient;
};

constexpr Variant<decltype(&memcpy_s)> kCopies[] = {{"memcpy_s", memcpy_s, false},
                                                    {"memcpy_sOptAsm", memcpy_sOptAsm, false},
                                                    {"memcpy_sOptTc", memcpy_sOptTc, true}};
constexpr Variant<decltype(&memset_s)> kFills[] = {{"memset_s", memset_s, false},
                                                   {"memset_sOptAsm", memset_sOptAsm, false},
                                                   {"memset_sOptTc", memset_sOptTc, true}};
constexpr size_t kTooLarge = size_t{1} << 31;

using Bytes = std::vector<uint8_t>;

Bytes Counted(size_t size) {
  Bytes bytes(size);
  std::iota(bytes.begin(), bytes.end(), uint8_t{1});
  return bytes;
}

// Every placement of two ranges in a few bytes, judged byte by byte.
TEST(BoundedCopy, EveryGeometryInASmallArena) {
  constexpr size_t kArena = 9;
  const auto try_one = [](auto copy, size_t dest, size_t src, size_t capacity, size_t count) {
    const bool shared = dest != src && std::max(dest, src) < std::min(dest, src) + count;
    const int code = capacity == 0 ? 34 : count > capacity ? 162 : shared ? 182 : 0;
    Bytes expected = Counted(kArena);
    if (code > 34) std::memset(&expected[dest], 0, capacity);
    if (code == 0 && dest != src) std::memcpy(&expected[dest], &expected[src], count);
    Bytes arena = Counted(kArena);
    ASSERT_EQ(copy(&arena[dest], capacity, &arena[src], count), code);
    ASSERT_EQ(arena, expected) << "dest " << dest << " src " << src << " capacity " << capacity
                               << " count " << count;
  };
  for (const auto& copy : kCopies) {
    SCOPED_TRACE(copy.name);
    for (size_t place = 0; place < kArena * kArena; ++place) {
      const size_t dest = place / kArena, src = place % kArena;
      for (size_t capacity = 0; capacity <= kArena - dest; ++capacity) {
        for (size_t count = 0; count <= std::min(capacity + 2, kArena - src); ++count) {
          ASSERT_NO_FATAL_FAILURE(try_one(copy.call, dest, src, capacity, count));
        }
      }
    }
  }
}

TEST(BoundedCopy, JudgesCapacityBeforePointersBeforeLengths) {
  for (const auto& copy : kCopies) {
    SCOPED_TRACE(copy.name);
    Bytes bytes = Counted(10);
    const Bytes other = Counted(20);
    EXPECT_EQ(copy.call(nullptr, 10, other.data(), 4), 22);
    EXPECT_EQ(copy.call(nullptr, 10, nullptr, 4), 22);
    EXPECT_EQ(copy.call(nullptr, 0, nullptr, 0), 34);
    EXPECT_EQ(copy.call(bytes.data(), kTooLarge, nullptr, 4), 34);
    EXPECT_EQ(copy.call(bytes.data(), SIZE_MAX, bytes.data() + 2, 4), 34);
    EXPECT_EQ(bytes, Counted(10));
    for (const size_t count : {0u, 11u}) {
      bytes = Counted(10);
      EXPECT_EQ(copy.call(bytes.data(), 10, nullptr, count), 150);
      EXPECT_EQ(bytes, Bytes(10, 0));
    }
    EXPECT_EQ(copy.call(bytes.data(), 10, other.data(), SIZE_MAX), 162);
    for (const size_t capacity : {kTooLarge - 1, kTooLarge, SIZE_MAX}) {
      Bytes dest(20, 0xEE);
      const bool allowed = capacity < kTooLarge || copy.lenient;
      EXPECT_EQ(copy.call(dest.data(), capacity, other.data(), 20), allowed ? 0 : 34);
      EXPECT_EQ(dest, allowed ? other : Bytes(20, 0xEE));
    }
  }
}

TEST(BoundedCopy, EveryLengthBetweenGuards) {
  for (size_t count = 1; count <= 130; ++count) {
    GuardedBuffer src(count);
    const Bytes data = Counted(count);
    std::memcpy(src.data(), data.data(), count);
    for (const auto& copy : kCopies) {
      for (const size_t spare : {0u, 40u}) {  // stays as it was
        GuardedBuffer dest(count + spare);
        std::memset(dest.data(), 0xEE, dest.size());
        ASSERT_EQ(copy.call(dest.data(), dest.size(), src.data(), count), 0);
        Bytes expected = data;
        expected.resize(dest.size(), 0xEE);
        ASSERT_EQ(Bytes(dest.data(), dest.data() + dest.size()), expected) << copy.name;
        ASSERT_TRUE(dest.front_intact()) << copy.name << ' ' << count;
      }
    }
  }
}

TEST(BoundedFill, ResultsAndState) {
  for (const auto& fill : kFills) {
    SCOPED_TRACE(fill.name);
    for (size_t capacity = 0; capacity <= 70; ++capacity) {
      for (size_t count = 0; count <= capacity + 2; ++count) {
        GuardedBuffer dest(capacity + 1);  // one byte behind the capacity
        std::memset(dest.data(), 0x11, dest.size());
        const int code = count <= capacity ? 0 : capacity == 0 ? 34 : 162;
        ASSERT_EQ(fill.call(dest.data(), capacity, 0x1AB, count), code) << capacity << ' ' << count;
        Bytes expected(std::min(count, capacity), 0xAB);
        expected.resize(dest.size(), 0x11);
        ASSERT_EQ(Bytes(dest.data(), dest.data() + dest.size()), expected);
        ASSERT_TRUE(dest.front_intact());
      }
    }
    uint8_t bytes[4] = {1, 2, 3, 4};
    EXPECT_EQ(fill.call(nullptr, 4, 0, 4), 22);
    EXPECT_EQ(fill.call(nullptr, 4, 0, 9), 22);
    EXPECT_EQ(fill.call(nullptr, 0, 0, 0), 34);
    EXPECT_EQ(fill.call(nullptr, kTooLarge, 0, 1), 34);
    EXPECT_EQ(fill.call(bytes, SIZE_MAX - 1, 0, SIZE_MAX), 34);
    EXPECT_EQ(fill.call(bytes, kTooLarge - 1, 9, 1), 0);
    EXPECT_EQ(fill.call(bytes, kTooLarge, 7, 3), fill.lenient ? 0 : 34);
    EXPECT_EQ(bytes[0], fill.lenient ? 7 : 9);
    EXPECT_EQ(bytes[3], 4);
  }
}

TEST(BoundedMove, EqualsAMoveThroughACopy) {
  const Bytes before = Counted(110);
  for (size_t dst = 0; dst < before.size(); ++dst) {
    for (size_t src = 0; src < before.size(); src += dst % 3 == 0 ? 1 : 7) {
      for (size_t count = 0; count <= before.size() - std::max(dst, src); ++count) {
        Bytes expected = before;
        std::copy_n(&before[src], count, &expected[dst]);
        Bytes arena = before;
        ASSERT_EQ(util_memmove(&arena[dst], &arena[src], count), &arena[dst]);
        ASSERT_EQ(arena, expected) << dst << ' ' << src << ' ' << count;
      }
    }
  }
}

}  // namespace
}  // namespace vantro::test

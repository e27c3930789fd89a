// The exported ways to write to a stream, and the engine and helper called directly.
#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>
#include <string>

#include "vantro/bounded.h"

namespace vantro::test {
namespace {

int Engine(OutStream* stream, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int result = Tarvel_output_s(stream, format, args);
  va_end(args);
  return result;
}

int Helper(char* string, size_t count, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int result = vsnprintf_helper(string, count, format, args);
  va_end(args);
  return result;
}

struct BoundedStream : testing::Test {
  char bytes[9] = "--------";
  std::string Text() const { return std::string(bytes, 8); }
};

TEST_F(BoundedStream, WritersStoreWhatFitsAndReportTheRest) {
  OutStream stream = {5, bytes};
  int count = 10;
  write_char_a('a' + 256, &stream, &count);
  write_string_a("bcXY", 2, &stream, &count);
  EXPECT_EQ(count, 13);
  EXPECT_EQ(stream.count, 2);
  EXPECT_EQ(stream.cur, bytes + 3);
  write_multi_char_a('.', 0, &stream, &count);
  write_multi_char_a('.', -3, &stream, &count);
  write_string_a("zz", -1, &stream, &count);
  EXPECT_EQ(count, 13);
  write_multi_char_a('*', 3, &stream, &count);
  EXPECT_EQ(count, -1);
  EXPECT_EQ(stream.count, -1);
  count = 4;
  write_string_a("long", 4, &stream, &count);
  EXPECT_EQ(count, -1);
  EXPECT_EQ(stream.count, -2);
  EXPECT_EQ(Text(), "abc**---");

  stream = {INT_MIN, bytes};
  write_char_a('!', &stream, &count);
  EXPECT_EQ(stream.count, INT_MIN);

  stream = {3, bytes};
  EXPECT_EQ(putWcharStrEndingZero(&stream, 2), 1);
  EXPECT_EQ(putWcharStrEndingZero(&stream, 0), 1);
  EXPECT_EQ(putWcharStrEndingZero(&stream, 2), 0);
  EXPECT_EQ(Text(), std::string("\0\0\0**---", 8));
  EXPECT_EQ(stream.count, -1);
}

TEST_F(BoundedStream, EngineWritesNoTerminator) {
  OutStream stream = {4, bytes};
  EXPECT_EQ(Engine(&stream, "%d", 1234), 4);
  EXPECT_EQ(Text(), "1234----");
  EXPECT_EQ(stream.count, 0);
  EXPECT_EQ(Engine(&stream, "%s", ""), 0);
  EXPECT_EQ(Engine(&stream, "x"), -1);
  EXPECT_EQ(stream.count, -1);
  EXPECT_EQ(Engine(nullptr, "x"), -1);
  EXPECT_EQ(Engine(&stream, nullptr), -1);
}

TEST_F(BoundedStream, HelperTellsLackOfRoomFromABadFormat) {
  EXPECT_EQ(Helper(bytes, 5, "%d", 1234), 4);
  EXPECT_EQ(Text(), std::string("1234\0---", 8));
  EXPECT_EQ(Helper(bytes, 4, "%s", "wxyz"), -2);
  EXPECT_EQ(bytes[3], '\0');
  EXPECT_EQ(Helper(bytes, 8, "ab%n", nullptr), -1);
  EXPECT_EQ(bytes[7], '\0');
  EXPECT_EQ(Helper(bytes, 1, "%s", ""), 0);
  EXPECT_EQ(bytes[0], '\0');
  const std::string before = Text();
  EXPECT_EQ(Helper(bytes, 0, "x"), -1);
  EXPECT_EQ(Helper(bytes, size_t{INT_MAX} + 1, "x"), -1);
  EXPECT_EQ(Helper(bytes, 8, nullptr), -1);
  EXPECT_EQ(Helper(nullptr, 8, "x"), -1);
  EXPECT_EQ(Text(), before);
}

}  // namespace
}  // namespace vantro::test

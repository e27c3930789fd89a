// The state machine that reads a format: classes of characters, states, and the table that leads
// from state to state.
#ifndef VANTRO_BOUNDED_FORMAT_TABLE_H_
#define VANTRO_BOUNDED_FORMAT_TABLE_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vantro {

enum class CharClass : uint8_t {
  kOrdinary,
  kPercent,
  kDot,
  kStar,
  kZero,
  kDigit,
  kFlag,
  kSize,
  kConversion,
};
inline constexpr size_t kCharClasses = 9;

// A state is named after the part of the format that has just been read.
enum class FormatState : uint8_t {
  kNormal,
  kPercent,
  kFlag,
  kWidth,
  kDot,
  kPrecision,
  kSize,
  kConversion,
  kInvalid,
};
inline constexpr size_t kFormatStates = 9;

// Every character that is not ordinary. The letters n, a and A are ordinary: writing through a
// pointer and hexadecimal floats are refused.
inline constexpr std::string_view kClassMembers[kCharClasses] = {
    /* ordinary   */ "",
    /* percent    */ "%",
    /* dot        */ ".",
    /* star       */ "*",
    /* zero       */ "0",
    /* digit      */ "123456789",
    /* flag       */ " #+-",
    /* size       */ "ILNZhjlqtwz",
    /* conversion */ "CEFGSXcdefgiopsux",
};

// The state after a character of the row's class, by the state before it (normal, percent, flag,
// width, dot, precision, size, conversion, invalid).
inline constexpr uint8_t kNextStates[kCharClasses][kFormatStates] = {
    /* ordinary   */ {0, 8, 8, 8, 8, 8, 8, 0, 0},
    /* percent    */ {1, 0, 8, 8, 8, 8, 8, 1, 0},
    /* dot        */ {0, 4, 4, 4, 8, 8, 8, 0, 0},
    /* star       */ {0, 3, 3, 8, 5, 8, 8, 0, 0},
    /* zero       */ {0, 2, 2, 3, 5, 5, 8, 0, 0},
    /* digit      */ {0, 3, 3, 3, 5, 5, 8, 0, 0},
    /* flag       */ {0, 2, 2, 2, 8, 8, 8, 0, 0},
    /* size       */ {0, 6, 6, 6, 6, 6, 6, 0, 0},
    /* conversion */ {0, 7, 7, 7, 7, 7, 7, 0, 0},
};

inline constexpr std::array<CharClass, 256> kClassOfByte = [] {
  std::array<CharClass, 256> classes{};
  for (size_t row = 0; row < kCharClasses; ++row) {
    for (const char member : kClassMembers[row]) {
      classes[static_cast<unsigned char>(member)] = static_cast<CharClass>(row);
    }
  }
  return classes;
}();

inline constexpr FormatState NextState(FormatState state, char ch) {
  const auto row = static_cast<size_t>(kClassOfByte[static_cast<unsigned char>(ch)]);
  return static_cast<FormatState>(kNextStates[row][static_cast<size_t>(state)]);
}

}  // namespace vantro

#endif  // VANTRO_BOUNDED_FORMAT_TABLE_H_

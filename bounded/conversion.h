// One conversion of a format, and the functions that carry it out. Each takes its arguments from
// the list, writes to the stream, and returns false when the engine must fail; a stream without
// room shows in `written`.
#ifndef VANTRO_BOUNDED_CONVERSION_H_
#define VANTRO_BOUNDED_CONVERSION_H_

#include <cstdarg>
#include <cstddef>
#include <cstdint>

#include "bounded/out_stream.h"

namespace vantro {

enum class ArgSize : uint8_t {
  kDefault,
  kChar,      // hh
  kShort,     // h
  kLong,      // l
  kLongLong,  // ll
  kQuad,      // L, q
  kMax,       // j
  kSize,      // z
  kPtrdiff,   // t
  kWide,      // w
  kPointer,   // I
  kInt32,     // I32
  kInt64,     // I64
};

struct Conversion {
  bool left = false;       // -
  bool plus = false;       // +
  bool blank = false;      // blank
  bool alternate = false;  // #
  bool zero = false;       // 0
  ArgSize size = ArgSize::kDefault;
  int width = 0;
  int precision = -1;  // -1: none given
};

// An argument list that can be handed on by reference.
struct Arguments {
  std::va_list list;
};

// d i u o x X p
bool PutInteger(OutStream& stream, const Conversion& conversion, char letter, Arguments& args,
                int& written);
// c C s S
bool PutText(OutStream& stream, const Conversion& conversion, char letter, Arguments& args,
             int& written);
// e E f F g G
bool PutFloat(OutStream& stream, const Conversion& conversion, char letter, Arguments& args,
              int& written);

// Blanks that fill a field of `length` bytes up to the conversion's width.
inline size_t Padding(const Conversion& conversion, size_t length) {
  const auto width = static_cast<size_t>(conversion.width);
  return width > length ? width - length : 0;
}

}  // namespace vantro

#endif  // VANTRO_BOUNDED_CONVERSION_H_

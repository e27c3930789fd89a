// The formatting engine: walks the format through the states of format_table.h.
#include "bounded/conversion.h"
#include "bounded/format_table.h"
#include "bounded/out_stream.h"
#include "vantro/bounded.h"

namespace vantro {
namespace {

// The largest number that another digit may be added to.
constexpr int kLargestBeforeDigit = 21474836;

void ReadFlag(Conversion& conversion, char ch) {
  switch (ch) {
    case '-':
      conversion.left = true;
      break;
    case '+':
      conversion.plus = true;
      break;
    case ' ':
      conversion.blank = true;
      break;
    case '#':
      conversion.alternate = true;
      break;
    default:
      conversion.zero = true;
  }
}

// The three readers return false when the engine must fail.

bool AppendDigit(int& number, char ch) {
  if (number < 0 || number > kLargestBeforeDigit) return false;
  number = number * 10 + (ch - '0');
  return true;
}

bool ReadWidth(Conversion& conversion, char ch, Arguments& args) {
  if (ch != '*') return AppendDigit(conversion.width, ch);
  const int width = va_arg(args.list, int);
  if (width == INT32_MIN) return false;  // has no absolute value
  if (width < 0) conversion.left = true;
  conversion.width = width < 0 ? -width : width;
  return true;
}

bool ReadPrecision(Conversion& conversion, char ch, Arguments& args) {
  if (ch != '*') return AppendDigit(conversion.precision, ch);
  const int precision = va_arg(args.list, int);
  conversion.precision = precision < 0 ? -1 : precision;
  return true;
}

// Reads the size at `format`, with the digits of I32 and I64, and moves to its last character.
// Returns kDefault for the two letters without a meaning.
ArgSize SizeAt(const char*& format) {
  switch (*format) {
    case 'h':
      return ArgSize::kShort;
    case 'l':
      return ArgSize::kLong;
    case 'L':
    case 'q':
      return ArgSize::kQuad;
    case 'j':
      return ArgSize::kMax;
    case 'z':
      return ArgSize::kSize;
    case 't':
      return ArgSize::kPtrdiff;
    case 'w':
      return ArgSize::kWide;
    case 'I':
      if (format[1] == '3' && format[2] == '2') {
        format += 2;
        return ArgSize::kInt32;
      }
      if (format[1] == '6' && format[2] == '4') {
        format += 2;
        return ArgSize::kInt64;
      }
      return ArgSize::kPointer;
    default:
      return ArgSize::kDefault;
  }
}

// Only h and l may be doubled; no other two sizes mean anything together.
bool ReadSize(Conversion& conversion, const char*& format) {
  const ArgSize size = SizeAt(format);
  if (size == ArgSize::kDefault) return true;
  if (conversion.size == ArgSize::kDefault) {
    conversion.size = size;
  } else if (conversion.size == ArgSize::kShort && size == ArgSize::kShort) {
    conversion.size = ArgSize::kChar;
  } else if (conversion.size == ArgSize::kLong && size == ArgSize::kLong) {
    conversion.size = ArgSize::kLongLong;
  } else {
    return false;
  }
  return true;
}

bool Convert(OutStream& stream, const Conversion& conversion, char letter, Arguments& args,
             int& written) {
  switch (letter) {
    case 'c':
    case 'C':
    case 's':
    case 'S':
      return PutText(stream, conversion, letter, args, written);
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
      return PutFloat(stream, conversion, letter, args, written);
    default:
      return PutInteger(stream, conversion, letter, args, written);
  }
}

// Writes the character at `format` and the ordinary ones after it; returns what comes next.
const char* PutOrdinary(OutStream& stream, const char* format, int& written) {
  const char* end = format + 1;
  while (*end != '\0' && *end != '%') ++end;
  PutRun(stream, format, static_cast<size_t>(end - format), written);
  return end;
}

int Format(OutStream& stream, const char* format, Arguments& args) {
  int written = 0;
  FormatState state = FormatState::kNormal;
  Conversion conversion;
  while (*format != '\0') {
    state = NextState(state, *format);
    bool valid = true;
    switch (state) {
      case FormatState::kNormal:
        format = PutOrdinary(stream, format, written);
        if (written < 0) return -1;
        continue;
      case FormatState::kPercent:
        conversion = {};
        break;
      case FormatState::kFlag:
        ReadFlag(conversion, *format);
        break;
      case FormatState::kWidth:
        valid = ReadWidth(conversion, *format, args);
        break;
      case FormatState::kDot:
        conversion.precision = 0;
        break;
      case FormatState::kPrecision:
        valid = ReadPrecision(conversion, *format, args);
        break;
      case FormatState::kSize:
        valid = ReadSize(conversion, format);
        break;
      case FormatState::kConversion:
        valid = Convert(stream, conversion, *format, args, written) && written >= 0;
        break;
      case FormatState::kInvalid:
        valid = false;
    }
    if (!valid) return -1;
    ++format;
  }
  return state == FormatState::kNormal || state == FormatState::kConversion ? written : -1;
}

}  // namespace
}  // namespace vantro

int Tarvel_output_s(OutStream* stream, const char* format, va_list argList) {
  if (stream == nullptr || stream->cur == nullptr || format == nullptr) return -1;
  vantro::Arguments args;
  va_copy(args.list, argList);
  const int result = vantro::Format(*stream, format, args);
  va_end(args.list);
  return result;
}

#include <algorithm>
#include <cstring>
#include <string_view>

#include "bounded/conversion.h"

namespace vantro {
namespace {

// Digits of a base up to 16, and the letter of the hexadecimal prefix.
constexpr char kLowerDigits[] = "0123456789abcdefx";
constexpr char kUpperDigits[] = "0123456789ABCDEFX";
constexpr size_t kPrefixLetter = 16;

// A 64-bit value in octal.
constexpr size_t kMostDigits = 22;

int BitsOf(ArgSize size) {
  switch (size) {
    case ArgSize::kChar:
      return 8;
    case ArgSize::kShort:
      return 16;
    case ArgSize::kDefault:
    case ArgSize::kWide:
    case ArgSize::kInt32:
      return 32;
    default:
      static_assert(sizeof(long) == 8 && sizeof(size_t) == 8 && sizeof(intmax_t) == 8);
      return 64;
  }
}

// The argument, widened from its size.
uint64_t FetchInteger(ArgSize size, bool is_signed, Arguments& args) {
  const int bits = BitsOf(size);
  if (bits == 64) return va_arg(args.list, uint64_t);
  const uint64_t at_top = uint64_t{va_arg(args.list, unsigned)} << (64 - bits);
  return is_signed ? static_cast<uint64_t>(static_cast<int64_t>(at_top) >> (64 - bits))
                   : at_top >> (64 - bits);
}

// Both write the digits of `value` before `end` and return where they begin.
char* WriteDecimal(char* end, uint64_t value) {
  static constexpr char kPairs[] =
      "0001020304050607080910111213141516171819"
      "2021222324252627282930313233343536373839"
      "4041424344454647484950515253545556575859"
      "6061626364656667686970717273747576777879"
      "8081828384858687888990919293949596979899";
  while (value >= 100) {
    end -= 2;
    std::memcpy(end, &kPairs[value % 100 * 2], 2);
    value /= 100;
  }
  if (value >= 10) {
    end -= 2;
    std::memcpy(end, &kPairs[value * 2], 2);
  } else {
    *--end = static_cast<char>('0' + value);
  }
  return end;
}

char* WritePowerOfTwoBase(char* end, uint64_t value, int bits_a_digit, const char* digits) {
  const uint64_t mask = (uint64_t{1} << bits_a_digit) - 1;
  do {
    *--end = digits[value & mask];
    value >>= bits_a_digit;
  } while (value != 0);
  return end;
}

char SignOf(const Conversion& conversion, bool negative) {
  if (negative) return '-';
  if (conversion.plus) return '+';
  return conversion.blank ? ' ' : '\0';
}

// Blanks, prefix, zeros, digits, blanks.
void PutField(OutStream& stream, const Conversion& conversion, std::string_view prefix,
              size_t zeros, std::string_view digits, int& written) {
  size_t padding = Padding(conversion, prefix.size() + zeros + digits.size());
  // A precision or left-justification turns the zero flag off.
  if (conversion.zero && !conversion.left && conversion.precision < 0) {
    zeros += padding;
    padding = 0;
  }
  if (padding > 0 && !conversion.left) PutRepeated(stream, ' ', padding, written);
  if (written >= 0 && !prefix.empty()) PutRun(stream, prefix.data(), prefix.size(), written);
  if (written >= 0 && zeros > 0) PutRepeated(stream, '0', zeros, written);
  if (written >= 0) PutRun(stream, digits.data(), digits.size(), written);
  if (written >= 0 && padding > 0 && conversion.left) PutRepeated(stream, ' ', padding, written);
}

}  // namespace

bool PutInteger(OutStream& stream, const Conversion& conversion, char letter, Arguments& args,
                int& written) {
  const bool is_signed = letter == 'd' || letter == 'i';
  const bool is_pointer = letter == 'p';
  const ArgSize size = is_pointer ? ArgSize::kInt64 : conversion.size;
  uint64_t value = FetchInteger(size, is_signed, args);

  char prefix[2] = {};
  size_t prefix_length = 0;
  if (is_signed) {
    const bool negative = static_cast<int64_t>(value) < 0;
    if (negative) value = 0 - value;
    prefix[0] = SignOf(conversion, negative);
    prefix_length = prefix[0] != '\0' ? 1 : 0;
  }

  char buffer[kMostDigits];
  char* const end = buffer + sizeof(buffer);
  char* begin = nullptr;
  if (letter == 'x' || letter == 'X' || is_pointer) {
    const char* digits = letter == 'X' ? kUpperDigits : kLowerDigits;
    begin = WritePowerOfTwoBase(end, value, 4, digits);
    if (is_pointer || (conversion.alternate && value != 0)) {
      prefix[0] = '0';
      prefix[1] = digits[kPrefixLetter];
      prefix_length = 2;
    }
  } else if (letter == 'o') {
    begin = WritePowerOfTwoBase(end, value, 3, kLowerDigits);
  } else {
    begin = WriteDecimal(end, value);
  }
  // A precision of 0 leaves nothing of a zero, but for a pointer.
  if (value == 0 && conversion.precision == 0 && !is_pointer) begin = end;

  const auto length = static_cast<size_t>(end - begin);
  const auto fewest = static_cast<size_t>(std::max(conversion.precision, 0));
  size_t zeros = fewest > length ? fewest - length : 0;
  if (letter == 'o' && conversion.alternate && zeros == 0 && (length == 0 || *begin != '0')) {
    zeros = 1;
  }
  PutField(stream, conversion, {prefix, prefix_length}, zeros, {begin, length}, written);
  return true;
}

}  // namespace vantro

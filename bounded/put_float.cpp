// Floating-point conversions, delegated to the C library.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>

#include "bounded/conversion.h"

namespace vantro {
namespace {

constexpr size_t kLocalBuffer = 512;
// The most characters of a value beside its digits after the point: sign, integer digits, point,
// exponent.
constexpr int kMostOfDouble = 349;
constexpr int kMostOfLongDouble = 4972;

struct HeapDeleter {
  void operator()(char* block) const { std::free(block); }
};

bool IsShortest(char letter) { return letter == 'g' || letter == 'G'; }

int PrecisionOf(const Conversion& conversion, char letter) {
  if (conversion.precision < 0) return 6;
  return IsShortest(letter) && conversion.precision == 0 ? 1 : conversion.precision;
}

// The conversion as the C library reads it, with width and precision as arguments.
struct LibraryFormat {
  char text[16];
};

LibraryFormat ForLibrary(const Conversion& conversion, char letter, bool is_long) {
  LibraryFormat format;
  char* next = format.text;
  *next++ = '%';
  if (conversion.left) *next++ = '-';
  if (conversion.plus) *next++ = '+';
  if (conversion.blank) *next++ = ' ';
  if (conversion.alternate) *next++ = '#';
  if (conversion.zero) *next++ = '0';
  *next++ = '*';
  *next++ = '.';
  *next++ = '*';
  if (is_long) *next++ = 'L';
  *next++ = letter;
  *next = '\0';
  return format;
}

template <typename Float>
bool PutValue(OutStream& stream, const Conversion& conversion, char letter, Float value,
              int& written) {
  constexpr bool kIsLong = sizeof(Float) > sizeof(double);
  constexpr int kMost = kIsLong ? kMostOfLongDouble : kMostOfDouble;
  const int wanted = PrecisionOf(conversion, letter);
  if (wanted > INT_MAX - kMost) return false;
  // Digits that the text does not show are not worth computing: no value has more decimal digits
  // than binary places.
  const bool cut = !std::isfinite(value) || (IsShortest(letter) && !conversion.alternate);
  constexpr int kPlaces =
      std::numeric_limits<Float>::digits - std::numeric_limits<Float>::min_exponent;
  const int precision = cut ? std::min(wanted, kPlaces) : wanted;
  // A text that is sure to outgrow the stream is not even made: a huge width or precision costs no
  // memory.
  if (conversion.width > stream.count || (!cut && precision > stream.count)) {
    TakeRoom(stream, SIZE_MAX, written);
    return true;
  }

  const size_t size = static_cast<size_t>(std::max(conversion.width, precision + kMost)) + 2;
  char local[kLocalBuffer];
  std::unique_ptr<char[], HeapDeleter> heap;
  char* text = local;
  if (size >= sizeof(local)) {
    heap.reset(static_cast<char*>(std::malloc(size)));
    if (heap == nullptr) return false;
    text = heap.get();
  }
  const int length = std::snprintf(text, size, ForLibrary(conversion, letter, kIsLong).text,
                                   conversion.width, precision, value);
  if (length < 0 || static_cast<size_t>(length) >= size) return false;
  PutRun(stream, text, static_cast<size_t>(length), written);
  return true;
}

}  // namespace

bool PutFloat(OutStream& stream, const Conversion& conversion, char letter, Arguments& args,
              int& written) {
  if (conversion.size == ArgSize::kQuad) {
    return PutValue(stream, conversion, letter, va_arg(args.list, long double), written);
  }
  return PutValue(stream, conversion, letter, va_arg(args.list, double), written);
}

}  // namespace vantro

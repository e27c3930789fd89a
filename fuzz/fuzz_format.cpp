// The formatting engine: any format text into any capacity. A format reads nothing but texts or
// nothing but numbers, so that its arguments can be made without knowing its conversions.
#include <algorithm>
#include <cstdarg>
#include <cstdlib>

#include "fuzz/fuzz_source.h"
#include "vantro/bounded.h"

namespace {

int Format(char* out, size_t capacity, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = vsprintf_s(out, capacity, format, arguments);
  va_end(arguments);
  return length;
}

// 's' and 'S' read an argument as a pointer, '*' and the rest as a number: a format of one kind
// gets arguments that suit it.
bool ReadsPointers(const std::string& format) {
  return format.find_first_of("sS") != std::string::npos;
}

bool ReadsNumbers(const std::string& format) {
  return format.find_first_of("*diouxXpcCeEfFgG") != std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vantro::fuzz::FuzzSource source(data, size);
  const auto capacity = static_cast<size_t>(source.Int(0, 600));
  const auto number = source.Take<uint64_t>();
  const auto real = source.Take<double>();
  std::string format = source.Rest().c_str();
  if (ReadsPointers(format) && ReadsNumbers(format)) {
    for (char& letter : format) {
      if (letter == 's' || letter == 'S') letter = 'd';
    }
  }
  // No more conversions than there are arguments; a long double takes the place of two.
  constexpr auto kMost = 12;
  if (std::count_if(format.begin(), format.end(),
                    [](char letter) { return letter == '%' || letter == '*'; }) > kMost) {
    return 0;
  }
  char* out = reinterpret_cast<char*>(source.Bytes(static_cast<int64_t>(capacity)));
  int length = 0;
  if (ReadsPointers(format)) {
    // Aligned, and ends in zeros as text of either width.
    static const wchar_t kText[] = L"gr\u00fcn";
    const void* t = kText;
    length = Format(out, capacity, format.c_str(), t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t,
                    t, t, t, t, t, t, t, t);
  } else {
    const auto n = number;
    const double r = real;
    length = Format(out, capacity, format.c_str(), n, r, n, r, n, r, n, r, n, r, n, r, n, r, n, r,
                    n, n, n, n, n, n, n, n, n, n, n, n, n, n, n, n, n, n, n, n, n, n, n, n);
  }
  if (length >= 0) {
    if (static_cast<size_t>(length) >= capacity || out[length] != '\0') std::abort();
  } else if (length != -1) {
    std::abort();
  }
  return 0;
}

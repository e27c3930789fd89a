#include <climits>
#include <cstring>
#include <cwchar>

#include "bounded/conversion.h"
#include "bounded/wide_char.h"

namespace vantro {
namespace {

bool IsWide(ArgSize size, char letter) {
  if (letter == 'C' || letter == 'S') return size != ArgSize::kShort && size != ArgSize::kChar;
  return size == ArgSize::kLong || size == ArgSize::kLongLong || size == ArgSize::kWide;
}

void PutNarrow(OutStream& stream, const Conversion& conversion, const char* text, size_t length,
               int& written) {
  const size_t padding = Padding(conversion, length);
  if (padding > 0 && !conversion.left) PutRepeated(stream, ' ', padding, written);
  if (written >= 0) PutRun(stream, text, length, written);
  if (written >= 0 && padding > 0 && conversion.left) PutRepeated(stream, ' ', padding, written);
}

// A precision limits the bytes, and never cuts a character.
bool PutWideString(OutStream& stream, const Conversion& conversion, const wchar_t* text,
                   int& written) {
  const size_t limit =
      conversion.precision < 0 ? SIZE_MAX : static_cast<size_t>(conversion.precision);
  char bytes[MB_LEN_MAX];
  size_t length = 0;
  size_t characters = 0;
  while (length < limit && text[characters] != L'\0') {
    const int count = wctomb(bytes, text[characters]);
    if (count < 0) return false;
    if (static_cast<size_t>(count) > limit - length) break;
    length += static_cast<size_t>(count);
    ++characters;
  }

  const size_t padding = Padding(conversion, length);
  if (padding > 0 && !conversion.left) PutRepeated(stream, ' ', padding, written);
  for (size_t i = 0; i < characters && written >= 0; ++i) {
    const int count = wctomb(bytes, text[i]);
    if (count < 0) return false;
    PutRun(stream, bytes, static_cast<size_t>(count), written);
  }
  if (written >= 0 && padding > 0 && conversion.left) PutRepeated(stream, ' ', padding, written);
  return true;
}

bool PutCharacter(OutStream& stream, const Conversion& conversion, bool wide, Arguments& args,
                  int& written) {
  char bytes[MB_LEN_MAX];
  int count = 1;
  if (wide) {
    count = wctomb(bytes, static_cast<wchar_t>(va_arg(args.list, wint_t)));
    if (count < 0) return false;
  } else {
    bytes[0] = static_cast<char>(va_arg(args.list, int));
  }
  PutNarrow(stream, conversion, bytes, static_cast<size_t>(count), written);
  return true;
}

}  // namespace

bool PutText(OutStream& stream, const Conversion& conversion, char letter, Arguments& args,
             int& written) {
  const bool wide = IsWide(conversion.size, letter);
  if (letter == 'c' || letter == 'C') {
    return PutCharacter(stream, conversion, wide, args, written);
  }
  if (wide) {
    const wchar_t* text = va_arg(args.list, const wchar_t*);
    return PutWideString(stream, conversion, text != nullptr ? text : L"(null)", written);
  }
  const char* text = va_arg(args.list, const char*);
  if (text == nullptr) text = "(null)";
  const size_t length = conversion.precision < 0
                            ? std::strlen(text)
                            : strnlen(text, static_cast<size_t>(conversion.precision));
  PutNarrow(stream, conversion, text, length, written);
  return true;
}

}  // namespace vantro

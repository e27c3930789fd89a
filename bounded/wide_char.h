// Conversions between wide and multibyte characters in the current locale. In the namespace, so
// that they never take the place of the C library's functions of these names.
#ifndef VANTRO_BOUNDED_WIDE_CHAR_H_
#define VANTRO_BOUNDED_WIDE_CHAR_H_

#include <cstddef>

namespace vantro {

// Stores the bytes of `wide` (at most MB_LEN_MAX) and returns their number, or -1 when the locale
// has no bytes for it.
int wctomb(char* bytes, wchar_t wide);

// Reads one character of at most `limit` bytes and returns their number: 0 for a terminator, -1
// for invalid bytes, -2 for an unfinished character.
int mbtowc(wchar_t* wide, const char* bytes, size_t limit);

}  // namespace vantro

#endif  // VANTRO_BOUNDED_WIDE_CHAR_H_

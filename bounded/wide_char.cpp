#include "bounded/wide_char.h"

#include <cwchar>

namespace vantro {

int wctomb(char* bytes, wchar_t wide) {
  return static_cast<int>(std::wcrtomb(bytes, wide, nullptr));
}

int mbtowc(wchar_t* wide, const char* bytes, size_t limit) {
  return static_cast<int>(std::mbrtowc(wide, bytes, limit, nullptr));
}

}  // namespace vantro

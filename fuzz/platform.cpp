#include "fuzz/platform.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "vantro/export.h"

namespace vantro::fuzz {

bool switches_on = false;

}  // namespace vantro::fuzz

extern "C" {

// The text is formatted all the same.
VANTRO_API int __android_log_print(int /*priority*/, const char* /*tag*/, const char* format, ...) {
  char text[512];
  std::va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(text, sizeof(text), format, arguments);
  va_end(arguments);
  return length;
}

VANTRO_API int __system_property_get(const char* /*name*/, char* value) {
  std::strcpy(value, vantro::fuzz::switches_on ? "1" : "");
  return static_cast<int>(std::strlen(value));
}
}

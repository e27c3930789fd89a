#include "bounded/limits.h"
#include "bounded/out_stream.h"
#include "vantro/bounded.h"

int sprintf_s(char* strDest, size_t destMax, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int result = vsprintf_s(strDest, destMax, format, args);
  va_end(args);
  return result;
}

int vsprintf_s(char* strDest, size_t destMax, const char* format, va_list argList) {
  if (strDest != nullptr && format != nullptr && vantro::IsCapacity(destMax)) [[likely]] {
    const int result = vsnprintf_helper(strDest, destMax, format, argList);
    if (result >= 0) return result;
  }
  if (strDest != nullptr && destMax != 0) strDest[0] = '\0';
  return -1;
}

int vsnprintf_helper(char* string, size_t count, const char* format, va_list argList) {
  if (string == nullptr || format == nullptr || !vantro::IsCapacity(count)) return -1;
  OutStream stream = {static_cast<int32_t>(count), string};
  int result = Tarvel_output_s(&stream, format, argList);
  int terminated = result;
  if (result >= 0) write_char_a('\0', &stream, &terminated);
  if (terminated >= 0) return result;
  string[count - 1] = '\0';
  return stream.count < 0 ? -2 : -1;
}

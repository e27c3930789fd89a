// Log and properties where there is no Android: standard error and the environment.
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/platform.h"

namespace {

constexpr int kSilent = ANDROID_LOG_ERROR + 1;

// VANTRO_LOG names the lowest level shown. Read on every line, shown or not: a host may change its
// environment while the library is loaded, and a frame's fifty-odd lines cost little beside it.
int LowestLevelShown() {
  static constexpr struct {
    const char* name;
    int level;
  } kNames[] = {{"debug", ANDROID_LOG_DEBUG},
                {"info", ANDROID_LOG_INFO},
                {"warn", ANDROID_LOG_WARN},
                {"error", ANDROID_LOG_ERROR},
                {"silent", kSilent}};
  const char* wanted = std::getenv("VANTRO_LOG");
  if (wanted != nullptr) {
    for (const auto& entry : kNames) {
      if (std::strcmp(wanted, entry.name) == 0) return entry.level;
    }
  }
  return ANDROID_LOG_ERROR;
}

char LevelLetter(int prio) {
  switch (prio) {
    case ANDROID_LOG_DEBUG:
      return 'D';
    case ANDROID_LOG_INFO:
      return 'I';
    case ANDROID_LOG_WARN:
      return 'W';
    default:
      return 'E';
  }
}

}  // namespace

extern "C" int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
  if (prio < LowestLevelShown()) return 0;
  char line[1024];
  std::va_list args;
  va_start(args, fmt);
  const int length = std::vsnprintf(line, sizeof(line), fmt, args);
  va_end(args);
  if (length < 0) return 0;
  // Many messages end in a line feed of their own.
  size_t end = std::strlen(line);
  while (end > 0 && line[end - 1] == '\n') --end;
  return std::fprintf(stderr, "%c %s: %.*s\n", LevelLetter(prio), tag, static_cast<int>(end), line);
}

extern "C" int __system_property_get(const char* name, char* value) {
  value[0] = '\0';
  // A variable cannot have dots in its name in most shells.
  char variable[PROP_VALUE_MAX];
  const size_t length = std::strlen(name);
  if (length >= sizeof(variable)) return 0;
  for (size_t i = 0; i <= length; ++i) variable[i] = name[i] == '.' ? '_' : name[i];
  const char* found = std::getenv(variable);
  if (found == nullptr) return 0;
  return std::snprintf(value, PROP_VALUE_MAX, "%s", found) < PROP_VALUE_MAX
             ? static_cast<int>(std::strlen(value))
             : PROP_VALUE_MAX - 1;
}

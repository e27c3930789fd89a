// The two entry points of the camera platform that the library calls. On Android they are the
// system's. Elsewhere the library brings its own (one file a system in this folder) and exports
// them, so that a host program can define functions of the same names and take every line.
#ifndef VANTRO_PLATFORM_PLATFORM_H_
#define VANTRO_PLATFORM_PLATFORM_H_

#ifdef __ANDROID__
#include <android/log.h>
#include <sys/system_properties.h>
#else

#include "vantro/export.h"

enum {
  ANDROID_LOG_DEBUG = 3,
  ANDROID_LOG_INFO = 4,
  ANDROID_LOG_WARN = 5,
  ANDROID_LOG_ERROR = 6,
};

// Capacity of a property value, its terminator included.
#define PROP_VALUE_MAX 92

extern "C" {
// Writes one log line; returns a positive value, or one below 1 when nothing was written.
VANTRO_API int __android_log_print(int prio, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));

// Copies the property's value into `value` (PROP_VALUE_MAX bytes) and returns its length; 0 and an
// empty string when there is no such property.
VANTRO_API int __system_property_get(const char* name, char* value);
}

#endif  // __ANDROID__
#endif  // VANTRO_PLATFORM_PLATFORM_H_

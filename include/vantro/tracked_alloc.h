// Counted scratch memory, and the two allocation hooks that a host may set. For C++ only.
#ifndef VANTRO_TRACKED_ALLOC_H_
#define VANTRO_TRACKED_ALLOC_H_

#include <cstdint>

#include "vantro/export.h"

// Logs the request (DEBUG, tag "VANTRO"), counts it and returns a heap block of `size` bytes, or
// null. The counters are process-wide; they count calls, and only feed log lines.
VANTRO_API void* __Malloc(int size, const char* name);

// Releases a block of __Malloc; null is allowed. Logs the release and the number of blocks out.
VANTRO_API void __Free(void* block, const char* name);

// Logs the bytes requested from __Malloc so far (INFO, tag "VANTRO") beside a frame number. Returns
// what the log call returned.
VANTRO_API int showMemTotal(int frame);

extern "C" {
// Allocation hooks of connectionFilterGuide, erosion and dilation, called with the name "Vantro"
// and a last argument of 0. Null until the host sets them; the library never assigns them.
VANTRO_API extern void* (*fmalloc)(uint32_t size, const char* name, int32_t zero);
VANTRO_API extern void (*ffree)(void* block, const char* name, int32_t zero);
}

#endif  // VANTRO_TRACKED_ALLOC_H_

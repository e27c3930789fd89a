// Image dumps and guarded file routines. The dump writers print their messages to standard output,
// the file routines with a C path log theirs under "VANTRO". For C++ only.
#ifndef VANTRO_DIAGNOSTICS_H_
#define VANTRO_DIAGNOSTICS_H_

#include <string>

#include "vantro/export.h"

// Writes a picture as a 24-bit BMP to `path` followed by the local time as MMDD_HHMMSS_mmm and
// ".bmp"; two dumps of one path within a millisecond share a name.
//
// buf      width * height * channel bytes without gaps
// channel  1: grey; 3: colour
// type     0: interleaved red, green, blue; 1: three planes red, green, blue (ignored for grey)
//
// Returns 0; -1 when an argument is refused (a null buffer, a type other than 0 and 1, a channel
// other than 1 and 3, a size below 1 or past what the format can hold) or the file cannot be
// written.
VANTRO_API int save_bmp_file(std::string path, unsigned char* buf, int width, int height,
                             int channel, int type);

// Writes a YUV frame as a BMP by save_bmp_file.
//
// buf    a frame of `height` rows, `width` pixels apart, laid out as `type` says
// type   VANTRO_FORMAT_NV21, VANTRO_FORMAT_NV12 (studio-range conversion) or VANTRO_FORMAT_UYVY
//        (full-range conversion); others are refused with a log line
VANTRO_API void save_nv12_or_nv21_UYVY_to_bmp_file(std::string path, unsigned char* buf, int width,
                                                   int height, int type);

// Writes `size` bytes to `path`, replacing what was there. Returns 0; -1 for a null buffer, a size
// below 1 or a file that cannot be written.
VANTRO_API int writeFile(std::string path, const void* buf, int size);

// The same, refusing a path with "./" or "../" in it. Returns 0 or -1: a null argument, a negative
// size, a refused path or a file that cannot be opened. Bytes that could not be written are logged,
// but do not change the result.
VANTRO_API int writeFile(const char* path, const void* buf, int size);

// Reads exactly `size` bytes of a file. Refuses a path with "./" or "../" in it, one longer than
// 4096 characters, and one that does not resolve. Returns 0 or -1; after a failure the content of
// `buf` is undefined.
VANTRO_API int readFile(const char* path, void* buf, int size);

#endif  // VANTRO_DIAGNOSTICS_H_

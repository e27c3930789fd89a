/*
 * Bounded memory and string functions: each takes the capacity of its destination, checks its
 * arguments, and leaves a destination in a defined state when it refuses them. Usable from C.
 *
 * All functions are reentrant, keep no state, write no log and never abort. A capacity is counted
 * in bytes; the largest allowed one is 2^31 - 1.
 */
#ifndef VANTRO_BOUNDED_H_
#define VANTRO_BOUNDED_H_

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

#include "vantro/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Results of the memory and string functions. "Reset" means: all destMax bytes of a memcpy_s
 * destination are 0, all destMax bytes of a memset_s destination are the fill value, the first byte
 * of a string is 0. Without it the destination is untouched. */
enum {
  VANTRO_BOUNDED_OK = 0,
  VANTRO_BOUNDED_INVALID = 22,        /* null destination */
  VANTRO_BOUNDED_RANGE = 34,          /* capacity 0 or above 2^31 - 1 */
  VANTRO_BOUNDED_INVALID_RESET = 150, /* null source, or strcat_s: no terminator in destMax bytes */
  VANTRO_BOUNDED_RANGE_RESET = 162,   /* the data does not fit */
  VANTRO_BOUNDED_OVERLAP_RESET = 182  /* source and destination overlap */
};

/*
 * Copies `count` bytes. A copy of 0 bytes and a copy onto itself succeed and change nothing.
 * Refusals are judged in this order: capacity (34), then with two pointers count above destMax
 * (162) and overlap (182), then null dest (22), then null src (150).
 *
 * memcpy_sOptAsm moves up to 64 bytes without a call. memcpy_sOptTc judges the capacity only when
 * the copy is refused for another reason.
 */
VANTRO_API int memcpy_s(void* dest, size_t destMax, const void* src, size_t count);
VANTRO_API int memcpy_sOptAsm(void* dest, size_t destMax, const void* src, size_t count);
VANTRO_API int memcpy_sOptTc(void* dest, size_t destMax, const void* src, size_t count);

/*
 * Fills `count` bytes with the low byte of `c`. Nothing to fill succeeds for every non-null dest,
 * also with a capacity of 0. Refusals in this order: capacity (34), null dest (22), count above
 * destMax (162, all destMax bytes filled).
 *
 * memset_sOptAsm fills up to 32 bytes without a call. memset_sOptTc judges the capacity only when
 * the fill is refused for another reason.
 */
VANTRO_API int memset_s(void* dest, size_t destMax, int c, size_t count);
VANTRO_API int memset_sOptAsm(void* dest, size_t destMax, int c, size_t count);
VANTRO_API int memset_sOptTc(void* dest, size_t destMax, int c, size_t count);

/*
 * Copies the string with its terminator. The source is never read past destMax bytes or past its
 * terminator. A copy onto itself succeeds when the string fits. Results 0, 22, 34, 150, 162, 182.
 */
VANTRO_API int strcpy_s(char* strDest, size_t destMax, const char* strSrc);

/* The result of a strcpy_s that was refused, and what it does to the destination: the checks of
 * capacity, pointers and length without the copy. */
VANTRO_API int strcpy_error(char* strDest, size_t destMax, const char* strSrc);

/*
 * Appends strSrc to the string in strDest; destMax is the capacity of the whole destination.
 * Results 0, 22, 34, 150, 162, 182; on every refusal but 22 and 34 strDest is an empty string.
 *
 * 182 comes as soon as the search for the end of strDest reaches strSrc[0], or the bytes appended
 * would overwrite it, or the bytes read from strSrc reach strDest[0]: not only where a byte already
 * written would be read, and even where the joined string would run out of capacity later. A string
 * joined to itself, an empty one too, is therefore 182. If the capacity is used up first, or at the
 * same byte, the result is 150 in the search and 162 in the copy.
 */
VANTRO_API int strcat_s(char* strDest, size_t destMax, const char* strSrc);

/*
 * Format into strDest, the terminator included in destMax. Return the number of characters without
 * the terminator, or -1 with an empty string when the output does not fit, the format is refused,
 * or an argument is bad. Output is never cut short.
 *
 * A conversion is % [flags: blank # + - 0] [width or *] [. precision or *] [size] letter, with
 *   sizes    h hh l ll L q j z t w I I32 I64; N and Z are accepted and ignored;
 *   letters  d i u o x X p c s C S e E f F g G.
 * Everything else after a percent sign is refused, n and a among it. C and S are wide without a
 * size; c and s are wide with l or w. Wide characters are converted by the current locale. A null
 * string prints "(null)".
 */
VANTRO_API int sprintf_s(char* strDest, size_t destMax, const char* format, ...);
VANTRO_API int vsprintf_s(char* strDest, size_t destMax, const char* format, va_list argList);

/* The formatting beneath vsprintf_s. Returns the number of characters; -2 when the output did not
 * fit and -1 for any other failure, each with 0 stored in the last byte of the `count` bytes; -1
 * with nothing written for a null pointer or a count of 0 or above 2^31 - 1. */
VANTRO_API int vsnprintf_helper(char* string, size_t count, const char* format, va_list argList);

/* A bounded destination of the formatting engine. */
typedef struct OutStream {
  int32_t count; /* bytes still free; below 0 once a byte did not fit */
  char* cur;     /* where the next byte goes */
} OutStream;

/* The formatting engine: writes to the stream without a terminator. Returns the number of
 * characters, or -1. */
VANTRO_API int Tarvel_output_s(OutStream* stream, const char* format, va_list argList);

/* What the engine writes with. Each adds the bytes stored to *charCount, and sets it to -1 when the
 * stream has no room left. */
VANTRO_API void write_char_a(int ch, OutStream* stream, int* charCount);
VANTRO_API void write_multi_char_a(int ch, int repeat, OutStream* stream, int* charCount);
VANTRO_API void write_string_a(const char* string, int length, OutStream* stream, int* charCount);

/* Stores `zeroCount` zero bytes. Returns 1 when all of them fitted, else 0. */
VANTRO_API int putWcharStrEndingZero(OutStream* stream, int zeroCount);

/* Copies `count` bytes between ranges that may overlap. Returns dst. */
VANTRO_API void* util_memmove(void* dst, const void* src, size_t count);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* VANTRO_BOUNDED_H_ */

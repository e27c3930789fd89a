// Writing to a bounded stream. A byte that finds no room leaves the stream's count below 0 and
// turns the character count to -1; the bytes before it are stored.
#ifndef VANTRO_BOUNDED_OUT_STREAM_H_
#define VANTRO_BOUNDED_OUT_STREAM_H_

#include <cstddef>

#include "vantro/bounded.h"

namespace vantro {

// Takes room for `wanted` bytes and returns how many there is room for. The caller stores them
// at `stream.cur` and advances it.
size_t TakeRoom(OutStream& stream, size_t wanted, int& written);

void PutRun(OutStream& stream, const char* run, size_t length, int& written);
void PutRepeated(OutStream& stream, char ch, size_t repeat, int& written);

}  // namespace vantro

#endif  // VANTRO_BOUNDED_OUT_STREAM_H_

#include "bounded/out_stream.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "bounded/small_moves.h"

namespace vantro {

size_t TakeRoom(OutStream& stream, size_t wanted, int& written) {
  const auto free = static_cast<size_t>(std::max<int32_t>(stream.count, 0));
  if (wanted <= free) [[likely]] {
    stream.count -= static_cast<int32_t>(wanted);
    written = static_cast<int>(static_cast<unsigned>(written) + static_cast<unsigned>(wanted));
    return wanted;
  }
  // One more than the last free byte was asked for.
  stream.count = std::min<int32_t>(stream.count, 0);
  if (stream.count > INT32_MIN) --stream.count;
  written = -1;
  return free;
}

void PutRun(OutStream& stream, const char* run, size_t length, int& written) {
  const size_t count = TakeRoom(stream, length, written);
  if (count == 0) return;
  if (count <= 32) {
    CopyUpTo32(reinterpret_cast<unsigned char*>(stream.cur),
               reinterpret_cast<const unsigned char*>(run), count);
  } else {
    std::memcpy(stream.cur, run, count);
  }
  stream.cur += count;
}

void PutRepeated(OutStream& stream, char ch, size_t repeat, int& written) {
  const size_t count = TakeRoom(stream, repeat, written);
  if (count == 0) return;
  std::memset(stream.cur, ch, count);
  stream.cur += count;
}

}  // namespace vantro

void write_char_a(int ch, OutStream* stream, int* charCount) {
  write_multi_char_a(ch, 1, stream, charCount);
}

void write_multi_char_a(int ch, int repeat, OutStream* stream, int* charCount) {
  if (stream == nullptr || charCount == nullptr || repeat < 1) return;
  vantro::PutRepeated(*stream, static_cast<char>(ch), static_cast<size_t>(repeat), *charCount);
}

void write_string_a(const char* string, int length, OutStream* stream, int* charCount) {
  if (string == nullptr || stream == nullptr || charCount == nullptr || length < 1) return;
  vantro::PutRun(*stream, string, static_cast<size_t>(length), *charCount);
}

int putWcharStrEndingZero(OutStream* stream, int zeroCount) {
  if (stream == nullptr) return 0;
  int written = 0;
  write_multi_char_a('\0', zeroCount, stream, &written);
  return written >= 0 ? 1 : 0;
}

#include "bounded/limits.h"
#include "bounded/small_moves.h"
#include "vantro/bounded.h"

namespace vantro {
namespace {

constexpr size_t kStep = 32;

// A step reads all its bytes before it writes one, so that steps in the right direction never read
// what was written, however close the ranges are.
inline void MoveStep(unsigned char* dst, const unsigned char* src) {
  Bytes<kStep> bytes;
  std::memcpy(&bytes, src, kStep);
  std::memcpy(dst, &bytes, kStep);
}

void MoveForwards(unsigned char* dst, const unsigned char* src, size_t count) {
  for (; count >= kStep; count -= kStep, dst += kStep, src += kStep) MoveStep(dst, src);
  for (size_t i = 0; i < count; ++i) dst[i] = src[i];
}

void MoveBackwards(unsigned char* dst, const unsigned char* src, size_t count) {
  for (; count >= kStep; count -= kStep) MoveStep(dst + count - kStep, src + count - kStep);
  while (count-- > 0) dst[count] = src[count];
}

}  // namespace
}  // namespace vantro

void* util_memmove(void* dst, const void* src, size_t count) {
  auto* to = static_cast<unsigned char*>(dst);
  const auto* from = static_cast<const unsigned char*>(src);
  // In unsigned arithmetic a dst below src counts as far above it.
  if (reinterpret_cast<uintptr_t>(to) - reinterpret_cast<uintptr_t>(from) < count) {
    vantro::MoveBackwards(to, from, count);
  } else {
    vantro::MoveForwards(to, from, count);
  }
  return dst;
}

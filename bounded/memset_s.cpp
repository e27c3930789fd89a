#include <cstring>

#include "bounded/limits.h"
#include "bounded/small_moves.h"
#include "vantro/bounded.h"

namespace vantro {
namespace {

void FillBlock(void* dest, int value, size_t count) { std::memset(dest, value, count); }

inline void FillSmallInline(void* dest, int value, size_t count) {
  if (count <= 32) {
    FillUpTo32(static_cast<unsigned char*>(dest), static_cast<unsigned char>(value), count);
  } else {
    std::memset(dest, value, count);
  }
}

// What every variant does once the fast path has declined.
__attribute__((noinline, cold)) int RefuseFill(void* dest, size_t dest_max, int value) {
  if (!IsCapacity(dest_max)) return VANTRO_BOUNDED_RANGE;
  if (dest == nullptr) return VANTRO_BOUNDED_INVALID;
  std::memset(dest, value, dest_max);
  return VANTRO_BOUNDED_RANGE_RESET;
}

template <size_t kLargest, typename Fill>
inline int FillBounded(void* dest, size_t dest_max, int value, size_t count, Fill fill) {
  if (count <= dest_max && dest_max <= kLargest && dest != nullptr) [[likely]] {
    fill(dest, value, count);
    return VANTRO_BOUNDED_OK;
  }
  return RefuseFill(dest, dest_max, value);
}

}  // namespace
}  // namespace vantro

int memset_s(void* dest, size_t destMax, int c, size_t count) {
  return vantro::FillBounded<vantro::kMaxCapacity>(dest, destMax, c, count, vantro::FillBlock);
}

int memset_sOptAsm(void* dest, size_t destMax, int c, size_t count) {
  return vantro::FillBounded<vantro::kMaxCapacity>(dest, destMax, c, count,
                                                   vantro::FillSmallInline);
}

int memset_sOptTc(void* dest, size_t destMax, int c, size_t count) {
  return vantro::FillBounded<SIZE_MAX>(dest, destMax, c, count, vantro::FillBlock);
}

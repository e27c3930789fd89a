#include <cstring>

#include "bounded/limits.h"
#include "bounded/small_moves.h"
#include "vantro/bounded.h"

namespace vantro {
namespace {

// Copies `count` bytes between ranges that are known to be apart; count is at least 1.
void CopyBlock(void* dest, const void* src, size_t count) { std::memcpy(dest, src, count); }

inline void CopySmallInline(void* dest, const void* src, size_t count) {
  if (count <= 64) {
    CopyUpTo64(static_cast<unsigned char*>(dest), static_cast<const unsigned char*>(src), count);
  } else {
    std::memcpy(dest, src, count);
  }
}

// What every variant does once the fast path has declined.
__attribute__((noinline, cold)) int RefuseCopy(void* dest, size_t dest_max, const void* src,
                                               size_t count) {
  if (!IsCapacity(dest_max)) return VANTRO_BOUNDED_RANGE;
  if (dest == nullptr) return VANTRO_BOUNDED_INVALID;
  int result = VANTRO_BOUNDED_OVERLAP_RESET;
  if (src == nullptr) {
    result = VANTRO_BOUNDED_INVALID_RESET;
  } else if (count > dest_max) {
    result = VANTRO_BOUNDED_RANGE_RESET;
  } else if (count == 0 || dest == src) {
    return VANTRO_BOUNDED_OK;
  }
  std::memset(dest, 0, dest_max);
  return result;
}

template <size_t kLargest, typename Copy>
inline int CopyBounded(void* dest, size_t dest_max, const void* src, size_t count, Copy copy) {
  // "count - 1 < dest_max" is "count != 0 && count <= dest_max".
  if (count - 1 < dest_max && dest_max <= kLargest && dest != nullptr && src != nullptr &&
      Distance(dest, src) >= count) [[likely]] {
    copy(dest, src, count);
    return VANTRO_BOUNDED_OK;
  }
  return RefuseCopy(dest, dest_max, src, count);
}

}  // namespace
}  // namespace vantro

int memcpy_s(void* dest, size_t destMax, const void* src, size_t count) {
  return vantro::CopyBounded<vantro::kMaxCapacity>(dest, destMax, src, count, vantro::CopyBlock);
}

int memcpy_sOptAsm(void* dest, size_t destMax, const void* src, size_t count) {
  return vantro::CopyBounded<vantro::kMaxCapacity>(dest, destMax, src, count,
                                                   vantro::CopySmallInline);
}

int memcpy_sOptTc(void* dest, size_t destMax, const void* src, size_t count) {
  return vantro::CopyBounded<SIZE_MAX>(dest, destMax, src, count, vantro::CopyBlock);
}

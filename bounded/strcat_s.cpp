#include <algorithm>
#include <cstring>

#include "bounded/limits.h"
#include "vantro/bounded.h"

namespace vantro {
namespace {

int ResetString(char* dest, int result) {
  dest[0] = '\0';
  return result;
}

}  // namespace
}  // namespace vantro

int strcat_s(char* strDest, size_t destMax, const char* strSrc) {
  using vantro::ResetString;
  if (!vantro::IsCapacity(destMax)) return VANTRO_BOUNDED_RANGE;
  if (strDest == nullptr) return VANTRO_BOUNDED_INVALID;
  if (strSrc == nullptr) return ResetString(strDest, VANTRO_BOUNDED_INVALID_RESET);

  // The search for the terminator must not reach the source.
  const size_t distance = vantro::Distance(strDest, strSrc);
  const bool below = reinterpret_cast<uintptr_t>(strDest) < reinterpret_cast<uintptr_t>(strSrc);
  const size_t searched = below ? std::min(distance, destMax) : destMax;
  const size_t length = strnlen(strDest, searched);
  if (length == searched) {
    return ResetString(
        strDest, searched < destMax ? VANTRO_BOUNDED_OVERLAP_RESET : VANTRO_BOUNDED_INVALID_RESET);
  }

  // How many bytes fit, and how many can be moved before the write run meets the source or the
  // source run meets the destination.
  const size_t room = destMax - length;
  const size_t apart = below ? distance - length : distance;
  const size_t movable = std::min(room, apart);
  const size_t appended = strnlen(strSrc, movable);
  if (appended < movable) {
    std::memcpy(strDest + length, strSrc, appended + 1);
    return VANTRO_BOUNDED_OK;
  }
  std::memcpy(strDest + length, strSrc, appended);
  return ResetString(strDest,
                     apart < room ? VANTRO_BOUNDED_OVERLAP_RESET : VANTRO_BOUNDED_RANGE_RESET);
}

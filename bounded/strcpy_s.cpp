#include <cstring>

#include "bounded/limits.h"
#include "bounded/small_moves.h"
#include "vantro/bounded.h"

namespace vantro {
namespace {

inline void CopyString(char* dest, const char* src, size_t count) {
  if (count <= 32) {
    CopyUpTo32(reinterpret_cast<unsigned char*>(dest), reinterpret_cast<const unsigned char*>(src),
               count);
  } else {
    std::memcpy(dest, src, count);
  }
}

}  // namespace
}  // namespace vantro

int strcpy_s(char* strDest, size_t destMax, const char* strSrc) {
  if (strDest == strSrc || strDest == nullptr || strSrc == nullptr || !vantro::IsCapacity(destMax))
      [[unlikely]] {
    return strcpy_error(strDest, destMax, strSrc);
  }
  const size_t count = strnlen(strSrc, destMax) + 1;
  if (count > destMax) return strcpy_error(strDest, destMax, strSrc);
  if (vantro::Distance(strDest, strSrc) < count) {
    strDest[0] = '\0';
    return VANTRO_BOUNDED_OVERLAP_RESET;
  }
  vantro::CopyString(strDest, strSrc, count);
  return VANTRO_BOUNDED_OK;
}

int strcpy_error(char* strDest, size_t destMax, const char* strSrc) {
  if (!vantro::IsCapacity(destMax)) return VANTRO_BOUNDED_RANGE;
  if (strDest == nullptr) return VANTRO_BOUNDED_INVALID;
  if (strSrc == nullptr) {
    strDest[0] = '\0';
    return VANTRO_BOUNDED_INVALID_RESET;
  }
  if (strnlen(strSrc, destMax) < destMax) return VANTRO_BOUNDED_OK;
  strDest[0] = '\0';
  return VANTRO_BOUNDED_RANGE_RESET;
}

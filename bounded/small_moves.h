// Copies and fills of a few bytes without a call: two moves of a fixed width, which overlap when
// the length is not a multiple of it.
#ifndef VANTRO_BOUNDED_SMALL_MOVES_H_
#define VANTRO_BOUNDED_SMALL_MOVES_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vantro {

template <size_t kWidth>
struct Bytes {
  unsigned char byte[kWidth];
};

// Copies `count` bytes, kWidth <= count <= 2 * kWidth. Both ends are read before either is written.
template <size_t kWidth>
inline void CopyBothEnds(unsigned char* dest, const unsigned char* src, size_t count) {
  Bytes<kWidth> head;
  Bytes<kWidth> tail;
  std::memcpy(&head, src, kWidth);
  std::memcpy(&tail, src + count - kWidth, kWidth);
  std::memcpy(dest, &head, kWidth);
  std::memcpy(dest + count - kWidth, &tail, kWidth);
}

// Copies 1 to 32 bytes.
inline void CopyUpTo32(unsigned char* dest, const unsigned char* src, size_t count) {
  if (count >= 16) {
    CopyBothEnds<16>(dest, src, count);
  } else if (count >= 8) {
    CopyBothEnds<8>(dest, src, count);
  } else if (count >= 4) {
    CopyBothEnds<4>(dest, src, count);
  } else if (count >= 2) {
    CopyBothEnds<2>(dest, src, count);
  } else {
    *dest = *src;
  }
}

// Copies 1 to 64 bytes between ranges that are apart.
inline void CopyUpTo64(unsigned char* dest, const unsigned char* src, size_t count) {
  if (count > 32) {
    CopyBothEnds<16>(dest, src, 32);
    CopyBothEnds<16>(dest + count - 32, src + count - 32, 32);
  } else {
    CopyUpTo32(dest, src, count);
  }
}

// Stores the low kWidth bytes of a repeated byte at both ends.
template <size_t kWidth>
inline void FillBothEnds(unsigned char* dest, uint64_t bytes, size_t count) {
  std::memcpy(dest, &bytes, kWidth);
  std::memcpy(dest + count - kWidth, &bytes, kWidth);
}

// Fills 0 to 32 bytes.
inline void FillUpTo32(unsigned char* dest, unsigned char value, size_t count) {
  const uint64_t bytes = value * uint64_t{0x0101010101010101};
  if (count > 16) {
    FillBothEnds<8>(dest, bytes, count);
    FillBothEnds<8>(dest + 8, bytes, count - 16);
  } else if (count >= 8) {
    FillBothEnds<8>(dest, bytes, count);
  } else if (count >= 4) {
    FillBothEnds<4>(dest, bytes, count);
  } else if (count >= 2) {
    FillBothEnds<2>(dest, bytes, count);
  } else if (count == 1) {
    *dest = value;
  }
}

}  // namespace vantro

#endif  // VANTRO_BOUNDED_SMALL_MOVES_H_

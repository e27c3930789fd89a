// Limits and small moves that the bounded functions share.
#ifndef VANTRO_BOUNDED_LIMITS_H_
#define VANTRO_BOUNDED_LIMITS_H_

#include <cstddef>
#include <cstdint>

namespace vantro {

// The largest capacity of a destination.
inline constexpr size_t kMaxCapacity = 0x7FFFFFFF;

// True for a capacity that the failure paths accept: 1 to the largest.
inline bool IsCapacity(size_t capacity) { return capacity - 1 < kMaxCapacity; }

// Bytes between the starts of two ranges. Two ranges of `count` bytes are apart when this is at
// least `count`.
inline size_t Distance(const void* a, const void* b) {
  const auto low = reinterpret_cast<uintptr_t>(a);
  const auto high = reinterpret_cast<uintptr_t>(b);
  return low < high ? high - low : low - high;
}

}  // namespace vantro

#endif  // VANTRO_BOUNDED_LIMITS_H_

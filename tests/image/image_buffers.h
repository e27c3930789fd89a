// Random pictures in guarded memory, and resizers on them at every vector level.
#ifndef VANTRO_TESTS_IMAGE_IMAGE_BUFFERS_H_
#define VANTRO_TESTS_IMAGE_IMAGE_BUFFERS_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <random>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "tests/support/simd_levels.h"

namespace vantro::test {

using Bytes = std::vector<uint8_t>;
using Floats = std::vector<float>;

inline size_t Area(int64_t width, int64_t height) { return static_cast<size_t>(width * height); }
// Where element (x, y) of a plane stands.
inline size_t Index(int64_t x, int64_t y, int64_t pitch) {
  return static_cast<size_t>(y * pitch + x);
}

class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  // Between `low` and `high`, both included.
  int Int(int low, int high) { return std::uniform_int_distribution<int>(low, high)(engine_); }
  uint8_t Byte() { return static_cast<uint8_t>(engine_()); }
  Bytes Noise(size_t size) {
    Bytes bytes(size);
    for (uint8_t& byte : bytes) byte = Byte();
    return bytes;
  }
  std::vector<float> Floats(size_t size, float low, float high) {
    std::vector<float> values(size);
    std::uniform_real_distribution<float> distribution(low, high);
    for (float& value : values) value = distribution(engine_);
    return values;
  }

 private:
  std::mt19937 engine_;
};

// A copy of `values` that no read or write may pass in either direction.
template <typename T>
class Guarded {
 public:
  explicit Guarded(const std::vector<T>& values)
      : count_(values.size()), buffer_(std::max<size_t>(values.size() * sizeof(T), 1)) {
    if (count_ != 0) std::memcpy(buffer_.data(), values.data(), count_ * sizeof(T));
  }
  ~Guarded() { EXPECT_TRUE(buffer_.front_intact()) << "written before the buffer"; }

  T* get() { return reinterpret_cast<T*>(buffer_.data()); }
  std::vector<T> values() const {
    const T* const first = reinterpret_cast<const T*>(buffer_.data());
    return std::vector<T>(first, first + count_);
  }

 private:
  size_t count_;
  GuardedBuffer buffer_;
};

// The elements sample(x, y), row by row.
template <typename T = uint8_t, typename Sample>
std::vector<T> PlaneOf(int width, int height, Sample sample) {
  std::vector<T> plane;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) plane.push_back(static_cast<T>(sample(x, y)));
  }
  return plane;
}

// Where two planes of `pitch` elements a row first differ.
template <typename T>
testing::AssertionResult SamePlanes(const std::vector<T>& actual, const std::vector<T>& expected,
                                    int pitch) {
  if (actual.size() != expected.size()) {
    return testing::AssertionFailure() << actual.size() << " elements, not " << expected.size();
  }
  for (size_t i = 0; i < actual.size(); ++i) {
    if (std::memcmp(&actual[i], &expected[i], sizeof(T)) == 0) continue;
    return testing::AssertionFailure()
           << "row " << i / static_cast<size_t>(pitch) << ", element "
           << i % static_cast<size_t>(pitch) << ": " << +actual[i] << ", not " << +expected[i];
  }
  return testing::AssertionSuccess();
}

// Calls run(src, dst) at every vector level, on a destination of `before`.
template <typename T, typename Run>
void ExpectPlane(const std::vector<T>& src, const std::vector<T>& before,
                 const std::vector<T>& expected, int pitch, const Run& run) {
  AtEverySimdLevel([&] {
    Guarded<T> from(src);
    Guarded<T> to(before);
    run(from.get(), to.get());
    EXPECT_TRUE(SamePlanes(to.values(), expected, pitch));
  });
}

}  // namespace vantro::test

#endif  // VANTRO_TESTS_IMAGE_IMAGE_BUFFERS_H_

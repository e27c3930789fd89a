// Numbers out of a fuzzer's input, and pictures of exactly the size that a call describes.
#ifndef VANTRO_FUZZ_FUZZ_SOURCE_H_
#define VANTRO_FUZZ_FUZZ_SOURCE_H_

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace vantro::fuzz {

// Thrown where a call describes more memory than a fuzzer should fill: the input is of no use.
struct TooLarge {};

// Gives zeros when the input is used up.
class FuzzSource {
 public:
  FuzzSource(const uint8_t* data, size_t size) : data_(data), left_(size) {}

  bool empty() const { return left_ == 0; }

  template <typename T>
  T Take() {
    T value{};
    const size_t bytes = left_ < sizeof(T) ? left_ : sizeof(T);
    if (bytes != 0) std::memcpy(&value, data_, bytes);
    data_ += bytes;
    left_ -= bytes;
    return value;
  }

  // Both included.
  int Int(int low, int high) {
    const uint32_t span = static_cast<uint32_t>(high) - static_cast<uint32_t>(low) + 1;
    const uint32_t drawn = span != 0 && span <= 256 ? Take<uint8_t>() : Take<uint32_t>();
    return static_cast<int>(static_cast<uint32_t>(low) + (span == 0 ? drawn : drawn % span));
  }
  bool OneIn(int n) { return Int(1, n) == 1; }

  int Any() { return Take<int32_t>(); }
  // A size that a picture may have and now and then anything.
  int Size() { return OneIn(16) ? Any() : OneIn(8) ? Int(-2, 300) : Int(0, 70); }
  // From one row of `row` to the next.
  int Pitch(int row) {
    return OneIn(16) ? Any() : OneIn(2) || row < -1000 || row > 1000 ? row : row + Int(-2, 40);
  }

  std::string Rest() {
    std::string rest(reinterpret_cast<const char*>(data_), left_);
    left_ = 0;
    return rest;
  }

  // Pictures live as long as the source. The address sanitizer watches both ends of each; bytes
  // start at an odd address.
  uint8_t* Bytes(int64_t count) {
    Check(count, 1);
    blocks_.emplace_back(new uint8_t[static_cast<size_t>(count) + 1]);
    Fill(blocks_.back().get(), static_cast<size_t>(count) + 1);
    return blocks_.back().get() + 1;
  }
  // Ordinary values or any bits at all.
  float* Floats(int64_t count) {
    Check(count, sizeof(float));
    float_blocks_.emplace_back(new float[static_cast<size_t>(count)]);
    float* values = float_blocks_.back().get();
    if (OneIn(4)) {
      Fill(reinterpret_cast<uint8_t*>(values), static_cast<size_t>(count) * sizeof(float));
    } else {
      uint32_t state = Take<uint8_t>();
      for (int64_t i = 0; i < count; ++i) {
        values[i] = static_cast<float>(Next(state) >> 20) / 8.0f - 200.0f;
      }
    }
    return values;
  }

 private:
  static constexpr int64_t kLargest = int64_t{1} << 17;

  static void Check(int64_t count, size_t size) {
    if (count > kLargest / static_cast<int64_t>(size)) throw TooLarge();
  }
  static uint32_t Next(uint32_t& state) { return state = state * 1664525u + 1013904223u; }

  // One value, two extremes, or noise.
  void Fill(uint8_t* bytes, size_t count) {
    const int kind = Int(0, 3);
    uint32_t state = Take<uint8_t>();
    if (kind == 0) std::memset(bytes, static_cast<int>(state), count);
    for (size_t i = 0; kind != 0 && i < count; ++i) {
      const auto noise = static_cast<uint8_t>(Next(state) >> 24);
      bytes[i] = kind == 1 ? (noise < 128 ? 0 : 255) : noise;
    }
  }

  const uint8_t* data_;
  size_t left_;
  std::vector<std::unique_ptr<uint8_t[]>> blocks_;
  std::vector<std::unique_ptr<float[]>> float_blocks_;
};

// True for what may be multiplied by a few.
inline bool IsSmall(int size) { return size > -1000 && size < 1000; }

// Bytes of `rows` rows of `row` bytes, `pitch` apart, or a number far too large; 0 where that is no
// picture.
inline int64_t Plane(int64_t row, int64_t rows, int64_t pitch) {
  constexpr int64_t kTooLarge = int64_t{1} << 40;
  if (row < 1 || rows < 1 || pitch < row) return 0;
  if (rows > 1 && pitch > kTooLarge / rows) return kTooLarge;
  return pitch * (rows - 1) + row;
}

inline int64_t SemiPlanar(int64_t width, int64_t height, int64_t stride) {
  const int64_t chroma = Plane(width / 2 * 2, height / 2, stride);
  if (chroma == 0) return Plane(width, height, stride);
  return Plane(width, height, stride) == 0 ? 0 : stride * height + chroma;
}

inline int64_t Packed(int64_t width, int64_t height, int64_t stride) {
  return Plane(2 * width, height, 2 * stride);
}

}  // namespace vantro::fuzz

#endif  // VANTRO_FUZZ_FUZZ_SOURCE_H_

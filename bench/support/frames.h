// Test pictures that are made once for all benchmarks of a program.
#ifndef VANTRO_BENCH_SUPPORT_FRAMES_H_
#define VANTRO_BENCH_SUPPORT_FRAMES_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "vantro/vantro.h"

namespace vantro::bench {

// `size` bytes of noise, valid until the next call with a larger size.
inline std::span<const uint8_t> Noise(size_t size) {
  static std::vector<uint8_t> noise;
  static uint32_t state = 1;
  noise.reserve(size);
  while (noise.size() < size) {
    state = state * 1664525u + 1013904223u;
    noise.push_back(static_cast<uint8_t>(state >> 24));
  }
  return std::span(noise).first(size);
}

inline std::vector<uint8_t> NoiseBuffer(size_t size) {
  const std::span<const uint8_t> noise = Noise(size);
  return {noise.begin(), noise.end()};
}

// A frame without gaps between its rows.
struct FrameShape {
  int width;
  int height;
  uint8_t format;

  constexpr size_t pixels() const {
    return static_cast<size_t>(width) * static_cast<size_t>(height);
  }
  constexpr size_t bytes() const {
    return format == VANTRO_FORMAT_UYVY ? 2 * pixels() : pixels() * 3 / 2;
  }
  std::string size() const { return std::to_string(width) + "x" + std::to_string(height); }
  std::string name() const {
    const char* layout = format == VANTRO_FORMAT_NV21   ? " NV21"
                         : format == VANTRO_FORMAT_NV12 ? " NV12"
                                                        : " UYVY";
    return size() + layout;
  }
};

// VGA, 1080p, 4K and 8K in the three formats.
inline std::vector<FrameShape> FrameShapes() {
  std::vector<FrameShape> shapes;
  for (const uint8_t format : {VANTRO_FORMAT_NV21, VANTRO_FORMAT_NV12, VANTRO_FORMAT_UYVY}) {
    shapes.push_back({640, 480, format});
    shapes.push_back({1920, 1080, format});
    shapes.push_back({3840, 2160, format});
    shapes.push_back({7680, 4320, format});
  }
  return shapes;
}

}  // namespace vantro::bench

#endif  // VANTRO_BENCH_SUPPORT_FRAMES_H_

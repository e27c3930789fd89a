// Test pictures and the memcpy yardstick of the image benchmarks.
#ifndef VANTRO_BENCH_IMAGE_FRAMES_H_
#define VANTRO_BENCH_IMAGE_FRAMES_H_

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace vantro::bench {

inline std::vector<uint8_t> Noise(size_t size) {
  std::mt19937 random(7);
  std::vector<uint8_t> bytes(size);
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
  return bytes;
}

// Copies half as many bytes as an operation reads and writes together, so that both touch the same
// number.
inline void CopyBytes(benchmark::State& state, size_t read_and_written) {
  const std::vector<uint8_t> src = Noise(read_and_written / 2);
  std::vector<uint8_t> dst(src.size());
  for (auto _ : state) {
    std::memcpy(dst.data(), src.data(), src.size());
    benchmark::ClobberMemory();
  }
}

}  // namespace vantro::bench

#endif  // VANTRO_BENCH_IMAGE_FRAMES_H_

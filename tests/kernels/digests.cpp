// kernel_digests FILE: writes a checksum of what every operation computed on seeded random input,
// one operation a line. Two machines, or two vector levels, must give the same file.
// kernel_digests --level: prints the vector level that is active.
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "support/simd_level.h"
#include "tests/kernels/operations.h"

namespace {

constexpr uint32_t kCases = 200;

// FNV-1a, 64 bits.
uint64_t Add(uint64_t hash, const std::vector<uint8_t>& bytes) {
  for (const uint8_t byte : bytes) hash = (hash ^ byte) * 0x100000001B3u;
  return hash;
}

uint64_t Digest(const vantro::test::Operation& operation) {
  uint64_t hash = 0xCBF29CE484222325u;
  for (uint32_t seed = 0; seed < kCases; ++seed) {
    vantro::test::Case c(seed);
    operation.call(c);
    for (const auto& buffer : c.Outcome()) hash = Add(hash, buffer);
  }
  return hash;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  if (std::strcmp(argv[1], "--level") == 0) {
    std::puts(vantro::SimdLevelName(vantro::ActiveSimdLevel()));
    return 0;
  }
  std::FILE* file = std::fopen(argv[1], "w");
  if (file == nullptr) return 1;
  for (const vantro::test::Operation& operation : vantro::test::AllOperations()) {
    std::fprintf(file, "%s %016" PRIx64 "\n", operation.name, Digest(operation));
  }
  return std::fclose(file) == 0 ? 0 : 1;
}

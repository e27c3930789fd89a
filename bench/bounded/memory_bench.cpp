// Bounded copies and fills beside memcpy and memset of the same bytes. Under 256 bytes an iteration
// is a call; the lengths are hidden from the compiler, so that the C functions are called and not
// expanded.
#include <cstring>

#include "bench/support/operation.h"
#include "vantro/bounded.h"

namespace vantro::bench {
namespace {

using CopyFunction = int (*)(void*, size_t, const void*, size_t);
using FillFunction = int (*)(void*, size_t, int, size_t);

std::string Bytes(size_t count) { return std::to_string(count) + " bytes"; }

auto Copying(size_t count, CopyFunction copy) {
  return [=] {
    return [=, src = NoiseBuffer(count), dst = std::vector<uint8_t>(count)]() mutable {
      size_t length = count;
      benchmark::DoNotOptimize(length);
      benchmark::DoNotOptimize(copy(dst.data(), count, src.data(), length));
    };
  };
}

auto Filling(size_t count, FillFunction fill) {
  return [=] {
    return [=, dst = std::vector<uint8_t>(count)]() mutable {
      size_t length = count;
      benchmark::DoNotOptimize(length);
      benchmark::DoNotOptimize(fill(dst.data(), count, 0, length));
    };
  };
}

void AddMemoryFunctions(size_t count) {
  const std::string shape = Bytes(count);
  const CopyFunction plain_copy = [](void* dst, size_t, const void* src, size_t length) {
    std::memcpy(dst, src, length);
    return 0;
  };
  const FillFunction plain_fill = [](void* dst, size_t, int value, size_t length) {
    std::memset(dst, value, length);
    return 0;
  };
  for (const auto& [name, copy] : {std::pair{"memcpy_s", &memcpy_s},
                                   {"memcpy_sOptAsm", &memcpy_sOptAsm},
                                   {"memcpy_sOptTc", &memcpy_sOptTc}}) {
    Add(name, shape, 0, Copying(count, copy));
    AddPeer(name, "memcpy", shape, Copying(count, plain_copy));
  }
  for (const auto& [name, fill] : {std::pair{"memset_s", &memset_s},
                                   {"memset_sOptAsm", &memset_sOptAsm},
                                   {"memset_sOptTc", &memset_sOptTc}}) {
    Add(name, shape, 0, Filling(count, fill));
    AddPeer(name, "memset", shape, Filling(count, plain_fill));
  }
}

const bool kAdded = [] {
  for (const size_t count : {size_t{8}, size_t{48}, size_t{4096}, size_t{3110400}})
    AddMemoryFunctions(count);
  const auto move = [](auto function) {
    return [=] {
      return [=, bytes = NoiseBuffer(4096)]() mutable {
        benchmark::DoNotOptimize(function(bytes.data() + 16, bytes.data(), 4000));
      };
    };
  };
  Add("util_memmove", "4000 bytes, overlapping", 0, move(&util_memmove));
  AddPeer("util_memmove", "memmove", "4000 bytes, overlapping", move(&std::memmove));
  return true;
}();

}  // namespace
}  // namespace vantro::bench

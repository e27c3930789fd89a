// Bounded copies and fills beside memcpy and memset of the same bytes. Under 256 bytes an iteration
// is a call; the lengths come from a table, as they do in the library, so that the C functions are
// called and not expanded.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "vantro/bounded.h"

namespace {

int PlainCopy(void* dest, size_t, const void* src, size_t count) {
  std::memcpy(dest, src, count);
  return 0;
}

int PlainFill(void* dest, size_t, int value, size_t count) {
  std::memset(dest, value, count);
  return 0;
}

template <auto kCopy>
void Copy(benchmark::State& state) {
  const auto count = static_cast<size_t>(state.range(0));
  std::vector<uint8_t> src(count, 1);
  std::vector<uint8_t> dest(count);
  for (auto _ : state) {
    size_t length = count;
    benchmark::DoNotOptimize(length);
    benchmark::DoNotOptimize(kCopy(dest.data(), count, src.data(), length));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

template <auto kFill>
void Fill(benchmark::State& state) {
  const auto count = static_cast<size_t>(state.range(0));
  std::vector<uint8_t> dest(count);
  for (auto _ : state) {
    size_t length = count;
    benchmark::DoNotOptimize(length);
    benchmark::DoNotOptimize(kFill(dest.data(), count, 0, length));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void Sizes(benchmark::internal::Benchmark* bench) {
  for (const int count : {1, 4, 8, 15, 16, 31, 32, 48, 64, 256, 4096, 65536, 3110400}) {
    bench->Arg(count);
  }
}

BENCHMARK(Copy<PlainCopy>)->Name("memcpy")->Apply(Sizes);
BENCHMARK(Copy<memcpy_s>)->Name("memcpy_s")->Apply(Sizes);
BENCHMARK(Copy<memcpy_sOptAsm>)->Name("memcpy_sOptAsm")->Apply(Sizes);
BENCHMARK(Copy<memcpy_sOptTc>)->Name("memcpy_sOptTc")->Apply(Sizes);
BENCHMARK(Fill<PlainFill>)->Name("memset")->Apply(Sizes);
BENCHMARK(Fill<memset_s>)->Name("memset_s")->Apply(Sizes);
BENCHMARK(Fill<memset_sOptAsm>)->Name("memset_sOptAsm")->Apply(Sizes);
BENCHMARK(Fill<memset_sOptTc>)->Name("memset_sOptTc")->Apply(Sizes);

}  // namespace

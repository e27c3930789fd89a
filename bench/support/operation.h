// How the benchmarks of this project are registered: OPERATION/WHO/CASE, which is how the table of
// scripts/bench finds what belongs side by side. WHO is "vantro", or the library that does the same
// job.
#ifndef VANTRO_BENCH_SUPPORT_OPERATION_H_
#define VANTRO_BENCH_SUPPORT_OPERATION_H_

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "bench/support/frames.h"

namespace vantro::bench {

using Benchmark = benchmark::internal::Benchmark;

// Registers `body`, a function of benchmark::State.
template <typename Body>
Benchmark* Register(const std::string& operation, const std::string& who, const std::string& shape,
                    Body body) {
  return benchmark::RegisterBenchmark((operation + "/" + who + "/" + shape).c_str(),
                                      std::move(body))
      ->Unit(benchmark::kMicrosecond);
}

// `prepare` makes the buffers and returns the function to measure.
template <typename Prepare>
Benchmark* AddPeer(const std::string& operation, const std::string& who, const std::string& shape,
                   Prepare prepare) {
  return Register(operation, who, shape, [prepare](benchmark::State& state) {
    auto run = prepare();
    for (auto _ : state) {
      run();
      benchmark::ClobberMemory();
    }
  });
}

// memcpy of half as many bytes as an operation reads and writes together, so that both touch the
// same number. Added once for each number.
inline void AddCopy(size_t touched) {
  static std::set<size_t> added;
  if (touched < 2 || !added.insert(touched).second) return;
  AddPeer("memcpy", "C library", std::to_string(touched), [touched] {
    return [from = NoiseBuffer(touched / 2), to = std::vector<uint8_t>(touched / 2)]() mutable {
      std::memcpy(to.data(), from.data(), from.size());
    };
  });
}

// An operation of this library that reads and writes `touched` bytes, with memcpy beside it; 0: too
// few to speak of.
template <typename Prepare>
Benchmark* Add(const std::string& operation, const std::string& shape, size_t touched,
               Prepare prepare) {
  AddCopy(touched);
  return Register(operation, "vantro", shape, [touched, prepare](benchmark::State& state) {
    auto run = prepare();
    for (auto _ : state) {
      run();
      benchmark::ClobberMemory();
    }
    state.counters["touched"] = static_cast<double>(touched);
  });
}

}  // namespace vantro::bench

#endif  // VANTRO_BENCH_SUPPORT_OPERATION_H_

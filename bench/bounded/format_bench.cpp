// Formatting beside the C library's snprintf, on the kinds of line the library writes.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>

#include "vantro/bounded.h"

namespace {

// One call as both libraries take it.
#define VANTRO_FORMAT_PAIR(name, ...)                                           \
  void Bounded##name(benchmark::State& state) {                                 \
    char text[256];                                                             \
    for (auto _ : state) {                                                      \
      benchmark::DoNotOptimize(sprintf_s(text, sizeof(text), __VA_ARGS__));     \
      benchmark::ClobberMemory();                                               \
    }                                                                           \
  }                                                                             \
  BENCHMARK(Bounded##name)->Name("sprintf_s/" #name);                           \
  void Library##name(benchmark::State& state) {                                 \
    char text[256];                                                             \
    for (auto _ : state) {                                                      \
      benchmark::DoNotOptimize(std::snprintf(text, sizeof(text), __VA_ARGS__)); \
      benchmark::ClobberMemory();                                               \
    }                                                                           \
  }                                                                             \
  BENCHMARK(Library##name)->Name("snprintf/" #name)

volatile int frame = 1234;
volatile int width = 1920;
volatile int height = 1080;
volatile double milliseconds = 12.345;
const char* volatile stage = "VantroObject";

VANTRO_FORMAT_PAIR(LogLine, "frame %d: %dx%d in %s", frame, width, height, stage);
VANTRO_FORMAT_PAIR(FileName, "%s%04d_%dx%d.bmp", stage, frame, width, height);
VANTRO_FORMAT_PAIR(Padded, "%-40.40s|%10d|%#010x", stage, width, frame);
VANTRO_FORMAT_PAIR(Timing, "[ %s ] cost: %10.3lf ms", stage, milliseconds);

void StringCopy(benchmark::State& state) {
  char text[64];
  for (auto _ : state) {
    benchmark::DoNotOptimize(strcpy_s(text, sizeof(text), stage));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(StringCopy)->Name("strcpy_s");

void LibraryStringCopy(benchmark::State& state) {
  char text[64];
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::strcpy(text, stage));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(LibraryStringCopy)->Name("strcpy");

}  // namespace

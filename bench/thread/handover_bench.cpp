// What handing an empty task to a pool thread and collecting it costs, beside the least that two
// threads can do: post a semaphore each to the other.
#include <benchmark/benchmark.h>
#include <semaphore.h>

#include <cstdint>
#include <thread>

#include "vantro/thread.h"

namespace {

constexpr MThreadAttr kUnpinned = {-1, 0, nullptr};

void SemaphorePingPong(benchmark::State& state) {
  sem_t ping;
  sem_t pong;
  bool leave = false;
  sem_init(&ping, 0, 0);
  sem_init(&pong, 0, 0);
  std::thread partner([&] {
    for (;;) {
      sem_wait(&ping);
      if (leave) return;
      sem_post(&pong);
    }
  });
  for (auto _ : state) {
    sem_post(&ping);
    sem_wait(&pong);
  }
  leave = true;
  sem_post(&ping);
  partner.join();
  sem_destroy(&ping);
  sem_destroy(&pong);
}
BENCHMARK(SemaphorePingPong)->UseRealTime();

void BootAndClean(benchmark::State& state) {
  MThreadPool* pool = MThread_Create(1, &kUnpinned, nullptr);
  const auto nothing = [](void*, int32_t) -> int32_t { return 0; };
  for (auto _ : state) {
    MThread_Boot(pool, 0, nothing, nullptr);
    MThread_Clean(pool, 0);
  }
  MThread_Destroy(pool);
}
BENCHMARK(BootAndClean)->UseRealTime();

}  // namespace

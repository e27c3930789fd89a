// What handing an empty task to a pool's threads and collecting it costs, beside the least that two
// threads can do: post a semaphore each to the other. Times are those of both threads together.
#include <sched.h>
#include <semaphore.h>

#include <memory>
#include <thread>

#include "bench/support/operation.h"
#include "vantro/thread.h"

namespace vantro::bench {
namespace {

constexpr MThreadAttr kUnpinned = {-1, 0, nullptr};

class PingPong {
 public:
  PingPong() {
    sem_init(&ping_, 0, 0);
    sem_init(&pong_, 0, 0);
    partner_ = std::thread([this] {
      for (;;) {
        sem_wait(&ping_);
        if (leave_) return;
        sem_post(&pong_);
      }
    });
  }
  ~PingPong() {
    leave_ = true;
    sem_post(&ping_);
    partner_.join();
    sem_destroy(&ping_);
    sem_destroy(&pong_);
  }
  PingPong(const PingPong&) = delete;
  PingPong& operator=(const PingPong&) = delete;

  void Run() {
    sem_post(&ping_);
    sem_wait(&pong_);
  }

 private:
  sem_t ping_;
  sem_t pong_;
  bool leave_ = false;
  std::thread partner_;
};

struct PoolDeleter {
  void operator()(MThreadPool* pool) const { MThread_Destroy(pool); }
};

int32_t Nothing(void*, int32_t) { return 0; }

// `run` takes a pool of `threads` threads.
template <typename Run>
void AddOnPool(const std::string& operation, const std::string& shape, int threads, Run run) {
  Add(operation, shape, 0, [threads, run] {
    return [run, pool = std::unique_ptr<MThreadPool, PoolDeleter>(
                     MThread_Create(threads, &kUnpinned, nullptr))] { run(pool.get()); };
  })->MeasureProcessCPUTime();
}

// Pins the calling thread, which afterwards has its CPUs back.
template <typename Pin>
void AddPinning(const std::string& operation, Pin pin) {
  Register(operation, "vantro", "CPUs 0 to 3", [pin](benchmark::State& state) {
    cpu_set_t before;
    sched_getaffinity(0, sizeof before, &before);
    for (auto _ : state) benchmark::DoNotOptimize(pin());
    sched_setaffinity(0, sizeof before, &before);
  });
}

const bool kAdded = [] {
  AddOnPool("MThread_Boot", "and MThread_Clean", 1, [](MThreadPool* pool) {
    MThread_Boot(pool, 0, &Nothing, nullptr);
    MThread_Clean(pool, 0);
  });
  AddPeer("MThread_Boot", "semaphore ping-pong", "and MThread_Clean", [] {
    return [pair = std::make_unique<PingPong>()] { pair->Run(); };
  })->MeasureProcessCPUTime();
  AddOnPool("MThread_Run", "and MThread_Sync, 2 threads", 2, [](MThreadPool* pool) {
    MThread_Run(pool, 0, 2, &Nothing, nullptr);
    MThread_Sync(pool, 0, 2);
  });
  AddOnPool("MThread_Finish", "2 threads", 2,
            [](MThreadPool* pool) { MThread_Finish(pool, 0, 2, &Nothing, nullptr); });
  AddOnPool("MThread_ChangeBindCoreFlag", "2 threads", 2,
            [](MThreadPool* pool) { MThread_ChangeBindCoreFlag(pool, 0); });
  Add("MThread_Create", "and MThread_Destroy, 1 thread", 0, [] {
    return [] { MThread_Destroy(MThread_Create(1, &kUnpinned, nullptr)); };
  })->MeasureProcessCPUTime();
  Add("MThread_Name", "this thread", 0, [] { return [] { MThread_Name(nullptr, "bench"); }; });
  AddPinning("MThread_Bind", [] { return MThread_Bind(2); });
  AddPinning("bindCore", [] { return bindCore(0); });
  return true;
}();

}  // namespace
}  // namespace vantro::bench

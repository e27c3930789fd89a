// The functions that visit every thread of a pool: its end, and the change of its CPU set.
#include <atomic>
#include <cstdlib>

#include "support/log.h"
#include "thread/worker.h"
#include "vantro/thread.h"

namespace vantro {
namespace {

// False, after a message, for a pool without threads.
bool CheckPool(const MThreadPool* pool) {
  if (pool == nullptr) {
    VANTRO_LOGE(kTagVideo, "NULL Pointer of Thread Pool.");
    return false;
  }
  if (pool->threads == nullptr || pool->thread_num < 1) {
    VANTRO_LOGE(kTagVideo, "NULL Pointer / Threads (%d) of Thread Pool.", pool->thread_num);
    return false;
  }
  return true;
}

}  // namespace
}  // namespace vantro

void MThread_Destroy(MThreadPool* pool) {
  if (vantro::CheckPool(pool)) {
    vantro::StopWorkers(pool->threads, pool->thread_num);
    VANTRO_LOGD(vantro::kTagVideo, "%d threads Destroyed for %p.", pool->thread_num,
                static_cast<void*>(pool));
    std::free(pool->threads);
  }
  std::free(pool);
}

void MThread_ChangeBindCoreFlag(MThreadPool* pool, uint32_t flag) {
  if (!vantro::CheckPool(pool)) return;
  for (int32_t i = 0; i < pool->thread_num; ++i) {
    MThreadUnit& unit = pool->threads[i];
    vantro::TakeToken(&unit.end_sem);
    // A thread that is still starting reads its flag without the token.
    std::atomic_ref(unit.bind_core_flag)
        .store(static_cast<int32_t>(flag), std::memory_order_relaxed);
    sem_post(&unit.end_sem);
  }
}

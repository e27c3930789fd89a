#include "thread/worker.h"

#include <errno.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>

#include "support/log.h"

namespace vantro {

void TakeToken(sem_t* semaphore) {
  while (sem_wait(semaphore) != 0 && errno == EINTR) {
  }
}

void* WorkerMain(void* record) {
  MThreadUnit& unit = *static_cast<MThreadUnit*>(record);
  const pid_t thread_id = gettid();
  // MThread_ChangeBindCoreFlag may store a new flag meanwhile.
  const int32_t flag = std::atomic_ref(unit.bind_core_flag).load(std::memory_order_relaxed);
  if (HasCpuMask(flag) && PinThread(thread_id, kCpuMasks[flag]) != 0) {
    VANTRO_LOGE(kTagVideo, "Fail to Set CPU Affinity for Thead %d!\n", unit.thread_index);
  }
  if (setpriority(PRIO_PROCESS, static_cast<id_t>(thread_id), unit.priority) != 0) {
    VANTRO_LOGE(kTagVideo, "Set Priority for Thread %d failed, priority %d!\n", unit.thread_index,
                unit.priority);
  }

  // The slot and exit_flag are read only between taking start_sem and posting end_sem.
  TakeToken(&unit.start_sem);
  while (unit.exit_flag == 0) {
    if (unit.task_func != nullptr) unit.task_func(unit.task_arg, unit.thread_index);
    sem_post(&unit.end_sem);
    TakeToken(&unit.start_sem);
  }
  return nullptr;
}

void StopWorkers(MThreadUnit* threads, int32_t number) {
  for (int32_t i = 0; i < number; ++i) {
    MThreadUnit& unit = threads[i];
    TakeToken(&unit.end_sem);
    unit.exit_flag = 1;
    sem_post(&unit.start_sem);
    pthread_join(unit.thread, nullptr);
    sem_destroy(&unit.start_sem);
    sem_destroy(&unit.end_sem);
  }
}

}  // namespace vantro

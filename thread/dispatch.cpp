// Handing tasks to the pool's threads and waiting for them.
#include <cstdint>
#include <limits>

#include "thread/worker.h"
#include "vantro/thread.h"

namespace vantro {
namespace {

bool HasThreads(const MThreadPool& pool, int32_t first, int32_t number) {
  return pool.threads != nullptr && first >= 0 && number >= 1 && number <= pool.thread_num &&
         first <= pool.thread_num - number;
}

// Takes the thread's slot, waiting for its previous task, and starts the new one.
int32_t Dispatch(MThreadUnit& unit, MThreadTask task, void* argument) {
  TakeToken(&unit.end_sem);
  unit.task_arg = argument;
  unit.task_func = task;
  return sem_post(&unit.start_sem);
}

void WaitAndClear(MThreadUnit& unit) {
  TakeToken(&unit.end_sem);
  unit.task_arg = nullptr;
  unit.task_func = nullptr;
  sem_post(&unit.end_sem);
}

void RunInCaller(int32_t first, int32_t number, MThreadTask task, void* argument) {
  if (task == nullptr || first > std::numeric_limits<int32_t>::max() - (number - 1)) return;
  for (int32_t i = 0; i < number; ++i) task(argument, first + i);
}

}  // namespace
}  // namespace vantro

int32_t MThread_Boot(MThreadPool* pool, int32_t index, MThreadTask task, void* argument) {
  if (pool == nullptr) return task != nullptr ? task(argument, index) : -1;
  if (!vantro::HasThreads(*pool, index, 1)) return -1;
  return vantro::Dispatch(pool->threads[index], task, argument);
}

void MThread_Clean(MThreadPool* pool, int32_t index) { MThread_Sync(pool, index, 1); }

void MThread_Run(MThreadPool* pool, int32_t first, int32_t number, MThreadTask task,
                 void* argument) {
  if (number < 1) return;
  if (pool == nullptr) {
    vantro::RunInCaller(first, number, task, argument);
  } else if (vantro::HasThreads(*pool, first, number)) {
    for (int32_t i = 0; i < number; ++i) {
      vantro::Dispatch(pool->threads[first + i], task, argument);
    }
  }
}

void MThread_Sync(MThreadPool* pool, int32_t first, int32_t number) {
  if (pool == nullptr || !vantro::HasThreads(*pool, first, number)) return;
  for (int32_t i = 0; i < number; ++i) vantro::WaitAndClear(pool->threads[first + i]);
}

void MThread_Finish(MThreadPool* pool, int32_t first, int32_t number, MThreadTask task,
                    void* argument) {
  MThread_Run(pool, first, number, task, argument);
  MThread_Sync(pool, first, number);
}

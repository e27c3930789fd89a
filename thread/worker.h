// What the pool's functions share: the worker thread and its two semaphores.
#ifndef VANTRO_THREAD_WORKER_H_
#define VANTRO_THREAD_WORKER_H_

#include <semaphore.h>
#include <sys/types.h>

#include <cstdint>

#include "vantro/thread.h"

namespace vantro {

// CPU sets by bind_core_flag, as the kernel takes them.
inline constexpr uint32_t kCpuMasks[] = {0xFF, 0xF0, 0x0F};

inline constexpr bool HasCpuMask(int32_t flag) { return flag >= 0 && flag <= 2; }

// Restricts a thread, by its kernel id, to the CPUs of `mask`. Returns 0 or -1.
int PinThread(pid_t thread_id, uint32_t mask);

// Waits on a semaphore, over signals.
void TakeToken(sem_t* semaphore);

// Body of a pool thread; `record` is its MThreadUnit.
void* WorkerMain(void* record);

// Stops `number` threads in order: waits for a running task, ends the thread, joins it and destroys
// its semaphores.
void StopWorkers(MThreadUnit* threads, int32_t number);

}  // namespace vantro

#endif  // VANTRO_THREAD_WORKER_H_

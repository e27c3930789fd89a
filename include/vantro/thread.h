/*
 * A small fixed pool of worker threads. Every thread has one task slot; the caller hands a task to
 * one particular thread and later waits for exactly that thread. Usable from C.
 *
 * Calling order: MThread_Create, any number of dispatches and waits, MThread_Destroy. A dispatch
 * (MThread_Boot, MThread_Run) does not wait for the task; its argument must stay valid until the
 * matching wait (MThread_Clean, MThread_Sync) has returned. A dispatch to a thread whose task is
 * still running blocks until that task has finished. Dispatches and waits of one pool come from one
 * controlling thread, which is not a thread of the pool.
 *
 * Every failure is logged under the tag "QZA_MVANTRO". An index or range that does not lie within
 * the pool's threads is refused: nothing runs and nothing is waited for.
 */
#ifndef VANTRO_THREAD_H_
#define VANTRO_THREAD_H_

#include <pthread.h>
#include <semaphore.h>
#include <stdint.h>

#include "vantro/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A task: its argument and the index of the thread that runs it. The pool never looks at the
 * result; only MThread_Boot without a pool returns it. */
typedef int32_t (*MThreadTask)(void* argument, int32_t index);

/* How a pool's threads are made; read by MThread_Create only. */
typedef struct MThreadAttr {
  int32_t bind_core_flag; /* CPU set: 0 CPUs 0 to 7, 1 CPUs 4 to 7 (the creating thread is pinned
                             too), 2 CPUs 0 to 3; any other value: threads are not pinned.
                             Threads 4 to 7 of a pool take the set 2 for the value 1, else 1. */
  int32_t high_priority;  /* non-zero: nice value -20; zero: nice value 0 */
  const char* name;       /* name of every thread, at most 15 bytes; null: not named */
} MThreadAttr;

/* One worker thread. */
typedef struct MThreadUnit {
  pthread_t thread;
  sem_t start_sem;        /* posted when a task or the exit request is ready */
  sem_t end_sem;          /* 1 while the slot is free, taken by a dispatch, posted after the task */
  int32_t exit_flag;      /* 1 tells the worker to leave */
  int32_t thread_index;   /* position in the pool, from 0 */
  void* task_arg;         /* null when the slot is clear */
  MThreadTask task_func;  /* null when the slot is clear */
  int32_t priority;       /* nice value the worker gives itself at its start */
  int32_t bind_core_flag; /* CPU set the worker pins itself to at its start */
} MThreadUnit;

typedef struct MThreadPool {
  MThreadUnit* threads; /* thread_num records in the order of creation */
  int32_t thread_num;
} MThreadPool;

/*
 * Starts `count` threads. A null `attributes` stands for {0, 0, "Nuvex_Algo"}. A pool has all its
 * threads or does not exist: on a failure the threads made so far are stopped and null is returned.
 *
 * out_count  may be null; receives `count`, or 1 on a failure; not written for a count below 1.
 */
VANTRO_API MThreadPool* MThread_Create(int32_t count, const MThreadAttr* attributes,
                                       int32_t* out_count);

/* Hands a task to thread `index`. Returns 0, or -1 for a bad index. Null pool: runs
 * task(argument, index) in the caller and returns its result. */
VANTRO_API int32_t MThread_Boot(MThreadPool* pool, int32_t index, MThreadTask task, void* argument);

/* Waits until thread `index` is idle and clears its slot. Null pool: nothing. */
VANTRO_API void MThread_Clean(MThreadPool* pool, int32_t index);

/* Hands the same task to threads first to first + number - 1, in that order. Null pool: calls
 * task(argument, i) for the same indices in the caller. */
VANTRO_API void MThread_Run(MThreadPool* pool, int32_t first, int32_t number, MThreadTask task,
                            void* argument);

/* Waits for threads first to first + number - 1, in that order, and clears their slots. */
VANTRO_API void MThread_Sync(MThreadPool* pool, int32_t first, int32_t number);

/* MThread_Run, then MThread_Sync over the same range. */
VANTRO_API void MThread_Finish(MThreadPool* pool, int32_t first, int32_t number, MThreadTask task,
                               void* argument);

/* Waits for running tasks, ends and joins every thread and frees the pool. */
VANTRO_API void MThread_Destroy(MThreadPool* pool);

/* Stores `flag` in every thread record, waiting for each thread's task. Threads that run keep the
 * CPU set they took at their start. */
VANTRO_API void MThread_ChangeBindCoreFlag(MThreadPool* pool, uint32_t flag);

/* Pins the calling thread to the CPU set of `flag` (see MThreadAttr). Returns 0, or -1 when the
 * flag has no set or none of its CPUs can be used. */
VANTRO_API int32_t MThread_Bind(int32_t flag);

/* Names a thread, or the calling thread for a null handle pointer. A name is at most 15 bytes. Null
 * name: nothing. */
VANTRO_API void MThread_Name(const pthread_t* thread, const char* name);

/* Pins the calling thread: flag 1 to CPUs 4 to 7, any other to CPUs 0 to 3. Returns 0, or -1 when
 * none of them can be used. */
VANTRO_API int32_t bindCore(int32_t flag);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* VANTRO_THREAD_H_ */

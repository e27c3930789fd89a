// Where threads run and what they are called.
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "thread/worker.h"
#include "vantro/thread.h"

namespace vantro {

int PinThread(pid_t thread_id, uint32_t mask) {
  // The system call itself: the C library's wrapper takes a cpu_set_t of its own size.
  return static_cast<int>(syscall(SYS_sched_setaffinity, thread_id, sizeof mask, &mask));
}

}  // namespace vantro

int32_t MThread_Bind(int32_t flag) {
  if (!vantro::HasCpuMask(flag)) return -1;
  return vantro::PinThread(gettid(), vantro::kCpuMasks[flag]);
}

int32_t bindCore(int32_t flag) {
  return vantro::PinThread(gettid(), vantro::kCpuMasks[flag == 1 ? 1 : 2]);
}

void MThread_Name(const pthread_t* thread, const char* name) {
  if (name == nullptr) return;
  if (thread == nullptr) {
    prctl(PR_SET_NAME, name, 0, 0, 0);
  } else {
    pthread_setname_np(*thread, name);
  }
}

#include <cstdint>
#include <cstdlib>
#include <limits>

#include "support/log.h"
#include "thread/worker.h"
#include "vantro/thread.h"

namespace vantro {
namespace {

constexpr MThreadAttr kDefaultAttr = {0, 0, "Nuvex_Algo"};

// What a creation holds until it has a pool to hand it to.
struct Workshop {
  pthread_attr_t attr;
  bool has_attr = false;
  MThreadUnit* threads = nullptr;
  int32_t made = 0;
};

// Room for `count` records, or null after a message.
MThreadUnit* AllocateRecords(int32_t count) {
  const uint64_t bytes = static_cast<uint64_t>(count) * sizeof(MThreadUnit);
  const auto size = static_cast<int32_t>(static_cast<uint32_t>(bytes));
  MThreadUnit* records = nullptr;
  if (bytes > static_cast<uint64_t>(std::numeric_limits<int32_t>::max())) {
    VANTRO_LOGW(kTagVideo, "the memory size %d you want to malloced is negative!!", size);
  } else {
    records = static_cast<MThreadUnit*>(std::malloc(static_cast<size_t>(bytes)));
  }
  if (records == nullptr) {
    VANTRO_LOGE(kTagVideo, "Failed to Allocate Memory of %ld for %d threads!",
                static_cast<long>(size), count);
  }
  return records;
}

// Threads 4 to 7 go to the other half of the CPUs than the first four.
int32_t BindFlagOf(int32_t index, int32_t flag) {
  if (index < 4 || index > 7) return flag;
  return flag == 1 ? 2 : 1;
}

bool InitSemaphores(MThreadUnit& unit, int32_t index) {
  if (sem_init(&unit.start_sem, 0, 1) != 0) {
    VANTRO_LOGE(kTagVideo, "Failed to init start_sem of thread %d", index);
    return false;
  }
  if (sem_init(&unit.end_sem, 0, 1) != 0) {
    VANTRO_LOGE(kTagVideo, "Failed to init end_sem of thread %d", index);
    sem_destroy(&unit.start_sem);
    return false;
  }
  TakeToken(&unit.start_sem);
  return true;
}

bool StartWorker(MThreadUnit& unit, int32_t index, const MThreadAttr& attributes,
                 const pthread_attr_t& attr) {
  if (!InitSemaphores(unit, index)) return false;
  unit.exit_flag = 0;
  unit.thread_index = index;
  unit.task_arg = nullptr;
  unit.task_func = nullptr;
  unit.priority = attributes.high_priority != 0 ? -20 : 0;
  unit.bind_core_flag = BindFlagOf(index, attributes.bind_core_flag);
  if (pthread_create(&unit.thread, &attr, WorkerMain, &unit) != 0) {
    sem_destroy(&unit.start_sem);
    sem_destroy(&unit.end_sem);
    VANTRO_LOGE(kTagVideo, "Failed to Create Thread %d!", index);
    return false;
  }
  if (attributes.name != nullptr) pthread_setname_np(unit.thread, attributes.name);
  return true;
}

// Returns the pool, or null after a message with what was made so far in `shop`.
MThreadPool* BuildPool(int32_t count, const MThreadAttr& attributes, Workshop& shop) {
  if (pthread_attr_init(&shop.attr) != 0) {
    VANTRO_LOGE(kTagVideo, "Failed to Init Thread attribute.");
    return nullptr;
  }
  shop.has_attr = true;
  shop.threads = AllocateRecords(count);
  if (shop.threads == nullptr) return nullptr;

  if (attributes.bind_core_flag == 1 && MThread_Bind(1) != 0) {
    VANTRO_LOGE(kTagVideo, "Fail to Set CPU Affinity for Main Thead!");
  }
  for (int32_t i = 0; i < count; ++i) {
    // A failed attempt leaves no gap: the next one takes the same record.
    if (StartWorker(shop.threads[shop.made], i, attributes, shop.attr)) ++shop.made;
  }
  if (shop.made < count) {
    VANTRO_LOGE(kTagVideo, "Not Enough Thread Created!");
    return nullptr;
  }

  auto* pool = static_cast<MThreadPool*>(std::malloc(sizeof(MThreadPool)));
  if (pool == nullptr) {
    VANTRO_LOGE(kTagVideo, "Failed to Allocate Memory of %ld!",
                static_cast<long>(sizeof(MThreadPool)));
    return nullptr;
  }
  *pool = {shop.threads, shop.made};
  return pool;
}

}  // namespace
}  // namespace vantro

MThreadPool* MThread_Create(int32_t count, const MThreadAttr* attributes, int32_t* out_count) {
  if (count < 1) {
    VANTRO_LOGE(vantro::kTagVideo, "Wrong Thread Number (%d)!", count);
    return nullptr;
  }
  vantro::Workshop shop;
  MThreadPool* pool =
      vantro::BuildPool(count, attributes != nullptr ? *attributes : vantro::kDefaultAttr, shop);
  if (shop.has_attr && pthread_attr_destroy(&shop.attr) != 0) {
    VANTRO_LOGE(vantro::kTagVideo, "Failed to Destroy Thread Attr!");
  }
  if (out_count != nullptr) *out_count = pool != nullptr ? shop.made : 1;
  if (pool == nullptr) {
    vantro::StopWorkers(shop.threads, shop.made);
    std::free(shop.threads);
  }
  VANTRO_LOGD(vantro::kTagVideo, "%d / %d threads Created for %p.", pool != nullptr ? shop.made : 0,
              count, static_cast<void*>(pool));
  return pool;
}

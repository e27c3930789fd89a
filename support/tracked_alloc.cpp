#include "vantro/tracked_alloc.h"

#include <atomic>
#include <cstdlib>
#include <limits>

#include "support/log.h"

void* (*fmalloc)(uint32_t size, const char* name, int32_t zero) = nullptr;
void (*ffree)(void* block, const char* name, int32_t zero) = nullptr;

namespace {

// Relaxed atomics: two handles on two threads may count at once, and nothing is ordered by them.
std::atomic<int> block_count{0};
std::atomic<int> byte_total{0};

// The total never decreases through use; it stops at the largest int instead of wrapping.
int SaturatingAdd(int total, int size) {
  int sum = 0;
  if (!__builtin_add_overflow(total, size, &sum)) return sum;
  return size > 0 ? std::numeric_limits<int>::max() : std::numeric_limits<int>::min();
}

}  // namespace

void* __Malloc(int size, const char* name) {
  VANTRO_LOGD(vantro::kTagPlain, "Malloc %d  name:%s", size, name);
  block_count.fetch_add(1, std::memory_order_relaxed);
  int total = byte_total.load(std::memory_order_relaxed);
  while (!byte_total.compare_exchange_weak(total, SaturatingAdd(total, size),
                                           std::memory_order_relaxed)) {
  }
  // A negative size widens to more than any heap can give, and fails.
  return std::malloc(static_cast<size_t>(static_cast<ptrdiff_t>(size)));
}

void __Free(void* block, const char* name) {
  VANTRO_LOGD(vantro::kTagPlain, "Free %p  name:%s", block, name);
  const int left = block_count.fetch_sub(1, std::memory_order_relaxed) - 1;
  VANTRO_LOGD(vantro::kTagPlain, "memory blk cnt = %d", left);
  std::free(block);
}

int showMemTotal(int frame) {
  return VANTRO_LOGI(vantro::kTagPlain, "frame: %d  mem use: %d", frame,
                     byte_total.load(std::memory_order_relaxed));
}

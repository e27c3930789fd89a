// Owners of the three kinds of scratch memory: the caller's pool, the tracked allocator, and the C
// heap. An early return releases by scope.
#ifndef VANTRO_SUPPORT_SCRATCH_H_
#define VANTRO_SUPPORT_SCRATCH_H_

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>

#include "vantro/tracked_alloc.h"
#include "vantro/vantro.h"

namespace vantro {

struct PoolDeleter {
  MemPool* pool = nullptr;
  const char* name = nullptr;
  void operator()(void* block) const { pool->free(block, name, 0); }
};

// A block of the caller's pool, released under the name it was allocated with.
template <typename T>
using PoolBlock = std::unique_ptr<T[], PoolDeleter>;

// `count` elements of T under `name`; null when the pool has no block or the size passes the
// pool's 32 bits.
template <typename T>
PoolBlock<T> AllocFromPool(MemPool* pool, uint64_t count, const char* name) {
  void* block = nullptr;
  if (count <= std::numeric_limits<int32_t>::max() / sizeof(T)) {
    block = pool->alloc(static_cast<uint32_t>(count * sizeof(T)), name, 0);
  }
  return PoolBlock<T>(static_cast<T*>(block), PoolDeleter{pool, name});
}

struct TrackedDeleter {
  const char* name = nullptr;
  void operator()(void* block) const { __Free(block, name); }
};

// A block of the tracked allocator, released under the same name.
template <typename T>
using TrackedBlock = std::unique_ptr<T[], TrackedDeleter>;

// `count` elements of T under `name`; null when there is no memory or the size passes 32 bits (the
// allocator is then not called).
template <typename T>
TrackedBlock<T> AllocTracked(uint64_t count, const char* name) {
  void* block = nullptr;
  if (count <= std::numeric_limits<int32_t>::max() / sizeof(T)) {
    block = __Malloc(static_cast<int>(count * sizeof(T)), name);
  }
  return TrackedBlock<T>(static_cast<T*>(block), TrackedDeleter{name});
}

struct HeapDeleter {
  void operator()(void* block) const { std::free(block); }
};

template <typename T>
using HeapBlock = std::unique_ptr<T[], HeapDeleter>;

// `count` elements of T from the C heap; null when there is no memory.
template <typename T>
HeapBlock<T> AllocFromHeap(uint64_t count) {
  void* block = nullptr;
  if (count <= std::numeric_limits<size_t>::max() / 2 / sizeof(T)) {
    block = std::malloc(static_cast<size_t>(count) * sizeof(T));
  }
  return HeapBlock<T>(static_cast<T*>(block));
}

}  // namespace vantro

#endif  // VANTRO_SUPPORT_SCRATCH_H_

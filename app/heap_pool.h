// The C heap as the memory pool that the library asks its host for.
#ifndef VANTRO_APP_HEAP_POOL_H_
#define VANTRO_APP_HEAP_POOL_H_

#include <cstdlib>

#include "vantro/vantro.h"

namespace vantro::app {

inline MemPool HeapPool() {
  return {[](uint32_t size, const char*, int32_t) { return std::malloc(size); },
          [](void* block, const char*, int32_t) { std::free(block); }};
}

}  // namespace vantro::app

#endif  // VANTRO_APP_HEAP_POOL_H_

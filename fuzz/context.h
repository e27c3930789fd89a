// The algorithm context that the stages of the library take, with memory from the C heap.
#ifndef VANTRO_FUZZ_CONTEXT_H_
#define VANTRO_FUZZ_CONTEXT_H_

#include <cstdint>
#include <cstdlib>

#include "vantro/algo_context.h"
#include "vantro/vantro.h"

namespace vantro::fuzz {

// No block larger than a mask of some thousand pixels a side: filling it would take too long.
inline void* Alloc(uint32_t size, const char* /*name*/, int32_t /*zero*/) {
  return size > 1 << 22 ? nullptr : std::malloc(size);
}
inline void Free(void* block, const char* /*name*/, int32_t /*zero*/) { std::free(block); }

inline AlgoCxt* Context() {
  static MemPool pool = {&Alloc, &Free};
  static ParamBlock params = {};
  static AlgoCxt* const context = BuildAlgoCxt(&params, &pool);
  return context;
}

}  // namespace vantro::fuzz

#endif  // VANTRO_FUZZ_CONTEXT_H_

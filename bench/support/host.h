// What a host of the library brings: a pool on the heap and an algorithm context out of it.
#ifndef VANTRO_BENCH_SUPPORT_HOST_H_
#define VANTRO_BENCH_SUPPORT_HOST_H_

#include <cstdint>
#include <cstdlib>
#include <memory>

#include "vantro/algo_context.h"

namespace vantro::bench {

inline void* HeapAlloc(uint32_t size, const char*, int32_t) { return std::malloc(size); }
inline void HeapFree(void* block, const char*, int32_t) { std::free(block); }

inline MemPool* HeapPool() {
  static MemPool pool{&HeapAlloc, &HeapFree};
  return &pool;
}

struct ContextDeleter {
  void operator()(AlgoCxt* cxt) const { HeapFree(cxt, "init_cxt", 0); }
};
using Context = std::unique_ptr<AlgoCxt, ContextDeleter>;

inline Context MakeContext() {
  ParamBlock params{};
  params.tuning.area_ratio = 0.005f;
  return Context(BuildAlgoCxt(&params, HeapPool()));
}

}  // namespace vantro::bench

#endif  // VANTRO_BENCH_SUPPORT_HOST_H_

// The table of one int32 a region that both region filters need.
#ifndef VANTRO_MASK_REGION_TABLE_H_
#define VANTRO_MASK_REGION_TABLE_H_

#include <cstdint>

#include "support/scratch.h"
#include "vantro/bounded.h"

namespace vantro {

// Result of a region filter that lacks memory.
inline constexpr int kRegionFilterNoMemory = 2000;

// A zeroed table; null when there is no memory.
inline HeapBlock<int32_t> MakeRegionTable(int32_t regions) {
  const auto entries = static_cast<size_t>(regions);
  HeapBlock<int32_t> region_table = AllocFromHeap<int32_t>(entries);
  if (region_table != nullptr) {
    memset_s(region_table.get(), entries * sizeof(int32_t), 0, entries * sizeof(int32_t));
  }
  return region_table;
}

}  // namespace vantro

#endif  // VANTRO_MASK_REGION_TABLE_H_

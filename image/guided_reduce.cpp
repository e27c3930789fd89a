// Nearest-sample reduction of the fixed-point guided filter.

#include <cstddef>
#include <cstdint>
#include <limits>

#include "image/guided_fixed.h"
#include "support/log.h"
#include "support/scratch.h"

namespace vantro {
namespace {

bool HalveExactly(const uint8_t* src, int width, int height, int stride, uint8_t* dst,
                  int half_width, int half_height) {
  if (int64_t{2} * half_width > width || int64_t{2} * half_height > height) {
    VANTRO_LOGE(kTagVideo, "%s() width or height parameters Error!", "NNeighbor_2x22");
    return false;
  }
  for (int y = 0; y < half_height; ++y) {
    const uint8_t* const row = src + int64_t{2} * y * stride;
    uint8_t* const out = dst + int64_t{y} * half_width;
    for (ptrdiff_t x = 0; x < half_width; ++x) out[x] = row[2 * x];
  }
  return true;
}

void FillIndices(int size, int half_size, uint16_t* indices) {
  const double factor = static_cast<double>(size) / static_cast<double>(half_size);
  for (int i = 0; i < half_size; ++i) indices[i] = static_cast<uint16_t>(i * factor);
}

bool ReduceByTable(const uint8_t* src, int width, int height, int stride, uint8_t* dst,
                   int half_width, int half_height) {
  // The table's entries have 16 bits.
  constexpr int kMaxSize = std::numeric_limits<uint16_t>::max() + 1;
  if (half_width < 1 || half_height < 1 || width > kMaxSize || height > kMaxSize) {
    VANTRO_LOGE(kTagVideo, "%s() parm error!", "NNeighbor2");
    return false;
  }
  const auto table = AllocFromHeap<uint16_t>(static_cast<uint64_t>(half_width) +
                                             static_cast<uint64_t>(half_height));
  if (!table) {
    VANTRO_LOGE(kTagVideo, "%s() malloc failed!", "NNeighbor2");
    return false;
  }
  uint16_t* const columns = table.get();
  uint16_t* const rows = columns + half_width;
  FillIndices(width, half_width, columns);
  FillIndices(height, half_height, rows);
  for (int y = 0; y < half_height; ++y) {
    const uint8_t* const row = src + int64_t{rows[y]} * stride;
    for (int x = 0; x < half_width; ++x) *dst++ = row[columns[x]];
  }
  return true;
}

}  // namespace

bool ReduceNearest(const uint8_t* src, int width, int height, int stride, uint8_t* dst,
                   int half_width, int half_height) {
  if (HalveExactly(src, width, height, stride, dst, half_width, half_height)) return true;
  if (ReduceByTable(src, width, height, stride, dst, half_width, half_height)) return true;
  VANTRO_LOGE(kTagVideo, "NNeighbor Error!");
  return false;
}

}  // namespace vantro

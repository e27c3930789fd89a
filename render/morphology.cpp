// Erosion and dilation by a square. Both look for hits in it, zero samples for an erosion and
// nonzero ones for a dilation; a square with a hit gives the hit's value. Windows double in length
// along the rows and then along the columns, so the cost grows with the logarithm of the radius.
#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>

#include "render/window_kernels.h"
#include "vantro/render.h"
#include "vantro/tracked_alloc.h"

namespace {

constexpr char kName[] = "Vantro";

struct HookDeleter {
  void operator()(uint8_t* block) const { ffree(block, kName, 0); }
};
using HookBlock = std::unique_ptr<uint8_t[], HookDeleter>;

// Lets every byte take in the `length` bytes at it and behind it, `step` apart: windows of 1, 2, 4
// and so on bytes, and at last two that overlap.
void GatherAhead(uint8_t* bytes, size_t count, size_t length, size_t step) {
  size_t gathered = 1;
  while (gathered < length) {
    const size_t ahead = std::min(gathered, length - gathered);
    vantro::OrAhead(bytes, count - ahead * step, ahead * step);
    gathered += ahead;
  }
}

void ApplyWindow(uint8_t* image, int width, int height, int radius, bool hit_is_zero) {
  const uint64_t bytes =
      static_cast<uint64_t>(std::max(width, 0)) * static_cast<uint64_t>(std::max(height, 0));
  if (image == nullptr || bytes == 0 || radius < 0 || fmalloc == nullptr || ffree == nullptr ||
      bytes > std::numeric_limits<uint32_t>::max()) {
    return;
  }
  const HookBlock hits(static_cast<uint8_t*>(fmalloc(static_cast<uint32_t>(bytes), kName, 0)));
  if (hits == nullptr) return;
  const auto columns = static_cast<size_t>(width);
  const auto rows = static_cast<size_t>(height);
  const size_t length = 2 * static_cast<size_t>(radius) + 1;
  if (rows < length || columns < length) return;

  // Windows that reach into the next row lie outside what is written.
  vantro::MarkHits(image, hits.get(), rows * columns, hit_is_zero);
  GatherAhead(hits.get(), rows * columns, length, 1);
  GatherAhead(hits.get(), rows * columns, length, columns);
  for (size_t y = 0; y + length <= rows; ++y) {
    uint8_t* out = image + (y + static_cast<size_t>(radius)) * columns + radius;
    vantro::MarkHits(hits.get() + y * columns, out, columns - length + 1, hit_is_zero);
  }
}

}  // namespace

void erosion(unsigned char* image, int width, int height, int radius) {
  ApplyWindow(image, width, height, radius, true);
}

void dilation(unsigned char* image, int width, int height, int radius) {
  ApplyWindow(image, width, height, radius, false);
}

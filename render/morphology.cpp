// Erosion and dilation by a square, as a running window along the rows and then along the columns:
// the cost does not depend on the radius. Both count the hits in the window, zero samples for an
// erosion and nonzero ones for a dilation; a square with a hit gives the hit's value.
#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>

#include "vantro/render.h"
#include "vantro/tracked_alloc.h"

namespace {

constexpr char kName[] = "Vantro";
constexpr size_t kStrip = 64;

struct HookDeleter {
  void operator()(uint8_t* block) const { ffree(block, kName, 0); }
};
using HookBlock = std::unique_ptr<uint8_t[], HookDeleter>;

struct Window {
  uint8_t* image;
  int64_t width;
  int64_t height;
  int64_t radius;
  bool hit_is_zero;

  bool IsHit(uint8_t sample) const { return (sample == 0) == hit_is_zero; }
};

// hits[i] = 1 where the window of the row centred on i holds a hit.
void MarkRow(const Window& window, const uint8_t* row, uint8_t* hits) {
  int64_t inside = 0;
  for (int64_t x = 0; x < 2 * window.radius; ++x) inside += window.IsHit(row[x]);
  for (int64_t x = window.radius; x < window.width - window.radius; ++x) {
    inside += window.IsHit(row[x + window.radius]);
    hits[x] = inside > 0;
    inside -= window.IsHit(row[x - window.radius]);
  }
}

// Sums up the row marks over the columns begin to end - 1, some neighbours at a time.
void WriteStrip(const Window& window, const uint8_t* hits, int64_t begin, int64_t end) {
  const size_t count = static_cast<size_t>(end - begin);
  const uint8_t on_hit = window.hit_is_zero ? 0 : 1;
  int32_t inside[kStrip] = {};
  const auto marks = [&](int64_t y) { return hits + y * window.width + begin; };
  const auto add = [&](const uint8_t* row) {
    for (size_t i = 0; i < count; ++i) inside[i] += row[i];
  };
  for (int64_t y = 0; y < 2 * window.radius; ++y) add(marks(y));
  for (int64_t y = window.radius; y < window.height - window.radius; ++y) {
    add(marks(y + window.radius));
    const uint8_t* leaving = marks(y - window.radius);
    uint8_t* out = window.image + y * window.width + begin;
    for (size_t i = 0; i < count; ++i) {
      out[i] = static_cast<uint8_t>((inside[i] > 0) ^ on_hit ^ 1);
      inside[i] -= leaving[i];
    }
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
  const Window window{image, width, height, radius, hit_is_zero};
  const int64_t size = 2 * window.radius;
  if (window.height <= size || window.width <= size) return;

  for (int64_t y = 0; y < window.height; ++y) {
    MarkRow(window, image + y * window.width, hits.get() + y * window.width);
  }
  const int64_t end = window.width - window.radius;
  for (int64_t x = window.radius; x < end; x += int64_t{kStrip}) {
    WriteStrip(window, hits.get(), x, std::min<int64_t>(x + int64_t{kStrip}, end));
  }
}

}  // namespace

void erosion(unsigned char* image, int width, int height, int radius) {
  ApplyWindow(image, width, height, radius, true);
}

void dilation(unsigned char* image, int width, int height, int radius) {
  ApplyWindow(image, width, height, radius, false);
}

// Box mean of a float plane, the nearest edge element repeated.
//
// Column sums come from running sums over blocks of as many rows as the box has (M. van Herk,
// "A fast algorithm for local minimum and maximum filters on rectangular and octagonal kernels",
// Pattern Recognition Letters 1992; here for sums): the rows of a box end one block and begin the
// next, so its column sums are a sum from the row to the end of its block plus a sum from the start
// of the next block. Nothing is subtracted that was added to something else, and the cost is the
// same for every radius. Along a row the oldest column sum is taken out of the total and the
// entering one added.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "image/box_sum_kernels.h"
#include "support/scratch.h"
#include "vantro/bounded.h"
#include "vantro/image.h"

namespace vantro {
namespace {

// Rows whose running totals are formed side by side: one total alone would wait for every addition.
constexpr int kRowsAtOnce = 8;
// Largest box side for which the rings of all these rows stand on the stack.
constexpr int64_t kStackSide = 256;

struct BoxPlane {
  int64_t stride;
  int width;
  int height;
  int64_t side;  // of the box

  int64_t radius() const { return side / 2; }
  int64_t last() const { return height - 1; }
};

// Makes the column sums of one destination row after the other, from a copy of the source, whose
// blocks it turns into sums from each row to the end of its block.
class ColumnSums {
 public:
  ColumnSums(float* copy, const BoxPlane& plane) : copy_(copy), plane_(plane) {}

  // Before row 0: leaves the sum of its block's rows there.
  void Start(float* dst) const {
    std::memcpy(dst, Source(0), row_bytes());
    for (int64_t y = 1; y <= End(0); ++y) Add(Source(y), 1, dst);
  }

  // Rows in turn. `dst` holds what the row before left there, and gets the column sums; dst_next
  // (null for the last row) is left with the sum of its last block's rows.
  void Row(int64_t y, float* dst, float* dst_next) {
    if (dst_next != nullptr) Advance(y, dst, dst_next);
    const int64_t first = std::max<int64_t>(y - plane_.radius(), 0);
    const int64_t end = End(y);
    if (first % plane_.side != 0) {
      if (first % plane_.side == 1) SumToBlockEnd(first);
      if (end / plane_.side != first / plane_.side) {
        Add(Source(first), 1, dst);
      } else {
        std::memcpy(dst, Source(first), row_bytes());
      }
    }
    // The edge rows, as often as the box passes them.
    if (y < plane_.radius()) Add(Source(0), plane_.radius() - y, dst);
    const int64_t below = y + plane_.radius() - plane_.last();
    if (below > 0) Add(Source(plane_.last()), below, dst);
  }

 private:
  float* Source(int64_t y) const { return copy_ + y * plane_.stride; }
  size_t row_bytes() const { return static_cast<size_t>(plane_.width) * sizeof(float); }
  // Last source row of a box.
  int64_t End(int64_t y) const { return std::min(y + plane_.radius(), plane_.last()); }
  void Add(const float* row, int64_t times, float* sums) const {
    AddToRow(row, static_cast<float>(times), plane_.width, sums);
  }

  void Advance(int64_t y, const float* sums, float* next) const {
    const int64_t entering = End(y + 1);
    if (entering == End(y)) {
      std::memcpy(next, sums, row_bytes());
    } else if (entering % plane_.side == 0) {
      std::memcpy(next, Source(entering), row_bytes());
    } else {
      AddRows(sums, Source(entering), plane_.width, next);
    }
  }

  // Of the rows from `first` on; the block's own sum is complete. The plane's last row stays as it
  // is.
  void SumToBlockEnd(int64_t first) const {
    const int64_t block_end = std::min(first - 1 + plane_.side, int64_t{plane_.height});
    for (int64_t y = block_end - 2; y >= first; --y) Add(Source(y + 1), 1, Source(y));
  }

  float* copy_;
  BoxPlane plane_;
};

// Replaces each element of `kRows` rows by the total of the `side` elements around it. Each ring
// holds `side` elements.
template <int kRows>
void TotalAlongRows(float* const* rows, int width, int64_t side, float* const* rings) {
  const int64_t last = width - 1;
  const int64_t radius = side / 2;
  float totals[kRows] = {};
  for (int64_t i = 0; i < side; ++i) {
    const int64_t column = std::clamp<int64_t>(i - radius, 0, last);
    for (int k = 0; k < kRows; ++k) {
      rings[k][i] = rows[k][column];
      totals[k] += rings[k][i];
    }
  }
  int64_t oldest = 0;
  for (int64_t x = 0; x < last; ++x) {
    const int64_t next = std::min(x + 1 + radius, last);
    for (int k = 0; k < kRows; ++k) {
      const float entering = rows[k][next];
      rows[k][x] = totals[k];
      totals[k] = totals[k] - rings[k][oldest] + entering;
      rings[k][oldest] = entering;
    }
    if (++oldest == side) oldest = 0;
  }
  for (int k = 0; k < kRows; ++k) rows[k][last] = totals[k];
}

// The same for `count` rows that lie `stride` apart; `ring` holds `side` elements.
void TotalAlongPlane(float* data, int64_t stride, int width, int count, int64_t side, float* ring) {
  float stack_rings[kRowsAtOnce][kStackSide];
  float* rings[kRowsAtOnce];
  for (int k = 0; k < kRowsAtOnce; ++k) rings[k] = stack_rings[k];
  int y = 0;
  if (side <= kStackSide) {
    for (; y + kRowsAtOnce <= count; y += kRowsAtOnce) {
      float* rows[kRowsAtOnce];
      for (int k = 0; k < kRowsAtOnce; ++k) rows[k] = data + (y + k) * stride;
      TotalAlongRows<kRowsAtOnce>(rows, width, side, rings);
    }
  }
  for (; y < count; ++y) {
    float* const row = data + y * stride;
    TotalAlongRows<1>(&row, width, side, &ring);
  }
}

// The copy of the source is overwritten; `ring` holds the box's side.
void BoxMean(float* copy, const BoxPlane& plane, float* ring, float* dst) {
  const float count = static_cast<float>(plane.side) * static_cast<float>(plane.side);
  ColumnSums columns(copy, plane);
  columns.Start(dst);
  for (int y = 0; y < plane.height; y += kRowsAtOnce) {
    const int rows = std::min(kRowsAtOnce, plane.height - y);
    float* const first = dst + y * plane.stride;
    for (int k = 0; k < rows; ++k) {
      float* const row = first + k * plane.stride;
      columns.Row(y + k, row, y + k < plane.last() ? row + plane.stride : nullptr);
    }
    TotalAlongPlane(first, plane.stride, plane.width, rows, plane.side, ring);
    for (int k = 0; k < rows; ++k) DivideRow(first + k * plane.stride, plane.width, count);
  }
}

}  // namespace
}  // namespace vantro

int boxfilter_iter_f(void* /*context*/, const float* src, float* dst, int width, int height,
                     int stride, int radius) {
  if (width < 1 || height < 1) return 0;
  if (src == nullptr || dst == nullptr || stride < width || radius < 0) return 1;
  const int64_t side = int64_t{2} * radius + 1;
  const auto buffer =
      vantro::AllocFromHeap<float>(static_cast<uint64_t>(side + int64_t{stride} * height));
  if (!buffer) {
    std::printf(" malloc BOXmem failed");
    return 1;
  }
  float* const ring = buffer.get();
  float* const copy = ring + side;
  const size_t row_bytes = static_cast<size_t>(width) * sizeof(float);
  for (int y = 0; y < height; ++y) {
    const int64_t offset = int64_t{y} * stride;
    if (memcpy_s(copy + offset, row_bytes, src + offset, row_bytes) != 0) return 1;
    // Also of what is no number and would spoil the totals behind it.
    if (radius == 0) std::memcpy(dst + offset, copy + offset, row_bytes);
  }
  if (radius > 0) vantro::BoxMean(copy, {stride, width, height, side}, ring, dst);
  return 0;
}

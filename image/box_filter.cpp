// Box mean of a float plane, the nearest edge element repeated.
//
// A box is summed column by column, from the top and from the left; right of a row's first box the
// oldest column sum is taken out of the total and the entering one added. This order decides about
// the last bits and is kept. Planes of small whole numbers, on which every order gives the same
// bits, are summed along their rows first and then downwards, which costs the same for every
// radius.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "image/box_sum_kernels.h"
#include "support/scratch.h"
#include "vantro/bounded.h"
#include "vantro/image.h"

namespace vantro {
namespace {

// Rows whose running totals are formed side by side: one total alone would wait for every addition.
constexpr int kRowsAtOnce = kSumRows;
// Largest box side for which the rings of all these rows stand on the stack.
constexpr int64_t kStackSide = 256;

float ElementsOf(int64_t side) { return static_cast<float>(side) * static_cast<float>(side); }

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

// In the order that holds for all numbers.
void MeanInOrder(const FloatRows& source, int64_t side, float* ring, float* dst) {
  const int64_t radius = side / 2;
  const float count = ElementsOf(side);
  for (int y = 0; y < source.height; y += kRowsAtOnce) {
    const int rows = std::min(kRowsAtOnce, source.height - y);
    float* const first = dst + y * source.stride;
    SumColumns(source, y - radius, side, rows, first);
    TotalAlongPlane(first, source.stride, source.width, rows, side, ring);
    for (int k = 0; k < rows; ++k) DivideRow(first + k * source.stride, source.width, count);
  }
}

// For numbers whose sums are exact. Overwrites the source.
void MeanOfExactSums(float* copy, const FloatRows& source, int64_t side, float* ring, float* dst) {
  const int64_t radius = side / 2;
  const float count = ElementsOf(side);
  TotalAlongPlane(copy, source.stride, source.width, source.height, side, ring);
  SumColumns(source, -radius, side, 1, dst);
  for (int y = 0; y < source.height; ++y) {
    float* const row = dst + y * source.stride;
    if (y + 1 < source.height) {
      SlideDown(row, source.Row(y - radius), source.Row(y + 1 + radius), source.width,
                row + source.stride);
    }
    DivideRow(row, source.width, count);
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
  // Totals of whole numbers up to 2^24 are exact.
  const auto limit = static_cast<float>(1 << 24) / vantro::ElementsOf(side);
  bool exact = true;
  for (int y = 0; y < height; ++y) {
    const int64_t offset = int64_t{y} * stride;
    if (memcpy_s(copy + offset, row_bytes, src + offset, row_bytes) != 0) return 1;
    exact = exact && vantro::AreSmallWholeNumbers(src + offset, width, limit);
  }
  const vantro::FloatRows rows = {copy, stride, width, height};
  if (exact) {
    vantro::MeanOfExactSums(copy, rows, side, ring, dst);
  } else {
    vantro::MeanInOrder(rows, side, ring, dst);
  }
  return 0;
}

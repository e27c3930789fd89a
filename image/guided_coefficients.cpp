// Box sums and coefficients of the fixed-point guided filter. Beyond the plane the nearest edge
// element counts. Column sums slide down row by row, box sums slide along each row.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "image/guided_fixed.h"
#include "support/scratch.h"

namespace vantro {
namespace {

// Calls add(row, +1) and add(row, -1) for the rows that enter and leave the box of row y.
template <typename Add>
void SlideRows(int y, int height, int radius, const Add& add) {
  const auto inside = [height](int row) { return std::clamp(row, 0, height - 1); };
  if (y == 0) {
    for (int row = -radius; row <= radius; ++row) add(inside(row), 1);
  } else {
    add(inside(y + radius), 1);
    add(inside(y - radius - 1), -1);
  }
}

// The sum of the columns around column x, kept while x rises by one from 0.
template <typename Sum>
class SlidingSum {
 public:
  SlidingSum(const Sum* columns, int width, int radius)
      : columns_(columns), last_(width - 1), radius_(radius) {
    for (int x = -radius; x <= radius; ++x) total_ += At(x);
  }
  int32_t total() const { return total_; }
  // From column x to the next.
  void Advance(int x) { total_ += At(x + radius_ + 1) - At(x - radius_); }

 private:
  int32_t At(int x) const { return columns_[std::clamp(x, 0, last_)]; }

  const Sum* columns_;
  int last_;
  int radius_;
  int32_t total_ = 0;
};

// Sums over each column of the current box: I the guide, p the input. A box holds at most 121
// elements, so everything below fits its type.
struct ColumnSums {
  HeapBlock<int16_t> i;
  HeapBlock<int16_t> p;
  HeapBlock<int32_t> ii;
  HeapBlock<int32_t> ip;

  bool Allocate(int width) {
    const uint64_t count = static_cast<uint64_t>(width) + 8;
    i = AllocZeroed<int16_t>(count);
    p = AllocZeroed<int16_t>(count);
    ii = AllocZeroed<int32_t>(count);
    ip = AllocZeroed<int32_t>(count);
    return i && p && ii && ip;
  }

  void Add(const uint8_t* guide, const int8_t* input, int width, int sign) {
    for (size_t x = 0; x < static_cast<size_t>(width); ++x) {
      const int element_i = guide[x];
      const int element_p = input[x];
      i[x] = static_cast<int16_t>(i[x] + sign * element_i);
      p[x] = static_cast<int16_t>(p[x] + sign * element_p);
      ii[x] += sign * element_i * element_i;
      ip[x] += sign * element_i * element_p;
    }
  }
};

struct Coefficients {
  int16_t a;
  int16_t b;
};

Coefficients Solve(int32_t count, int32_t sum_i, int32_t sum_p, int32_t sum_ii, int32_t sum_ip,
                   int64_t eps) {
  const int64_t denominator = int64_t{count} * sum_ii - int64_t{sum_i} * sum_i + eps * count;
  const auto bits = static_cast<int32_t>((denominator >> 9) & 0xFFFF);
  // 2^10 * numerator / denominator, with 2^9 taken from the denominator.
  const int32_t numerator = 2 * (count * sum_ip - sum_i * sum_p);
  const int32_t a = std::clamp(numerator / std::max(bits, 1), -2048, 2047);
  const int32_t b = (sum_p * 1024 - sum_i * a) / (255 * count);
  return {static_cast<int16_t>(a), static_cast<int16_t>(b)};
}

}  // namespace

bool FitCoefficients(const uint8_t* guide, const int8_t* input, const ReducedSize& size, int radius,
                     int64_t eps, Plane16 a, Plane16 b) {
  ColumnSums sums;
  if (!sums.Allocate(size.width)) return false;
  const int32_t count = (2 * radius + 1) * (2 * radius + 1);
  int64_t element = 0;
  for (int y = 0; y < size.height; ++y) {
    SlideRows(y, size.height, radius, [&](int row, int sign) {
      const int64_t offset = int64_t{row} * size.width;
      sums.Add(guide + offset, input + offset, size.width, sign);
    });
    SlidingSum<int16_t> sum_i(sums.i.get(), size.width, radius);
    SlidingSum<int16_t> sum_p(sums.p.get(), size.width, radius);
    SlidingSum<int32_t> sum_ii(sums.ii.get(), size.width, radius);
    SlidingSum<int32_t> sum_ip(sums.ip.get(), size.width, radius);
    for (int x = 0; x < size.width; ++x, ++element) {
      const Coefficients fit =
          Solve(count, sum_i.total(), sum_p.total(), sum_ii.total(), sum_ip.total(), eps);
      a.Set(element, fit.a);
      b.Set(element, fit.b);
      sum_i.Advance(x);
      sum_p.Advance(x);
      sum_ii.Advance(x);
      sum_ip.Advance(x);
    }
  }
  return true;
}

void AverageBoxes(Plane16 values, const ReducedSize& size, int radius, int32_t* column_sums,
                  int16_t* means) {
  const int32_t count = (2 * radius + 1) * (2 * radius + 1);
  std::fill_n(column_sums, size.width, 0);
  for (int y = 0; y < size.height; ++y) {
    SlideRows(y, size.height, radius, [&](int row, int sign) {
      const int64_t offset = int64_t{row} * size.width;
      for (int x = 0; x < size.width; ++x) column_sums[x] += sign * values.Get(offset + x);
    });
    SlidingSum<int32_t> sum(column_sums, size.width, radius);
    for (int x = 0; x < size.width; ++x) {
      *means++ = static_cast<int16_t>(sum.total() / count);
      sum.Advance(x);
    }
  }
}

}  // namespace vantro

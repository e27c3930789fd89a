// One step of the flow: averages the terms of the flow equations over a square and solves them.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "support/log.h"
#include "vantro/motion.h"

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "motion/flow_box_update.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#ifndef VANTRO_MOTION_FLOW_BOX_UPDATE_ONCE_
#define VANTRO_MOTION_FLOW_BOX_UPDATE_ONCE_

namespace vantro {
namespace {

// Keeps the determinant away from 0 where there is no structure.
constexpr double kRegularisation = 0.001;

// Sums of the five terms over a square, solved for the displacement.
void SolvePixel(const double* sums, double scale, float* flow) {
  const double g11 = sums[0] * scale;
  const double g12 = sums[1] * scale;
  const double g22 = sums[2] * scale;
  const double h1 = sums[3] * scale;
  const double h2 = sums[4] * scale;
  const double inverse = 1.0 / (g11 * g22 - g12 * g12 + kRegularisation);
  flow[0] = static_cast<float>((g11 * h2 - g12 * h1) * inverse);
  flow[1] = static_cast<float>((g22 * h1 - g12 * h2) * inverse);
}

}  // namespace
}  // namespace vantro

#endif  // VANTRO_MOTION_FLOW_BOX_UPDATE_ONCE_

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

void StartColumns(const float* row, float times, ptrdiff_t count, float* HWY_RESTRICT sums) {
  for (ptrdiff_t i = 0; i < count; ++i) sums[i] = row[i] * times;
}

void AddRow(const float* row, ptrdiff_t count, float* HWY_RESTRICT sums) {
  for (ptrdiff_t i = 0; i < count; ++i) sums[i] += row[i];
}

void MoveColumns(const float* enters, const float* leaves, ptrdiff_t count,
                 float* HWY_RESTRICT sums) {
  for (ptrdiff_t i = 0; i < count; ++i) sums[i] += enters[i] - leaves[i];
}

#if HWY_TARGET != HWY_SCALAR

// Pixels of a row that are summed before they are solved; a whole number of vectors.
constexpr ptrdiff_t kStretch = 128;

// The running sums of the five terms: four in one vector, or in two that have two lanes, and one.
struct RunningSums {
  using D = hn::CappedTag<double, 4>;
  static constexpr size_t kSecond = 4 - hn::MaxLanes(D());  // 0: there is no second vector
  hn::Vec<D> first;
  hn::Vec<D> second;
  double last;
};

HWY_INLINE RunningSums LoadSums(const double* values) {
  const RunningSums::D d;
  return {hn::LoadU(d, values), hn::LoadU(d, values + RunningSums::kSecond), values[4]};
}

HWY_INLINE void StoreSums(const RunningSums& sums, double* four, double* last) {
  const RunningSums::D d;
  hn::StoreU(sums.first, d, four);
  if (RunningSums::kSecond != 0) hn::StoreU(sums.second, d, four + RunningSums::kSecond);
  *last = sums.last;
}

HWY_INLINE void MoveSums(const float* enters, const float* leaves, RunningSums& sums) {
  const RunningSums::D d;
  const hn::Rebind<float, RunningSums::D> df;
  const auto moved = [&](hn::Vec<RunningSums::D> sum, size_t at) HWY_ATTR {
    const auto change = hn::Sub(hn::LoadU(df, enters + at), hn::LoadU(df, leaves + at));
    return hn::Add(sum, hn::PromoteTo(d, change));
  };
  sums.first = moved(sums.first, 0);
  if (RunningSums::kSecond != 0) sums.second = moved(sums.second, RunningSums::kSecond);
  sums.last += static_cast<double>(enters[4] - leaves[4]);
}

// Solves whole vectors of pixels; returns how many pixels.
ptrdiff_t SolveVectors(const double* four, const double* last, ptrdiff_t count, double scale,
                       float* flow) {
  // Two divisions of four are faster than one of eight, or as fast.
  const hn::CappedTag<double, 4> d;
  const hn::Rebind<float, decltype(d)> df;
  using V = hn::Vec<decltype(d)>;
  const ptrdiff_t lanes = static_cast<ptrdiff_t>(hn::Lanes(d));
  const V factor = hn::Set(d, scale);
  ptrdiff_t i = 0;
  for (; i + lanes <= count; i += lanes) {
    V g11, g12, g22, h1;
    hn::LoadInterleaved4(d, four + 4 * i, g11, g12, g22, h1);
    g11 = hn::Mul(g11, factor);
    g12 = hn::Mul(g12, factor);
    g22 = hn::Mul(g22, factor);
    h1 = hn::Mul(h1, factor);
    const V h2 = hn::Mul(hn::Load(d, last + i), factor);
    const V determinant = hn::Sub(hn::Mul(g11, g22), hn::Mul(g12, g12));
    const V inverse = hn::Div(hn::Set(d, 1.0), hn::Add(determinant, hn::Set(d, kRegularisation)));
    const V dx = hn::Mul(hn::Sub(hn::Mul(g11, h2), hn::Mul(g12, h1)), inverse);
    const V dy = hn::Mul(hn::Sub(hn::Mul(g22, h1), hn::Mul(g12, h2)), inverse);
    hn::StoreInterleaved2(hn::DemoteTo(df, dx), hn::DemoteTo(df, dy), df, flow + 2 * i);
  }
  return i;
}

// Moves the sums over `count` pixels from x on, keeping those of each pixel.
void SumStretch(const float* columns, ptrdiff_t width, ptrdiff_t reach, ptrdiff_t x,
                ptrdiff_t count, RunningSums& running, double* four, double* last) {
  const ptrdiff_t inner_begin = HWY_MIN(HWY_MAX(reach + 1 - x, 0), count);
  const ptrdiff_t inner_end = HWY_MAX(HWY_MIN(width - reach - x, count), inner_begin);
  const auto step = [&](ptrdiff_t i, ptrdiff_t enters, ptrdiff_t leaves) HWY_ATTR {
    MoveSums(columns + 5 * enters, columns + 5 * leaves, running);
    StoreSums(running, four + 4 * i, last + i);
  };
  const auto border_step = [&](ptrdiff_t i) HWY_ATTR {
    step(i, HWY_MIN(x + i + reach, width - 1), HWY_MAX(x + i - reach - 1, 0));
  };
  for (ptrdiff_t i = 0; i < inner_begin; ++i) border_step(i);
  for (ptrdiff_t i = inner_begin; i < inner_end; ++i) step(i, x + i + reach, x + i - reach - 1);
  for (ptrdiff_t i = inner_end; i < count; ++i) border_step(i);
}

#endif  // HWY_TARGET != HWY_SCALAR

// Solves one row from its column sums; columns beyond the image repeat its border column. `sums`
// are the five sums of the square left of the first pixel.
void SolveRow(const float* columns, ptrdiff_t width, ptrdiff_t reach, double scale,
              const double* sums, float* flow) {
#if HWY_TARGET != HWY_SCALAR
  HWY_ALIGN double four[4 * kStretch];
  HWY_ALIGN double last[kStretch];
  RunningSums running = LoadSums(sums);
  for (ptrdiff_t x = 0; x < width; x += kStretch) {
    const ptrdiff_t count = HWY_MIN(kStretch, width - x);
    SumStretch(columns, width, reach, x, count, running, four, last);
    for (ptrdiff_t i = SolveVectors(four, last, count, scale, flow + 2 * x); i < count; ++i) {
      const double one[5] = {four[4 * i], four[4 * i + 1], four[4 * i + 2], four[4 * i + 3],
                             last[i]};
      SolvePixel(one, scale, flow + 2 * (x + i));
    }
  }
#else
  double running[5] = {sums[0], sums[1], sums[2], sums[3], sums[4]};
  for (ptrdiff_t x = 0; x < width; ++x) {
    const float* enters = columns + 5 * HWY_MIN(x + reach, width - 1);
    const float* leaves = columns + 5 * HWY_MAX(x - reach - 1, 0);
    for (int j = 0; j < 5; ++j) running[j] += static_cast<double>(enters[j] - leaves[j]);
    SolvePixel(running, scale, flow + 2 * x);
  }
#endif
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"

namespace vantro {
namespace {

VANTRO_KERNEL_TABLE(StartColumns);
VANTRO_KERNEL_TABLE(AddRow);
VANTRO_KERNEL_TABLE(MoveColumns);
VANTRO_KERNEL_TABLE(SolveRow);

// Squares wider than this are refused: nothing but time would come of them.
constexpr int kWidestBlock = 4095;

// The sums of the square left of a row's first pixel: column 0 stands for what is beyond the
// border.
void SumsAtRowStart(const float* columns, ptrdiff_t width, ptrdiff_t reach, double* sums) {
  for (ptrdiff_t j = 0; j < 5; ++j) {
    sums[j] = static_cast<double>(columns[j] * static_cast<float>(reach + 2));
    for (ptrdiff_t x = 1; x < reach; ++x) {
      sums[j] += static_cast<double>(columns[5 * std::min(x, width - 1) + j]);
    }
  }
}

// Recomputes the terms of the rows that no later square reads any more.
class TermRefresher {
 public:
  TermRefresher(int width, int height, int block_size)
      : height_(height), block_size_(block_size), at_least_(std::max(1024 / width, block_size)) {}

  void AfterRow(int y, const float* R0, const float* R1, const float* flow, int width, float* M) {
    const int end = y == height_ - 1 ? height_ : y - block_size_;
    if (end != height_ && end < start_ + at_least_) return;
    VANTRO_LOGI(kTagPlain, "[%s] enter %s()\n", kTagPlain, "opticalFK_Blur");
    opticalFKUpdateMatrices(R0, R1, flow, width, height_, M, start_, end);
    start_ = end;
  }

 private:
  int height_;
  int block_size_;
  int at_least_;
  int start_ = 0;
};

}  // namespace
}  // namespace vantro

int opticalFK_Blur(const float* R0, const float* R1, float* flow, float* row_buffer, int width,
                   int height, float* M, int block_size, bool refresh) {
  using namespace vantro;
  if (flow == nullptr || row_buffer == nullptr || M == nullptr || width < 1 || height < 1 ||
      block_size < 1 || block_size > kWidestBlock ||
      (refresh && (R0 == nullptr || R1 == nullptr))) {
    return -1;
  }
  const ptrdiff_t reach = block_size / 2;
  const ptrdiff_t count = ptrdiff_t{5} * width;
  const ptrdiff_t last_row = height - 1;
  const double scale = static_cast<double>(1.0f / static_cast<float>(block_size * block_size));
  const auto row_of = [M, count, last_row](ptrdiff_t y) {
    return M + std::clamp<ptrdiff_t>(y, 0, last_row) * count;
  };

  VANTRO_KERNEL(StartColumns)(M, static_cast<float>(reach + 2), count, row_buffer);
  for (ptrdiff_t y = 1; y < reach; ++y) VANTRO_KERNEL(AddRow)(row_of(y), count, row_buffer);
  TermRefresher refresher(width, height, block_size);
  for (int y = 0; y < height; ++y) {
    VANTRO_KERNEL(MoveColumns)(row_of(y + reach), row_of(y - reach - 1), count, row_buffer);
    double sums[5];
    SumsAtRowStart(row_buffer, width, reach, sums);
    VANTRO_KERNEL(SolveRow)
    (row_buffer, width, reach, scale, sums, flow + ptrdiff_t{2} * y * width);
    if (refresh) refresher.AfterRow(y, R0, R1, flow, width, M);
  }
  return 0;
}
#endif  // HWY_ONCE

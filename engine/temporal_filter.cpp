#include "engine/temporal_filter.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include "engine/probability_map.h"

namespace vantro::engine {
namespace {

// Share of the new probability where nothing moves.
constexpr float kStillGain = 0.25f;
// Changes of a cell's mean colour, which is 1 at most. Below the first there is only noise, unless
// the noise asks for more; kMotionRange above it the probability is taken as it comes.
constexpr float kStillChange = 0.012f;
constexpr float kMotionRange = 0.028f;
// Noise is what half of the cells change by even in the calmest of the last frames: a quieter frame
// lowers the estimate at once, motion all over the picture raises it slowly and not beyond a limit.
// The largest of nine neighbours is seldom above three times as much.
constexpr float kNoiseGrowth = 1.02f;
constexpr float kMostNoise = 0.018f;
constexpr float kNoiseMargin = 3.0f;
// A new scene: this share of the cells changes by more than kSceneChange. Lively talking heads stay
// below 0.16, cuts between similar shots of one room reach 0.28, others 0.9.
constexpr float kSceneChange = 0.06f;
constexpr float kSceneShare = 0.25f;

size_t Area(int rows, int columns) {
  return static_cast<size_t>(rows) * static_cast<size_t>(columns);
}

}  // namespace

TemporalFilter::TemporalFilter(int rows, int columns)
    : rows_(rows),
      columns_(columns),
      cell_rows_(rows / kCellSide),
      cell_columns_(columns / kCellSide),
      cells_(3 * Area(cell_rows_, cell_columns_)),
      last_cells_(cells_.size()),
      motion_(Area(cell_rows_, cell_columns_)),
      sorted_(motion_.size()),
      smoothed_(Area(rows, columns)) {}

void TemporalFilter::AverageCells(const float* rgb) {
  std::fill(cells_.begin(), cells_.end(), 0.0f);
  constexpr float kShare = 1.0f / (kCellSide * kCellSide);
  for (int row = 0; row < rows_; ++row) {
    float* cell = cells_.data() + 3 * Area(row / kCellSide, cell_columns_);
    for (int column = 0; column < columns_; column += kCellSide, cell += 3) {
      for (int i = 0; i < kCellSide; ++i, rgb += 3) {
        for (int channel = 0; channel < 3; ++channel) cell[channel] += rgb[channel] * kShare;
      }
    }
  }
}

float TemporalFilter::MeasureMotion() {
  int changed = 0;
  for (size_t i = 0; i < motion_.size(); ++i) {
    float change = 0.0f;
    for (size_t channel = 3 * i; channel < 3 * i + 3; ++channel) {
      change = std::max(change, std::abs(cells_[channel] - last_cells_[channel]));
    }
    motion_[i] = change;
    if (change > kSceneChange) ++changed;
  }
  return static_cast<float>(changed) / static_cast<float>(motion_.size());
}

void TemporalFilter::EstimateNoise() {
  sorted_ = motion_;
  const auto middle = sorted_.begin() + static_cast<std::ptrdiff_t>(sorted_.size() / 2);
  std::nth_element(sorted_.begin(), middle, sorted_.end());
  noise_ = std::min({*middle, noise_ * kNoiseGrowth, kMostNoise});
}

// The largest change in the cell and its neighbours: an edge that moves into a cell is still near.
float TemporalFilter::MotionAround(int row, int column) const {
  float largest = 0.0f;
  for (int r = std::max(row - 1, 0); r <= std::min(row + 1, cell_rows_ - 1); ++r) {
    for (int c = std::max(column - 1, 0); c <= std::min(column + 1, cell_columns_ - 1); ++c) {
      largest = std::max(largest, motion_[Area(r, cell_columns_) + static_cast<size_t>(c)]);
    }
  }
  return largest;
}

const float* TemporalFilter::Apply(const float* rgb, const float* probabilities) {
  AverageCells(rgb);
  scene_began_ = !started_ || MeasureMotion() > kSceneShare;
  started_ = true;
  std::swap(cells_, last_cells_);
  if (scene_began_) {
    std::copy_n(probabilities, smoothed_.size(), smoothed_.begin());
    noise_ = std::numeric_limits<float>::max();
    return smoothed_.data();
  }
  EstimateNoise();
  const float still_change = std::max(kStillChange, kNoiseMargin * noise_);
  for (int row = 0; row < cell_rows_; ++row) {
    for (int column = 0; column < cell_columns_; ++column) {
      const float moving =
          std::clamp((MotionAround(row, column) - still_change) / kMotionRange, 0.0f, 1.0f);
      const float gain = kStillGain + (1.0f - kStillGain) * moving;
      const size_t corner =
          Area(row * kCellSide, columns_) + static_cast<size_t>(column * kCellSide);
      for (int y = 0; y < kCellSide; ++y) {
        for (int x = 0; x < kCellSide; ++x) {
          const size_t i = corner + Area(y, columns_) + static_cast<size_t>(x);
          smoothed_[i] += gain * (probabilities[i] - smoothed_[i]);
        }
      }
    }
  }
  return smoothed_.data();
}

}  // namespace vantro::engine

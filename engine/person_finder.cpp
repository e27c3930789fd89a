#include "engine/person_finder.h"

#include <algorithm>
#include <cmath>

namespace vantro::engine {
namespace {

// A cell belongs to a region from this number of person samples on, of kCellSide squared.
constexpr int kCellSamples = 4;
// Smallest person: one in this many samples of the frame.
constexpr int kFrameShare = 250;
// Regions smaller than one in this many samples of the largest are specks.
constexpr int kSpeckShare = 20;

}  // namespace

PersonFinder::PersonFinder(int rows, int columns)
    : cell_rows_(rows / kCellSide), cell_columns_(columns / kCellSide) {
  const size_t cells = static_cast<size_t>(cell_rows_) * static_cast<size_t>(cell_columns_);
  counts_.resize(cells);
  labels_.resize(cells);
  sizes_.reserve(cells + 1);
  pending_.reserve(cells);
}

void PersonFinder::CountSamples(const ProbabilityMap& map) {
  std::fill(counts_.begin(), counts_.end(), uint8_t{0});
  for (int row = first_row_; row <= last_row_; ++row) {
    const float* values = map.row(row);
    uint8_t* counts =
        counts_.data() + static_cast<size_t>(row / kCellSide) * static_cast<size_t>(cell_columns_);
    for (int column = first_column_; column <= last_column_; ++column) {
      if (values[column] > kPersonProbability) ++counts[column / kCellSide];
    }
  }
}

int PersonFinder::Gather(size_t cell, uint16_t label) {
  int samples = 0;
  labels_[cell] = label;
  pending_.assign(1, static_cast<uint32_t>(cell));
  while (!pending_.empty()) {
    const int index = static_cast<int>(pending_.back());
    pending_.pop_back();
    samples += counts_[static_cast<size_t>(index)];
    const int row = index / cell_columns_;
    const int column = index % cell_columns_;
    for (int r = std::max(row - 1, 0); r <= std::min(row + 1, cell_rows_ - 1); ++r) {
      for (int c = std::max(column - 1, 0); c <= std::min(column + 1, cell_columns_ - 1); ++c) {
        const size_t neighbour = CellAt(r, c);
        if (labels_[neighbour] != 0 || counts_[neighbour] < kCellSamples) continue;
        labels_[neighbour] = label;
        pending_.push_back(static_cast<uint32_t>(neighbour));
      }
    }
  }
  return samples;
}

// The outermost samples of a person may lie in cells that hold too few to belong to the region.
bool PersonFinder::NearKeptCell(int row, int column, int smallest) const {
  for (int r = std::max(row - 1, 0); r <= std::min(row + 1, cell_rows_ - 1); ++r) {
    for (int c = std::max(column - 1, 0); c <= std::min(column + 1, cell_columns_ - 1); ++c) {
      if (sizes_[labels_[CellAt(r, c)]] >= smallest) return true;
    }
  }
  return false;
}

std::optional<Bounds> PersonFinder::Find(const ProbabilityMap& map, int frame_width,
                                         int frame_height) {
  // Samples whose centre lies in the frame.
  const auto inner = [](float origin, float pitch, int count, int limit, int* first, int* last) {
    *first = std::max(static_cast<int>(std::ceil(-origin / pitch - 0.5f)), 0);
    *last =
        std::min(static_cast<int>(std::floor((static_cast<float>(limit) - origin) / pitch - 0.5f)),
                 count - 1);
  };
  const float row_pitch = map.row_pitch();
  const float column_pitch = map.column_pitch();
  inner(map.region.top, row_pitch, map.rows, frame_height, &first_row_, &last_row_);
  inner(map.region.left, column_pitch, map.columns, frame_width, &first_column_, &last_column_);

  CountSamples(map);
  std::fill(labels_.begin(), labels_.end(), uint16_t{0});
  sizes_.assign(1, 0);
  for (size_t cell = 0; cell < counts_.size(); ++cell) {
    if (labels_[cell] != 0 || counts_[cell] < kCellSamples) continue;
    const int samples = Gather(cell, static_cast<uint16_t>(sizes_.size()));
    sizes_.push_back(samples);
  }
  const int largest = *std::max_element(sizes_.begin(), sizes_.end());
  const int frame_samples = (last_row_ - first_row_ + 1) * (last_column_ - first_column_ + 1);
  if (largest == 0 || largest < frame_samples / kFrameShare) return std::nullopt;

  const int smallest = std::max(largest / kSpeckShare, 1);
  int top = map.rows;
  int bottom = -1;
  int left = map.columns;
  int right = -1;
  for (int row = first_row_; row <= last_row_; ++row) {
    const float* values = map.row(row);
    for (int column = first_column_; column <= last_column_; ++column) {
      const bool inside = row <= bottom && column >= left && column <= right;
      if (inside || values[column] <= kPersonProbability ||
          !NearKeptCell(row / kCellSide, column / kCellSide, smallest)) {
        continue;
      }
      top = std::min(top, row);
      bottom = row;
      left = std::min(left, column);
      right = std::max(right, column);
    }
  }
  Bounds bounds;
  bounds.left = std::max(map.region.left + static_cast<float>(left) * column_pitch, 0.0f);
  bounds.top = std::max(map.region.top + static_cast<float>(top) * row_pitch, 0.0f);
  bounds.right = std::min(map.region.left + static_cast<float>(right + 1) * column_pitch,
                          static_cast<float>(frame_width));
  bounds.bottom = std::min(map.region.top + static_cast<float>(bottom + 1) * row_pitch,
                           static_cast<float>(frame_height));
  return bounds;
}

}  // namespace vantro::engine

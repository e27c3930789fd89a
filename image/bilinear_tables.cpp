#include "image/bilinear_tables.h"

#include <algorithm>

#include "vantro/bounded.h"

namespace vantro {
namespace {

// Whole is wide enough for every position of the axis.
template <typename Whole>
void FillAxis(int src_size, int dst_size, const BilinearAxis& axis) {
  const float scale = static_cast<float>(src_size) / static_cast<float>(dst_size);
  const Whole last = src_size - 1;
  for (int i = 0; i < dst_size; ++i) {
    const float position = scale * static_cast<float>(i);
    const auto first = static_cast<int32_t>(std::min(static_cast<Whole>(position), last));
    // The sum rounds to single precision: just below a whole position it skips one neighbour.
    const auto second = static_cast<int32_t>(std::min(static_cast<Whole>(position + 1.0f), last));
    const float fraction = position - static_cast<float>(first);
    axis.first[i] = first;
    axis.second[i] = second;
    axis.first_weight[i] = 1.0f - fraction;
    axis.second_weight[i] = fraction;
  }
}

void FillAxisOfAnySize(int src_size, int dst_size, const BilinearAxis& axis) {
  // Close to 2^31 a rounded position can pass the largest int.
  if (src_size < (1 << 30)) {
    FillAxis<int32_t>(src_size, dst_size, axis);
  } else {
    FillAxis<int64_t>(src_size, dst_size, axis);
  }
}

}  // namespace

bool BilinearTables::Allocate(int dst_width, int dst_height) {
  const uint64_t width = static_cast<uint64_t>(dst_width);
  const uint64_t height = static_cast<uint64_t>(dst_height);
  const uint64_t entries = (width + height) * 2;
  indices_ = AllocFromHeap<int32_t>(entries);
  weights_ = AllocFromHeap<float>(entries);
  if (!indices_ || !weights_) return false;
  memset_s(indices_.get(), entries * sizeof(int32_t), 0, entries * sizeof(int32_t));
  memset_s(weights_.get(), entries * sizeof(float), 0, entries * sizeof(float));

  dst_width_ = dst_width;
  dst_height_ = dst_height;
  int32_t* const index = indices_.get();
  float* const weight = weights_.get();
  columns_ = {index, index + width, weight, weight + width};
  rows_ = {index + 2 * width, index + 2 * width + height, weight + 2 * width,
           weight + 2 * width + height};
  return true;
}

void BilinearTables::Fill(int src_width, int src_height) {
  FillAxisOfAnySize(src_width, dst_width_, columns_);
  FillAxisOfAnySize(src_height, dst_height_, rows_);
}

}  // namespace vantro

#include <limits>
#include <new>

#include "mask/label_runs.h"
#include "mask/union_find.h"
#include "vantro/bounded.h"
#include "vantro/mask.h"

using vantro::RunRow;

int ConnectedComponentsLabeling::newLabel() {
  if (count >= capacity) {
    // Twice the table in bytes has to stay within what a bounded copy takes.
    constexpr int32_t kLargest = std::numeric_limits<int32_t>::max() / 2 / sizeof(LabelEntry);
    if (capacity < 1 || capacity > kLargest) return VANTRO_ERR_STAGE_INPUT;
    const size_t old_bytes = static_cast<size_t>(capacity) * sizeof(LabelEntry);
    auto* larger = new (std::nothrow) LabelEntry[2 * static_cast<size_t>(capacity)];
    if (larger == nullptr) return VANTRO_ERR_STAGE_INPUT;
    memset_s(larger, 2 * old_bytes, 0, 2 * old_bytes);
    memcpy_s(larger, 2 * old_bytes, table, old_bytes);
    delete[] table;
    table = larger;
    capacity *= 2;
  }
  table[count].label = count;
  table[count].parent = count;
  return count++;
}

int ConnectedComponentsLabeling::merge(int a, int b) {
  if (a < 0 || a >= capacity || b < 0 || b >= capacity) return VANTRO_ERR_STAGE_INPUT;
  return vantro::JoinSets(table, a, b) ? 1 : 0;
}

int ConnectedComponentsLabeling::labelImage(unsigned char* mask, int* labels, int width,
                                            int height) {
  if (width < 1 || height < 1) return VANTRO_OK;
  if (mask == nullptr || labels == nullptr) return VANTRO_ERR_STAGE_INPUT;
  RunRow above{};
  for (int32_t y = 0; y < height; ++y) {
    const ptrdiff_t offset = ptrdiff_t{y} * width;
    RunRow row{mask + offset, labels + offset, nullptr, 0};
    const bool labelled = vantro::LabelRow(*this, y == 0 ? nullptr : &above, width, &row);
    vantro::ExpandRow(above);
    if (!labelled) {
      vantro::ExpandRow(row);
      return VANTRO_ERR_STAGE_INPUT;
    }
    above = row;
  }
  vantro::ExpandRow(above);
  return VANTRO_OK;
}

int ConnectedComponentsLabeling::connected(unsigned char* mask, int* labels, int width,
                                           int height) {
  if (width < 1 || height < 1) return 0;
  if (mask == nullptr || labels == nullptr) return VANTRO_ERR_STAGE_INPUT;
  if (!vantro::LabelRows(*this, mask, labels, width, height)) return VANTRO_ERR_STAGE_INPUT;
  const int32_t regions = vantro::NumberRegions(*this);
  for (int32_t y = 0; y < height; ++y) {
    const ptrdiff_t offset = ptrdiff_t{y} * width;
    RunRow row{mask + offset, labels + offset, nullptr, 0};
    vantro::ResolveRow(*this, width, &row);
    vantro::ExpandRow(row);
  }
  return regions;
}

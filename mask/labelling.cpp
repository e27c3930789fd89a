#include <limits>
#include <new>

#include "mask/label_runs.h"
#include "mask/label_table.h"
#include "mask/union_find.h"
#include "vantro/bounded.h"
#include "vantro/mask.h"

namespace vantro {

bool GrowTable(ConnectedComponentsLabeling& labeller) {
  // Twice the table in bytes has to stay within what a bounded copy takes.
  constexpr int32_t kLargest = std::numeric_limits<int32_t>::max() / 2 / sizeof(LabelEntry);
  if (labeller.capacity < 1 || labeller.capacity > kLargest) return false;
  const size_t old_bytes = static_cast<size_t>(labeller.capacity) * sizeof(LabelEntry);
  auto* larger = new (std::nothrow) LabelEntry[2 * static_cast<size_t>(labeller.capacity)];
  if (larger == nullptr) return false;
  memset_s(larger, 2 * old_bytes, 0, 2 * old_bytes);
  memcpy_s(larger, 2 * old_bytes, labeller.table, old_bytes);
  delete[] labeller.table;
  labeller.table = larger;
  labeller.capacity *= 2;
  return true;
}

namespace {

// Numbers the roots of the table in rising order; returns how many there are.
int32_t NumberRegions(ConnectedComponentsLabeling& labeller) {
  int32_t regions = 0;
  for (int32_t i = 0; i < labeller.count; ++i) {
    LabelEntry& entry = labeller.table[i];
    // No branch: in noise nobody foretells which labels are roots.
    const auto root = static_cast<int32_t>(entry.parent == i);
    entry.region ^= (entry.region ^ regions) & -root;
    regions += root;
  }
  return regions;
}

}  // namespace
}  // namespace vantro

int ConnectedComponentsLabeling::newLabel() { return vantro::HandOutLabel(*this); }

int ConnectedComponentsLabeling::merge(int a, int b) {
  if (a < 0 || a >= capacity || b < 0 || b >= capacity) return VANTRO_ERR_STAGE_INPUT;
  return vantro::JoinSets(table, a, b).was_one ? 1 : 0;
}

int ConnectedComponentsLabeling::labelImage(unsigned char* mask, int* labels, int width,
                                            int height) {
  if (width < 1 || height < 1) return VANTRO_OK;
  if (mask == nullptr || labels == nullptr) return VANTRO_ERR_STAGE_INPUT;
  const vantro::MaskPixels view{mask, width, height};
  // The labels of a row are asked for by the row below.
  for (int32_t y = 0; y < height; ++y) {
    const int32_t labelled = vantro::LabelRuns(*this, view, y, labels);
    if (y > 0) vantro::ExpandLabels(view, y - 1, width, labels);
    if (labelled == width && y + 1 < height) continue;
    vantro::ExpandLabels(view, y, labelled, labels);
    if (labelled < width) return VANTRO_ERR_STAGE_INPUT;
  }
  return VANTRO_OK;
}

int ConnectedComponentsLabeling::connected(unsigned char* mask, int* labels, int width,
                                           int height) {
  if (width < 1 || height < 1) return 0;
  if (mask == nullptr || labels == nullptr) return VANTRO_ERR_STAGE_INPUT;
  const vantro::MaskPixels view{mask, width, height};
  for (int32_t y = 0; y < height; ++y) {
    if (vantro::LabelRuns(*this, view, y, labels) < width) return VANTRO_ERR_STAGE_INPUT;
  }
  const int32_t regions = vantro::NumberRegions(*this);
  vantro::ExpandRegions(table, view, labels);
  return regions;
}

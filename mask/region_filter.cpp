#include <algorithm>

#include "mask/label_runs.h"
#include "mask/owned_labeller.h"
#include "mask/region_table.h"
#include "support/log.h"
#include "support/scratch.h"
#include "vantro/algo_context.h"
#include "vantro/mask.h"

namespace {

using vantro::RunRow;

constexpr int32_t kFirstTableSize = 128;

struct MaskView {
  unsigned char* pixels;
  int32_t* runs;  // a label image that holds runs
  int32_t width;
  int32_t height;
};

int ReportNoMemory() {
  VANTRO_LOGE(vantro::kTagVideo, "result is malloc failed\n");
  return vantro::kRegionFilterNoMemory;
}

// Puts region numbers into the runs and sums up the regions' pixels.
void MeasureRegions(ConnectedComponentsLabeling& labeller, const MaskView& mask, int32_t* area) {
  for (int32_t y = 0; y < mask.height; ++y) {
    const ptrdiff_t offset = ptrdiff_t{y} * mask.width;
    RunRow row{mask.pixels + offset, mask.runs + offset, nullptr, 0};
    vantro::ResolveRow(labeller, mask.width, &row);
    for (const int32_t* at = row.runs; at != row.end;) {
      const vantro::LabelRun run = vantro::NextRun(&at);
      area[run.label] += run.length;
    }
  }
}

void ClearSmallRegions(const MaskView& mask, const int32_t* area, int32_t threshold) {
  for (int32_t y = 0; y < mask.height; ++y) {
    const ptrdiff_t offset = ptrdiff_t{y} * mask.width;
    const int32_t* at = mask.runs + offset;
    for (int32_t column = 0; column < mask.width;) {
      const vantro::LabelRun run = vantro::NextRun(&at);
      if (area[run.label] < threshold) {
        std::fill_n(mask.pixels + offset + column, run.length, static_cast<unsigned char>(0));
      }
      column += run.length;
    }
  }
}

// percent per cent of all pixels; the product wraps in 32 bits.
int32_t SmallestArea(int32_t pixels, int percent) {
  return static_cast<int32_t>(static_cast<uint32_t>(pixels) * static_cast<uint32_t>(percent)) / 100;
}

}  // namespace

int connectionFilter(void* cxt, unsigned char* mask, int width, int height, int percent) {
  if (width < 1 || height < 1) return VANTRO_ERR_MASK_SIZE;
  if (cxt == nullptr || mask == nullptr) return VANTRO_ERR_STAGE_INPUT;

  vantro::OwnedLabeller labeller(kFirstTableSize);
  const int64_t pixels = int64_t{width} * height;
  const auto result = vantro::AllocFromPool<int32_t>(static_cast<AlgoCxt*>(cxt)->pool,
                                                     static_cast<uint64_t>(pixels), "result");
  if (result == nullptr || !labeller.valid()) return ReportNoMemory();

  const MaskView view{mask, result.get(), width, height};
  const bool labelled = vantro::LabelRows(labeller, mask, view.runs, width, height);
  const int32_t regions = labelled ? vantro::NumberRegions(labeller) : 0;
  if (regions < 1) {
    VANTRO_LOGE(vantro::kTagVideo, "connNum is error\n");
    return VANTRO_ERR_NO_REGION;
  }

  const vantro::HeapBlock<int32_t> area = vantro::MakeRegionTable(regions);
  if (area == nullptr) return ReportNoMemory();
  MeasureRegions(labeller, view, area.get());
  ClearSmallRegions(view, area.get(), SmallestArea(static_cast<int32_t>(pixels), percent));
  return VANTRO_OK;
}

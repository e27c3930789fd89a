#include "mask/region_runs.h"
#include "mask/region_table.h"
#include "support/log.h"
#include "support/scratch.h"
#include "vantro/algo_context.h"
#include "vantro/mask.h"

namespace {

// percent per cent of all pixels; the product wraps in 32 bits.
int32_t SmallestArea(int32_t pixels, int percent) {
  return static_cast<int32_t>(static_cast<uint32_t>(pixels) * static_cast<uint32_t>(percent)) / 100;
}

}  // namespace

int connectionFilter(void* cxt, unsigned char* mask, int width, int height, int percent) {
  if (width < 1 || height < 1) return VANTRO_ERR_MASK_SIZE;
  if (cxt == nullptr || mask == nullptr) return VANTRO_ERR_STAGE_INPUT;

  const int64_t pixels = int64_t{width} * height;
  const auto result = vantro::AllocFromPool<int32_t>(static_cast<AlgoCxt*>(cxt)->pool,
                                                     static_cast<uint64_t>(pixels), "result");
  if (result == nullptr) {
    VANTRO_LOGE(vantro::kTagVideo, "result is malloc failed\n");
    return vantro::kRegionFilterNoMemory;
  }
  const vantro::MaskPixels view{mask, width, height};
  vantro::JoinRuns(view, result.get());
  vantro::ClearSmallRegions(view, result.get(),
                            SmallestArea(static_cast<int32_t>(pixels), percent));
  return VANTRO_OK;
}

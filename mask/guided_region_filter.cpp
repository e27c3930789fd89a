#include <limits>
#include <memory>

#include "mask/owned_labeller.h"
#include "mask/region_table.h"
#include "support/log.h"
#include "support/timing_line.h"
#include "vantro/mask.h"
#include "vantro/tracked_alloc.h"

namespace {

constexpr int32_t kFirstTableSize = 2048;
constexpr char kName[] = "Vantro";

struct HookDeleter {
  void operator()(int32_t* block) const { ffree(block, kName, 0); }
};
using HookBlock = std::unique_ptr<int32_t[], HookDeleter>;

HookBlock AllocLabelImage(int width, int height) {
  const uint64_t bytes =
      uint64_t{sizeof(int32_t)} * static_cast<uint32_t>(width) * static_cast<uint32_t>(height);
  if (fmalloc == nullptr || ffree == nullptr ||
      bytes > static_cast<uint64_t>(std::numeric_limits<int32_t>::max())) {
    return nullptr;
  }
  return HookBlock(static_cast<int32_t*>(fmalloc(static_cast<uint32_t>(bytes), kName, 0)));
}

}  // namespace

int connectionFilterGuide(void* /*cxt*/, unsigned char* mask, unsigned char* guide, int width,
                          int height) {
  if (width < 1 || height < 1) return VANTRO_ERR_MASK_SIZE;
  if (mask == nullptr || guide == nullptr) return VANTRO_ERR_STAGE_INPUT;

  vantro::OwnedLabeller labeller(kFirstTableSize);
  const HookBlock labels = AllocLabelImage(width, height);
  if (labels == nullptr || !labeller.valid()) return vantro::kRegionFilterNoMemory;

  const vantro::Moment label_start = vantro::Now();
  const int regions = labeller.connected(mask, labels.get(), width, height);
  vantro::WriteTimingLine("connNum_", label_start);
  if (regions < 1) return vantro::kRegionFilterNoMemory;

  const vantro::HeapBlock<int32_t> flags = vantro::MakeRegionTable(regions);
  if (flags == nullptr) return vantro::kRegionFilterNoMemory;
  const vantro::Moment judge_start = vantro::Now();
  JudgeArea(labels.get(), guide, width, height, regions, flags.get());
  vantro::WriteTimingLine("JudgeArea_", judge_start);
  VANTRO_LOGI(vantro::kTagPlain, "[vantro]connectionFilterGuide connected_field=%d", regions);

  const vantro::Moment clear_start = vantro::Now();
  getMaskbyBase(mask, labels.get(), width, height, flags.get());
  vantro::WriteTimingLine("getMaskbyBase_", clear_start);
  return VANTRO_OK;
}

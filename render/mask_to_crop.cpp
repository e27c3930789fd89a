#include "render/mask_to_crop.h"

#include "support/scratch.h"
#include "support/timing_line.h"
#include "vantro/bounded.h"
#include "vantro/image.h"
#include "vantro/render.h"

namespace vantro {
namespace {

void ResizeMask(const uint8_t* mask, MaskSize mask_size, uint8_t* out, MaskSize out_size,
                const char* label, bool timed) {
  const Moment start = Now();
  // The resize leaves its destination alone when it has no memory for its tables; the mask is then
  // empty instead of undefined.
  const size_t bytes = static_cast<size_t>(out_size.width) * static_cast<size_t>(out_size.height);
  memset_s(out, bytes, 0, bytes);
  ResizeUchar(mask, out, mask_size.width, mask_size.height, out_size.width, out_size.height);
  if (timed) WriteTimingLine(label, start);
}

bool FitsFactor(MaskSize mask, MaskSize crop, int32_t factor) {
  return mask.width < crop.width / factor && mask.height < crop.height / factor &&
         crop.width % factor == 0 && crop.height % factor == 0;
}

}  // namespace

bool StretchMask(const uint8_t* mask, MaskSize mask_size, uint8_t* crop, MaskSize crop_size,
                 MemPool* pool, bool timed) {
  const int32_t factor = FitsFactor(mask_size, crop_size, 4)   ? 4
                         : FitsFactor(mask_size, crop_size, 2) ? 2
                                                               : 1;
  if (factor == 1) {
    ResizeMask(mask, mask_size, crop, crop_size, "up_scale_context_1", timed);
    return true;
  }

  const MaskSize reduced{crop_size.width / factor, crop_size.height / factor};
  const PoolBlock<uint8_t> block = AllocFromPool<uint8_t>(
      pool, static_cast<uint64_t>(reduced.width) * static_cast<uint64_t>(reduced.height),
      factor == 4 ? "crop_mask_d4x4" : "crop_mask_d2x2");
  if (block == nullptr) return false;
  uint8_t* reduced_mask = block.get();

  ResizeMask(mask, mask_size, reduced_mask, reduced,
             factor == 4 ? "up_scale_context_1_4x4" : "up_scale_context_1_2x2", timed);
  const Moment start = Now();
  if (factor == 4) {
    upScale4x4(crop, reduced_mask, reduced.width, reduced.height, crop_size.width, reduced.width);
    if (timed) WriteTimingLine("up_scale_context_2_4x4", start);
  } else {
    upScale2x2(crop, reduced_mask, crop_size.width, crop_size.height, crop_size.width,
               reduced.width, reduced.height, reduced.width, 0, crop_size.height);
    if (timed) WriteTimingLine("up_scale_context_2_2x2", start);
  }
  return true;
}

}  // namespace vantro

// Brings a mask from segmentation resolution to the size of the crop box.
#ifndef VANTRO_RENDER_MASK_TO_CROP_H_
#define VANTRO_RENDER_MASK_TO_CROP_H_

#include <cstdint>

#include "vantro/vantro.h"

namespace vantro {

struct MaskSize {
  int32_t width;
  int32_t height;
};

// Stretches `mask` over `crop`, which has crop_size.width * crop_size.height bytes. A box more than
// four (two) times as large in both directions is filled by the fixed 4x (2x) filter from a mask
// resized to a quarter (half) of it, in scratch memory of `pool`; any other in one resize. Writes a
// timing line a step when `timed`. Returns false when the pool has no memory.
bool StretchMask(const uint8_t* mask, MaskSize mask_size, uint8_t* crop, MaskSize crop_size,
                 MemPool* pool, bool timed);

}  // namespace vantro

#endif  // VANTRO_RENDER_MASK_TO_CROP_H_

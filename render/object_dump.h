// The image dumps of the compositing stage.
#ifndef VANTRO_RENDER_OBJECT_DUMP_H_
#define VANTRO_RENDER_OBJECT_DUMP_H_

#include <cstdint>

#include "vantro/vantro.h"

namespace vantro {

// Dumps the crop-size mask (subject as 200) and the frame before the blend. Returns false, with a
// log line and nothing dumped, when there is no memory for the mask's image.
bool DumpBeforeBlend(const Vantro_t& frame, const uint8_t* crop_mask, int32_t crop_width,
                     int32_t crop_height);

// Dumps the frame after the blend.
void DumpAfterBlend(const Vantro_t& frame);

}  // namespace vantro

#endif  // VANTRO_RENDER_OBJECT_DUMP_H_

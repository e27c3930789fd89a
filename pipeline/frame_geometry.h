// Sizes and rectangles of a frame as its record describes it.
#ifndef VANTRO_PIPELINE_FRAME_GEOMETRY_H_
#define VANTRO_PIPELINE_FRAME_GEOMETRY_H_

#include <cstdint>

#include "vantro/vantro.h"

namespace vantro {

// Bytes of the picture that the record describes; 0 for a stride that describes none. An unknown
// format counts as one plane.
int64_t FrameBytes(const Vantro_t& frame);

// True if the stages render this format.
bool IsRenderedFormat(uint8_t yuv_format);

// True if the picture has more bytes than an int32 counts; no buffer of it is rendered.
bool IsOversized(const Vantro_t& frame);

// The rectangle to render: the record's own, or the whole frame when that is empty or does not lie
// inside the frame; aux0 and aux1 are kept. Then widened to even positions and sizes where chroma
// is shared: both axes for NV21, the horizontal axis for UYVY, none for the others.
Rect_t RenderRect(const Vantro_t& frame);

}  // namespace vantro

#endif  // VANTRO_PIPELINE_FRAME_GEOMETRY_H_

// A still picture in the layouts of the effect, and back.
#ifndef VANTRO_APP_PHOTO_FRAME_LAYOUT_H_
#define VANTRO_APP_PHOTO_FRAME_LAYOUT_H_

#include <cstdint>

#include "app/frame_format.h"
#include "app/photo/raster.h"

namespace vantro::app {

// The frame that holds the picture: even sides, an odd last column or row repeated.
FrameShape FrameShapeOf(const Raster& raster, const FrameFormat& format);

// Fills a frame of that shape (shape.bytes() bytes). Chroma is averaged, or repeated, to the
// resolution of the layout; a grey picture gets neutral chroma.
void StoreFrame(const Raster& raster, const FrameShape& shape, uint8_t* frame);

// Takes the effect over into the picture that was stored before. The effect either leaves a chroma
// sample as it is or changes it, and the layout may hold fewer of them than the picture does:
// where the frame's chroma is as it was stored, the picture keeps its own, finer and unchanged;
// elsewhere it gets the frame's.
void TakeRenderedFrame(const FrameShape& shape, const uint8_t* frame, Raster& raster);

}  // namespace vantro::app

#endif  // VANTRO_APP_PHOTO_FRAME_LAYOUT_H_

// Between red, green, blue and the full-range BT.601 luma and chroma of JFIF files.
#ifndef VANTRO_APP_PHOTO_COLOUR_H_
#define VANTRO_APP_PHOTO_COLOUR_H_

#include <cstdint>

#include "app/photo/raster.h"

namespace vantro::app {

// Stores row `y` of a picture that has full or no chroma. `channels` samples a pixel: 1 grey,
// 2 grey and alpha, 3 red, green and blue, 4 these and alpha; alpha goes into the alpha plane.
void StorePixels(const uint8_t* pixels, int channels, int y, Raster& raster);

// The same back; `channels` as above, 1 and 2 only for a grey picture. Without an alpha plane the
// alpha is 255. `scratch` keeps its memory from row to row.
void LoadPixels(const Raster& raster, int y, int channels, uint8_t* pixels, Plane& scratch);

}  // namespace vantro::app

#endif  // VANTRO_APP_PHOTO_COLOUR_H_

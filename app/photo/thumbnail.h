// A small copy of a still picture.
#ifndef VANTRO_APP_PHOTO_THUMBNAIL_H_
#define VANTRO_APP_PHOTO_THUMBNAIL_H_

#include "app/photo/raster.h"
#include "app/picture.h"

namespace vantro::app {

// Reduces the picture to fit the given size, each pixel the mean of those it covers; a picture that
// fits stays as it is.
Picture Thumbnail(const Raster& raster, int most_width, int most_height);

}  // namespace vantro::app

#endif  // VANTRO_APP_PHOTO_THUMBNAIL_H_

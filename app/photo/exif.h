// The few facts of a picture's Exif block that turning and rendering it make wrong.
#ifndef VANTRO_APP_PHOTO_EXIF_H_
#define VANTRO_APP_PHOTO_EXIF_H_

#include <cstdint>
#include <vector>

#include "app/orientation.h"

namespace vantro::app {

// An Exif block is a TIFF structure (CIPA DC-008): it begins with "II*\0" or "MM\0*". Blocks are
// not trusted: what lies outside the block is not there.
using ExifBlock = std::vector<uint8_t>;

// Upright when the block says nothing, or nothing sensible.
Orientation ExifOrientation(const ExifBlock& exif);

// Makes the block tell the truth about an upright picture of this size that no longer looks like
// its thumbnail: the orientation becomes 1, the sizes are set, the thumbnail is removed. All other
// bytes stay as they are, camera makers' private notes included.
void UpdateExif(ExifBlock& exif, int width, int height);

}  // namespace vantro::app

#endif  // VANTRO_APP_PHOTO_EXIF_H_

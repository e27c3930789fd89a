// A still picture in memory, as the effect sees it: full-range BT.601 luma and chroma.
#ifndef VANTRO_APP_PHOTO_RASTER_H_
#define VANTRO_APP_PHOTO_RASTER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "app/orientation.h"

namespace vantro::app {

// Samples of one kind, rows without gaps.
struct Plane {
  Plane() = default;
  Plane(int plane_width, int plane_height)
      : width(plane_width),
        height(plane_height),
        samples(static_cast<size_t>(plane_width) * static_cast<size_t>(plane_height)) {}

  bool empty() const { return samples.empty(); }
  uint8_t* row(int y) { return samples.data() + static_cast<ptrdiff_t>(y) * width; }
  const uint8_t* row(int y) const { return samples.data() + static_cast<ptrdiff_t>(y) * width; }

  int width = 0;
  int height = 0;
  std::vector<uint8_t> samples;
};

// The luma and chroma of JFIF files. Keeping a JPEG file's own samples, at its own chroma
// resolution, means that nothing but the effect changes them.
struct Raster {
  Raster() = default;
  Raster(int picture_width, int picture_height, bool is_grey, int shift_x, int shift_y);

  int width = 0;
  int height = 0;
  bool grey = false;       // no chroma planes
  int chroma_shift_x = 0;  // chroma planes are (width + 1) >> shift wide, rounded up;
  int chroma_shift_y = 0;  // a chroma sample lies in the middle of the pixels it covers
  Plane luma;
  Plane cb;
  Plane cr;
  Plane alpha;  // empty when opaque; only with full or no chroma
};

// Refuses sizes that no picture has or that this program does not hold in memory. Throws RunError.
void CheckPictureSize(int64_t width, int64_t height);

// Row `y` of a chroma plane of `raster`, interpolated to one sample a pixel.
void FullChromaRow(const Raster& raster, const Plane& chroma, int y, uint8_t* out);

// The picture the right way up.
Raster Turned(Raster raster, const Orientation& orientation);

// Two pictures of the same size and kind, `left` and `right`.
Raster SideBySide(Raster left, Raster right);

// Takes the transparency away: the picture as it looks on white paper.
void FlattenOnWhite(Raster& raster);

}  // namespace vantro::app

#endif  // VANTRO_APP_PHOTO_RASTER_H_

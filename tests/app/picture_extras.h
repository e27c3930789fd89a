// Colour profiles and Exif blocks for the tests, and as they lie in JPEG, PNG and WebP files.
#ifndef VANTRO_TESTS_APP_PICTURE_EXTRAS_H_
#define VANTRO_TESTS_APP_PICTURE_EXTRAS_H_

#include <array>
#include <string>

#include "tests/app/clip.h"  // Bytes

namespace vantro::test {

struct PictureExtras {
  Bytes icc;
  Bytes exif;  // the TIFF structure
};

// A profile that libraries accept for RGB (or for grey) pictures.
Bytes MakeProfile(bool grey = false);
// Orientation, sizes, a private note of the camera and a thumbnail; big or little endian.
struct ExifContent {
  int orientation = 1;
  int width = 0;
  int height = 0;
  std::string note;
  std::string thumbnail;
};
Bytes MakeExif(const ExifContent& content, bool big_endian);
// The same read back; a missing part is 0 or empty.
ExifContent ParseExif(const Bytes& exif);

PictureExtras ReadExtras(const std::string& path);
// Luma sampling factors of a JPEG file.
std::array<int, 2> JpegSampling(const std::string& path);

}  // namespace vantro::test

#endif  // VANTRO_TESTS_APP_PICTURE_EXTRAS_H_

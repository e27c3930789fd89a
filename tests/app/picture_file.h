// Small pictures for the tests, written and read with the formats' own libraries.
#ifndef VANTRO_TESTS_APP_PICTURE_FILE_H_
#define VANTRO_TESTS_APP_PICTURE_FILE_H_

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/app/clip.h"  // Bytes

namespace vantro::test {

// Eight-bit samples, rows without gaps; 1 grey, 2 grey and alpha, 3 red, green, blue, 4 with alpha
// (of a JPEG file cyan, magenta, yellow, black).
struct TestPicture {
  TestPicture() = default;
  TestPicture(int picture_width, int picture_height, int picture_channels)
      : width(picture_width),
        height(picture_height),
        channels(picture_channels),
        samples(static_cast<size_t>(width * height * channels)) {}
  uint8_t* at(int x, int y) { return &samples[static_cast<size_t>((y * width + x) * channels)]; }
  const uint8_t* at(int x, int y) const { return const_cast<TestPicture*>(this)->at(x, y); }
  bool same_samples(const TestPicture& other) const {
    return std::pair(width, channels) == std::pair(other.width, other.channels) &&
           samples == other.samples;
  }

  int width = 0;
  int height = 0;
  int channels = 0;
  Bytes samples;
  Bytes icc;                              // colour profile
  Bytes exif;                             // the TIFF structure
  int gamma = 0;                          // of a PNG file without a profile
  std::pair<int, int> sampling = {2, 2};  // of a JPEG file's luma, across and down
};

// The picture that a file of this Exif orientation (1 to 8) stores, so that viewers show `upright`.
TestPicture StoredLike(const TestPicture& upright, int orientation);
// A profile that libraries accept for RGB (or for grey) pictures, of this size or a little more.
Bytes MakeProfile(size_t size, bool grey = false);
// Orientation, sizes, a private note and a thumbnail, each as text; big or little endian.
struct ExifContent {
  int orientation = 1;
  int width = 0;
  int height = 0;
  bool big_endian = false;
  std::string note{"maker's private\0bytes", 21};
  std::string thumbnail = "THUMBNAIL";
};
Bytes MakeExif(const ExifContent& content);
// The block as it should be for an upright picture of this size: everything else as it was, but for
// the thumbnail.
Bytes UprightExif(const ExifContent& content, int width, int height);

void WriteTestJpeg(const std::string& path, const TestPicture& picture, bool progressive = false);
void WriteTestPng(const std::string& path, const TestPicture& picture, bool interlaced = false);
void WriteTestWebp(const std::string& path, const TestPicture& picture);
// False when this libheif has no encoder.
bool WriteTestHeic(const std::string& path, const TestPicture& picture);

// Any of JPEG, PNG, WebP; the number of channels is the file's. Empty when the file is damaged.
TestPicture ReadPicture(const std::string& path);

}  // namespace vantro::test

#endif  // VANTRO_TESTS_APP_PICTURE_FILE_H_

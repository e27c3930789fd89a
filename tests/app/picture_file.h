// Small pictures for the tests, written and read with the formats' own libraries.
#ifndef VANTRO_TESTS_APP_PICTURE_FILE_H_
#define VANTRO_TESTS_APP_PICTURE_FILE_H_

#include <cstdint>
#include <string>
#include <vector>

#include "tests/app/picture_extras.h"

namespace vantro::test {

// Eight-bit samples, rows without gaps; 1 grey, 2 grey and alpha, 3 red, green, blue, 4 with alpha.
struct TestPicture {
  TestPicture() = default;
  TestPicture(int picture_width, int picture_height, int picture_channels)
      : width(picture_width), height(picture_height), channels(picture_channels) {
    samples.resize(static_cast<size_t>(width) * static_cast<size_t>(height) *
                   static_cast<size_t>(channels));
  }
  uint8_t* at(int x, int y) {
    return &samples[(static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) *
                    static_cast<size_t>(channels)];
  }
  const uint8_t* at(int x, int y) const { return const_cast<TestPicture*>(this)->at(x, y); }
  bool operator==(const TestPicture&) const = default;

  int width = 0;
  int height = 0;
  int channels = 0;
  Bytes samples;
};

// The picture that a file of this Exif orientation (1 to 8) stores, so that viewers show `upright`.
TestPicture StoredLike(const TestPicture& upright, int orientation);

// Chroma resolution of a JPEG file as libjpeg's sampling factors of the luma.
struct JpegKind {
  int h = 2;
  int v = 2;
  bool progressive = false;
  bool cmyk = false;
};
void WriteTestJpeg(const std::string& path, const TestPicture& picture, const JpegKind& kind = {},
                   const PictureExtras& extras = {});
void WriteTestPng(const std::string& path, const TestPicture& picture,
                  const PictureExtras& extras = {}, bool interlaced = false);
void WriteTestWebp(const std::string& path, const TestPicture& picture,
                   const PictureExtras& extras = {});
// False when this libheif has no encoder.
bool WriteTestHeic(const std::string& path, const TestPicture& picture,
                   const PictureExtras& extras = {});

// Any of JPEG, PNG, WebP; the number of channels is the file's.
TestPicture ReadPicture(const std::string& path);

}  // namespace vantro::test

#endif  // VANTRO_TESTS_APP_PICTURE_FILE_H_

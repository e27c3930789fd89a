// Small pictures in memory, and those of JPEG and PNG files.
#ifndef VANTRO_TESTS_SUPPORT_PICTURE_H_
#define VANTRO_TESTS_SUPPORT_PICTURE_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vantro::test {

using Bytes = std::vector<uint8_t>;

// Eight-bit samples, rows without gaps; 1 grey, 2 grey and alpha, 3 red, green, blue, 4 with alpha
// (of a JPEG file cyan, magenta, yellow, black).
struct Picture {
  Picture() = default;
  Picture(int picture_width, int picture_height, int picture_channels = 3)
      : width(picture_width),
        height(picture_height),
        channels(picture_channels),
        samples(static_cast<size_t>(width) * static_cast<size_t>(height * channels)) {}
  uint8_t* at(int x, int y) {
    return &samples[static_cast<size_t>(y * width + x) * static_cast<size_t>(channels)];
  }
  const uint8_t* at(int x, int y) const { return const_cast<Picture*>(this)->at(x, y); }
  std::pair<int, int> size() const { return {width, height}; }

  int width = 0;
  int height = 0;
  int channels = 0;
  Bytes samples;
  Bytes icc;                              // colour profile
  Bytes exif;                             // the TIFF structure
  int gamma = 0;                          // of a PNG file without a profile
  std::pair<int, int> sampling = {2, 2};  // of a JPEG file's luma, across and down
};

// The number of channels is the file's. libjpeg's and libpng's standard error handlers end the
// program when the file is damaged, which fails the test.
Picture ReadPicture(const std::string& path);

}  // namespace vantro::test

#endif  // VANTRO_TESTS_SUPPORT_PICTURE_H_

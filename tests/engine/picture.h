// Pictures for the engine's tests: files, camera frames made of them, masks.
#ifndef VANTRO_TESTS_ENGINE_PICTURE_H_
#define VANTRO_TESTS_ENGINE_PICTURE_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vantro::test {

struct Picture {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> rgb;

  Picture() = default;
  Picture(int w, int h)
      : width(w), height(h), rgb(3 * static_cast<size_t>(w) * static_cast<size_t>(h)) {}
  uint8_t* at(int x, int y) {
    return &rgb[3 * (static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x))];
  }
  const uint8_t* at(int x, int y) const { return const_cast<Picture*>(this)->at(x, y); }
};

// Reads a PNG or JPEG file of the sample media; throws std::runtime_error with what to do.
Picture LoadMedia(const std::string& name);

// Every pixel the nearest one of `picture`.
Picture Scale(const Picture& picture, int width, int height);

// A frame as a camera delivers it (BT.601, full range; the chroma of a block is its mean), with
// `stride` pixels a row. Bytes between the rows and behind the picture hold noise.
std::vector<uint8_t> ToFrame(const Picture& picture, int format, int stride);

// The number of bytes that a frame occupies.
size_t FrameBytes(int format, int height, int stride);

}  // namespace vantro::test

#endif  // VANTRO_TESTS_ENGINE_PICTURE_H_

// Pictures for the engine's tests: files, camera frames made of them, masks.
#ifndef VANTRO_TESTS_ENGINE_PICTURE_H_
#define VANTRO_TESTS_ENGINE_PICTURE_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/picture.h"

namespace vantro::test {

// A picture of the sample media.
Picture LoadMedia(const std::string& name);

// Every pixel the nearest one of `picture`.
Picture Scale(const Picture& picture, int width, int height);

// A frame as a camera delivers it (BT.601, full range; the chroma of a block is its mean), with
// `stride` pixels a row. Bytes between the rows and behind the picture hold noise.
std::vector<uint8_t> ToFrame(const Picture& picture, int format, int stride);

// The number of bytes that a frame occupies.
size_t FrameBytes(int format, int height, int stride);

// The 256x256 mask over a whole picture of the sample media, by the picture's file name.
std::vector<uint8_t> LoadReferenceMask(const std::string& picture);

// Intersection over union of two masks of one size.
double Overlap(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b);

}  // namespace vantro::test

#endif  // VANTRO_TESTS_ENGINE_PICTURE_H_

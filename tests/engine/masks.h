// What the engine found, and masks to compare it with.
#ifndef VANTRO_TESTS_ENGINE_MASKS_H_
#define VANTRO_TESTS_ENGINE_MASKS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "vantro/vantro.h"

namespace vantro::test {

// What one call writes.
struct Found {
  std::vector<uint8_t> mask = std::vector<uint8_t>(256 * 256, 0xEE);
  CROP_BOX box{-7, -7, -7, -7, 2};
  CROP_BOX crop{-7, -7, -7, -7, 2};

  bool untouched() const;
};

// The mask at frame resolution: 1 where the frame shows the person.
std::vector<uint8_t> OnFrame(const Found& found, int width, int height);

// Intersection over union of two masks of one size.
double Overlap(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b);

// The 256x256 mask over a whole picture of the sample media, by the picture's file name.
std::vector<uint8_t> LoadReferenceMask(const std::string& picture);

}  // namespace vantro::test

#endif  // VANTRO_TESTS_ENGINE_MASKS_H_

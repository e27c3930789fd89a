// Masks with regions of many shapes and sizes.
#ifndef VANTRO_TESTS_MASK_RANDOM_MASKS_H_
#define VANTRO_TESTS_MASK_RANDOM_MASKS_H_

#include <algorithm>
#include <vector>

#include "tests/image/image_buffers.h"

namespace vantro::test {

// Rectangles of random values below `values` over each other, then single pixels of noise.
inline Bytes RandomMask(Random& random, int width, int height, int values) {
  Bytes mask(Area(width, height), 0);
  for (int i = random.Int(0, 12); i > 0; --i) {
    const int left = random.Int(0, width - 1);
    const int top = random.Int(0, height - 1);
    const int right = random.Int(left, width - 1);
    const int bottom = random.Int(top, height - 1);
    const auto value = static_cast<uint8_t>(random.Int(0, values - 1));
    for (int y = top; y <= bottom; ++y) {
      std::fill_n(mask.begin() + y * width + left, right - left + 1, value);
    }
  }
  const int noise_per_mille = random.Int(0, 2) == 0 ? random.Int(0, 1000) : random.Int(0, 30);
  for (uint8_t& pixel : mask) {
    if (random.Int(0, 999) < noise_per_mille) {
      pixel = static_cast<uint8_t>(random.Int(0, values - 1));
    }
  }
  return mask;
}

// The number of each pixel's region, found by flooding from each pixel not yet reached.
inline std::vector<int> FloodRegions(const Bytes& mask, int width, int height, int* regions) {
  std::vector<int> region(mask.size(), -1);
  *regions = 0;
  std::vector<int> open;
  for (int seed = 0; seed < width * height; ++seed) {
    if (region[static_cast<size_t>(seed)] >= 0) continue;
    open = {seed};
    region[static_cast<size_t>(seed)] = *regions;
    while (!open.empty()) {
      const int at = open.back();
      open.pop_back();
      const auto visit = [&](int next) {
        const auto i = static_cast<size_t>(next);
        if (region[i] >= 0 || mask[i] != mask[static_cast<size_t>(at)]) return;
        region[i] = *regions;
        open.push_back(next);
      };
      if (at % width > 0) visit(at - 1);
      if (at % width < width - 1) visit(at + 1);
      if (at >= width) visit(at - width);
      if (at + width < width * height) visit(at + width);
    }
    ++*regions;
  }
  return region;
}

}  // namespace vantro::test

#endif  // VANTRO_TESTS_MASK_RANDOM_MASKS_H_

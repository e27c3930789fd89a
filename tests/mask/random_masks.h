// Masks with regions of many shapes and sizes, and a labeller for them.
#ifndef VANTRO_TESTS_MASK_RANDOM_MASKS_H_
#define VANTRO_TESTS_MASK_RANDOM_MASKS_H_

#include <algorithm>

#include "tests/image/image_buffers.h"
#include "vantro/mask.h"

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

// A labeller that owns its table.
class Labeller : public ConnectedComponentsLabeling {
 public:
  explicit Labeller(int entries)
      : ConnectedComponentsLabeling{new LabelEntry[static_cast<size_t>(entries)](), 0, entries} {}
  ~Labeller() { delete[] table; }
  Labeller(const Labeller&) = delete;
  Labeller& operator=(const Labeller&) = delete;
};

}  // namespace vantro::test

#endif  // VANTRO_TESTS_MASK_RANDOM_MASKS_H_

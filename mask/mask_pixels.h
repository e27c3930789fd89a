#ifndef VANTRO_MASK_MASK_PIXELS_H_
#define VANTRO_MASK_MASK_PIXELS_H_

#include <cstdint>

namespace vantro {

// A mask without gaps between its rows.
struct MaskPixels {
  uint8_t* pixels;
  int32_t width;
  int32_t height;
};

}  // namespace vantro

#endif  // VANTRO_MASK_MASK_PIXELS_H_

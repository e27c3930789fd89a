// How a picture lies in its file, and how to turn it upright.
#ifndef VANTRO_APP_ORIENTATION_H_
#define VANTRO_APP_ORIENTATION_H_

#include <cstdint>

#include "app/ffmpeg.h"

namespace vantro::app {

// The eight ways a picture can lie. Sample (x, y) of the upright picture is found after exchanging
// x and y when `swap_axes`, and counting from the far end along the flagged axes of the upright
// picture.
struct Orientation {
  bool swap_axes = false;
  bool flip_x = false;
  bool flip_y = false;

  bool upright() const { return !swap_axes && !flip_x && !flip_y; }

  // From the display matrix of a stream, rounded to quarter turns.
  static Orientation OfStream(const AVStream& stream);
};

// Turns one plane of `width` by `height` samples (its own size, before turning) upright.
void TurnPlane(const Orientation& orientation, const uint8_t* from, int from_stride, int width,
               int height, uint8_t* to, int to_stride);

}  // namespace vantro::app

#endif  // VANTRO_APP_ORIENTATION_H_

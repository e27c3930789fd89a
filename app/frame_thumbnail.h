// Small copies of a video's frames.
#ifndef VANTRO_APP_FRAME_THUMBNAIL_H_
#define VANTRO_APP_FRAME_THUMBNAIL_H_

#include <cstdint>

#include "app/frame_convert.h"
#include "app/frame_format.h"
#include "app/picture.h"

namespace vantro::app {

class FrameThumbnails {
 public:
  // Frames with pixels of `pixel_shape` fill the given size in one direction, and keep their shape.
  FrameThumbnails(const FrameShape& shape, const ColourInfo& colour, AVRational pixel_shape,
                  int most_width, int most_height);

  Picture Make(const uint8_t* frame);

 private:
  FrameShape shape_;
  ColourInfo colour_;
  Scaler scaler_;
  FramePtr small_;
};

}  // namespace vantro::app

#endif  // VANTRO_APP_FRAME_THUMBNAIL_H_

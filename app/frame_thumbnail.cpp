#include "app/frame_thumbnail.h"

#include <algorithm>
#include <cmath>

namespace vantro::app {

FrameThumbnails::FrameThumbnails(const FrameShape& shape, const ColourInfo& colour,
                                 AVRational pixel_shape, int most_width, int most_height)
    : shape_(shape), colour_(colour) {
  const double stretch = pixel_shape.num > 0 && pixel_shape.den > 0 ? av_q2d(pixel_shape) : 1.0;
  const double aspect = shape.height / (shape.width * stretch);
  const double width = std::min<double>(most_width, most_height / aspect);
  small_ = NewPictureFrame(
      std::max(1, static_cast<int>(std::lround(width))),
      std::clamp(static_cast<int>(std::lround(width * aspect)), 1, most_height), AV_PIX_FMT_RGB24);
}

Picture FrameThumbnails::Make(const uint8_t* frame) {
  const FramePlanes planes(shape_, const_cast<uint8_t*>(frame));
  scaler_.Scale({planes.data, planes.linesize, shape_.width, shape_.height, shape_.format.pixels},
                small_->data, small_->linesize, small_->width, small_->height, AV_PIX_FMT_RGB24,
                colour_);
  return Picture(small_->width, small_->height, small_->data[0], small_->linesize[0]);
}

}  // namespace vantro::app

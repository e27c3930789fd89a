// A page that shows what the library found out about every frame of a video.
#ifndef VANTRO_APP_REPORT_SCENE_REPORT_H_
#define VANTRO_APP_REPORT_SCENE_REPORT_H_

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "app/effect_session.h"
#include "app/frame_convert.h"
#include "app/frame_format.h"
#include "app/frame_thumbnail.h"
#include "app/report/motion_meter.h"

namespace vantro::app {

class SceneReport {
 public:
  SceneReport(const FrameShape& shape, const ColourInfo& colour, AVRational pixel_shape);

  // A frame before the effect, and its time in seconds. Called for every frame, in order.
  void AddBefore(double seconds, const uint8_t* picture);
  // The first of these frames that has not been added yet, after the effect.
  void AddAfter(const uint8_t* picture, const FrameFacts& facts);

  // The page: one HTML file that needs nothing else. `source` names the video.
  std::string Page(const std::string& source) const;

 private:
  struct Frame {
    double seconds;
    double motion_sum;
    FrameFacts facts;
  };
  // The picture of a frame at which some flag changed.
  struct Change {
    size_t frame;
    std::string jpeg;  // in base 64
  };

  void KeepThumbnail(const uint8_t* picture);
  std::string Data(const std::string& source) const;

  FrameShape shape_;
  FrameThumbnails thumbnails_;
  MotionMeter meter_;
  std::deque<Frame> before_;  // read, and still to be rendered
  std::vector<Frame> frames_;
  std::vector<Change> changes_;
  size_t change_count_ = 0;
  size_t change_step_ = 1;  // every n-th change is kept
};

}  // namespace vantro::app

#endif  // VANTRO_APP_REPORT_SCENE_REPORT_H_

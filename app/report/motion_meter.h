// How much moves between two frames.
#ifndef VANTRO_APP_REPORT_MOTION_METER_H_
#define VANTRO_APP_REPORT_MOTION_METER_H_

#include <cstdint>
#include <vector>

#include "app/frame_format.h"
#include "vantro/motion.h"

namespace vantro::app {

// Measures as the library's motion check does, with its own functions: the dense optical flow
// between copies of the luma of kSide by kSide pixels.
class MotionMeter {
 public:
  static constexpr int kSide = 100;
  // Above this sum the check calls it motion.
  static constexpr double kThreshold = 20000;

  MotionMeter();
  ~MotionMeter();
  MotionMeter(const MotionMeter&) = delete;
  MotionMeter& operator=(const MotionMeter&) = delete;

  // The sum of |dx| + |dy| over the field from this frame to the one before; 0 for the first.
  double Measure(const FrameShape& shape, const uint8_t* frame);

 private:
  ME_Handler* flow_ = nullptr;
  std::vector<uint8_t> luma_;
  std::vector<uint8_t> last_luma_;  // empty before the first frame
};

}  // namespace vantro::app

#endif  // VANTRO_APP_REPORT_MOTION_METER_H_

// Timing lines of a handle's steps.
#ifndef VANTRO_PIPELINE_STEP_TIMER_H_
#define VANTRO_PIPELINE_STEP_TIMER_H_

#include "pipeline/context.h"
#include "support/timing_line.h"

namespace vantro {

// Takes a moment when it is made. Lines are written only while the handle's log switch is on; the
// moment is taken either way.
class StepTimer {
 public:
  explicit StepTimer(const VantroContext& cxt) : on_(cxt.printlog != 0), start_(Now()) {}
  void Line(const char* label) const {
    if (on_) WriteTimingLine(label, start_);
  }

 private:
  bool on_;
  Moment start_;
};

}  // namespace vantro

#endif  // VANTRO_PIPELINE_STEP_TIMER_H_

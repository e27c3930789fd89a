// Moments and the timing line that the pipelines and stages write after a measured step.
#ifndef VANTRO_SUPPORT_TIMING_LINE_H_
#define VANTRO_SUPPORT_TIMING_LINE_H_

#include <sys/time.h>

namespace vantro {

// Wall-clock moment with microseconds.
struct Moment {
  timeval time;
};

Moment Now();

// Writes "[QZA_MVANTRO]===[ <label> ]=== cost: <milliseconds> ms" to the log at DEBUG under the
// video tag, to the log at ERROR under the photo tag, and to standard output. The label is padded
// or cut to 40 characters.
void WriteTimingLine(const char* label, Moment start, Moment end);

// The same, measured up to the moment of the call.
inline void WriteTimingLine(const char* label, Moment start) {
  WriteTimingLine(label, start, Now());
}

}  // namespace vantro

#endif  // VANTRO_SUPPORT_TIMING_LINE_H_

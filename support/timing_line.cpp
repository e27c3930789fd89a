#include "support/timing_line.h"

#include <cstdio>

#include "support/log.h"

namespace vantro {

Moment Now() {
  Moment moment{};
  gettimeofday(&moment.time, nullptr);
  return moment;
}

void WriteTimingLine(const char* label, Moment start, Moment end) {
  static constexpr char kFormat[] = "[QZA_MVANTRO]===[ %-40.40s ]=== cost: %10.3lf ms\n";
  // Single precision is part of the line's definition; spans of hours lose their microseconds.
  const float micro_part = static_cast<float>(end.time.tv_usec - start.time.tv_usec) / 1000.0f;
  const float second_part = static_cast<float>((end.time.tv_sec - start.time.tv_sec) * 1000);
  const double milliseconds = static_cast<double>(micro_part + second_part);
  VANTRO_LOGD(kTagVideo, kFormat, label, milliseconds);
  VANTRO_LOGE(kTagPhoto, kFormat, label, milliseconds);
  std::printf(kFormat, label, milliseconds);
}

}  // namespace vantro

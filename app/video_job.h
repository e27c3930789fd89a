// Rendering one video, from the file that is read to the file that is written.
#ifndef VANTRO_APP_VIDEO_JOB_H_
#define VANTRO_APP_VIDEO_JOB_H_

#include <cstdint>
#include <optional>
#include <string>

#include "app/contact_sheet.h"
#include "app/effect_session.h"
#include "app/frame_convert.h"
#include "app/progress.h"
#include "app/report/scene_report.h"
#include "app/video_reader.h"
#include "app/video_writer.h"

namespace vantro::app {

struct VideoOptions {
  std::string input;
  std::string output;
  std::string engine;         // empty: the one the library finds
  std::string contact_sheet;  // empty: none
  std::string report;         // empty: none
  FrameFormat format = kFrameFormats[0];
  std::optional<Rect_t> rect;
  int threads = 0;
  bool overwrite = false;
  bool verbose = false;
};

// Where the time went, in seconds.
struct PhaseTimes {
  double decode = 0;
  double process = 0;  // all of Vantro_Process, the waiting included
  double encode = 0;
  double total = 0;
};

class VideoJob {
 public:
  // The output goes to `address`, which FFmpeg opens.
  VideoJob(const VideoOptions& options, std::string address, Progress& progress);

  // Renders until the input ends or the user interrupts. Throws RunError or UsageError.
  void Run();

  int64_t frames() const { return written_; }
  const PhaseTimes& times() const { return times_; }
  const FrameShape& shape() const { return converter_->shape(); }
  const std::optional<ContactSheet>& contact_sheet() const { return sheet_; }
  const std::optional<SceneReport>& report() const { return report_; }

 private:
  struct FrameTimes {
    int64_t pts;
    int64_t duration;
  };

  void Open(const AVFrame& first);
  void Render(const AVFrame& frame);
  void Write(const uint8_t* rendered);

  const VideoOptions& options_;
  std::string address_;
  Progress& progress_;
  NoteSink note_;
  VideoReader reader_;
  std::optional<FrameConverter> converter_;
  std::optional<EffectSession> session_;
  std::optional<VideoWriter> writer_;
  std::optional<ContactSheet> sheet_;
  std::optional<SceneReport> report_;
  FrameTimes newest_{};  // of the frame inside the session
  int64_t read_ = 0;
  int64_t written_ = 0;
  PhaseTimes times_;
};

}  // namespace vantro::app

#endif  // VANTRO_APP_VIDEO_JOB_H_

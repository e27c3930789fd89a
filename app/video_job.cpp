#include "app/video_job.h"

#include <utility>

#include "app/failure.h"
#include "app/interrupt.h"

namespace vantro::app {
namespace {

// Runs `work` and adds its time to `sum`.
template <typename Work>
auto Timed(double& sum, Work&& work) {
  struct Adder {
    double& sum;
    Clock::time_point start = Clock::now();
    ~Adder() { sum += Seconds(Clock::now() - start); }
  } const adder{sum};
  return work();
}

void CheckRect(const Rect_t& rect, const FrameShape& shape) {
  if (rect.x <= shape.width - rect.width && rect.y <= shape.height - rect.height) return;
  const auto text = [](int number) { return std::to_string(number); };
  throw UsageError("--rect " + text(rect.x) + "," + text(rect.y) + "," + text(rect.width) + "," +
                   text(rect.height) + ": the rectangle does not fit the " + text(shape.width) +
                   "x" + text(shape.height) + " frame");
}

// Chroma is stored for pairs of columns and rows, so the rectangle takes in whole pairs.
Rect_t WholePairs(const Rect_t& rect) {
  Rect_t even = rect;
  even.x &= ~1;
  even.y &= ~1;
  even.width = ((rect.x + rect.width + 1) & ~1) - even.x;
  even.height = ((rect.y + rect.height + 1) & ~1) - even.y;
  return even;
}

}  // namespace

VideoJob::VideoJob(const VideoOptions& options, std::string address, Progress& progress)
    : options_(options),
      address_(std::move(address)),
      progress_(progress),
      note_([&progress](const std::string& text) { progress.Note(text); }),
      reader_(options.input, options.threads, note_) {}

void VideoJob::Open(const AVFrame& first) {
  if (first.width < 2 || first.height < 2) {
    throw RunError(options_.input + ": its frames have " + std::to_string(first.width) + "x" +
                   std::to_string(first.height) + " pixels; the effect needs 2x2 at least");
  }
  converter_.emplace(options_.format, first, reader_.orientation(), reader_.scan(first), note_);
  const FrameShape& shape = converter_->shape();
  std::optional<Rect_t> rect;
  if (options_.rect) {
    CheckRect(*options_.rect, shape);
    rect = WholePairs(*options_.rect);
  }
  const AVRational pixel_shape = reader_.pixel_shape();
  session_.emplace(shape, rect);
  if (!options_.contact_sheet.empty()) sheet_.emplace(shape, converter_->colour(), pixel_shape);
  if (!options_.report.empty()) report_.emplace(shape, converter_->colour(), pixel_shape);
  const std::string output_name = options_.output == "-" ? "standard output" : options_.output;
  writer_.emplace(VideoWriter::Settings{.name = output_name,
                                        .address = address_,
                                        .container = ContainerOf(options_.output),
                                        .shape = shape,
                                        .colour = converter_->colour(),
                                        .pixel_shape = pixel_shape,
                                        .scan = converter_->scan(),
                                        .threads = options_.threads},
                  reader_, note_);
}

void VideoJob::Run() {
  const Clock::time_point start = Clock::now();
  while (const AVFrame* frame = Timed(times_.decode, [&] { return reader_.Next(); })) {
    if (!writer_) Open(*frame);
    Render(*frame);
    progress_.Update(written_, reader_.Progress(newest_.pts));
  }
  if (writer_) {
    newest_.duration = reader_.LastDuration(newest_.pts, newest_.duration);
    Write(Timed(times_.process, [&] { return session_->Finish(); }));
    Timed(times_.encode, [&] { writer_->Finish(); });
  } else if (InterruptWatch::Signal() == 0) {
    throw RunError(options_.input + ": has no frame that could be decoded");
  }
  times_.total = Seconds(Clock::now() - start);
}

void VideoJob::Render(const AVFrame& frame) {
  uint8_t* const picture = session_->input();
  Timed(times_.decode, [&] { converter_->Convert(frame, picture); });
  const double seconds = static_cast<double>(frame.pts) * av_q2d(reader_.stream().time_base);
  if (sheet_) sheet_->AddBefore(read_, seconds, picture);
  if (report_) report_->AddBefore(seconds, picture);
  ++read_;
  Write(Timed(times_.process, [&] { return session_->Feed(); }));
  newest_ = {frame.pts, FrameDuration(frame)};
}

// Writes the frame before the newest one, if there is one, and the audio met so far.
void VideoJob::Write(const uint8_t* rendered) {
  if (rendered != nullptr) {
    if (sheet_) sheet_->AddAfter(written_, rendered);
    if (report_) report_->AddAfter(rendered, session_->facts());
    Timed(times_.encode, [&] { writer_->WriteFrame(rendered, newest_.pts, newest_.duration); });
    ++written_;
  }
  for (auto& audio = reader_.audio_packets(); !audio.empty(); audio.pop_front()) {
    writer_->WriteAudio(*audio.front());
  }
}

}  // namespace vantro::app

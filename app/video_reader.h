// A video file or pipe as decoded frames, with its audio as it is.
#ifndef VANTRO_APP_VIDEO_READER_H_
#define VANTRO_APP_VIDEO_READER_H_

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "app/failure.h"
#include "app/ffmpeg.h"
#include "app/orientation.h"

namespace vantro::app {

class VideoReader {
 public:
  // Opens `path`, or standard input for "-". `threads` is the decoder's number of threads, 0 for
  // one a processor. Throws RunError.
  VideoReader(const std::string& path, int threads, NoteSink note);

  // The next frame in the order of display, valid until the next call; null at the end of the input
  // or after an interrupt. Its pts is set and greater than the one before, its duration is set.
  const AVFrame* Next();

  // Audio packets met on the way to the last frame; the caller takes them out. Their stream_index
  // is that of the input.
  std::deque<PacketPtr>& audio_packets() { return audio_packets_; }

  const AVFormatContext& container() const { return *input_; }
  const AVStream& stream() const { return *stream_; }
  const std::vector<const AVStream*>& audio_streams() const { return audio_streams_; }
  Orientation orientation() const { return Orientation::OfStream(*stream_); }
  AVRational frame_rate() const { return frame_rate_; }
  // Both as the upright picture has them; the shape is that of the last frame's pixels.
  AVRational pixel_shape() const;
  Scan scan(const AVFrame& frame) const;
  // What to take off every time stamp of a stream: nothing, but for containers whose clock starts
  // anywhere.
  int64_t StartOf(const AVStream& stream) const;
  // Display time of the last frame of the input, at `pts`, when the container tells where the video
  // ends; otherwise `duration`. To be asked after Next() returned null.
  int64_t LastDuration(int64_t pts, int64_t duration) const;
  // Share of the input that lies before `pts`, 0 to 1; negative when unknown.
  double Progress(int64_t pts) const;

 private:
  bool ReadPacket();
  void ReportDamage();
  void SetTimes(AVFrame& frame);

  std::string name_;  // for messages
  NoteSink note_;
  InputPtr input_;
  AVStream* stream_ = nullptr;
  std::vector<const AVStream*> audio_streams_;
  AVRational frame_rate_{0, 1};
  CodecPtr decoder_;
  PacketPtr packet_;
  FramePtr frame_;
  std::deque<PacketPtr> audio_packets_;
  bool at_end_ = false;
  bool cut_off_ = false;  // the last packet
  int64_t damaged_packets_ = 0;
  int64_t last_pts_ = AV_NOPTS_VALUE;
  int64_t last_duration_ = 0;
  int64_t frames_ = 0;
};

}  // namespace vantro::app

#endif  // VANTRO_APP_VIDEO_READER_H_

// Rendered frames and copied audio into a video file or pipe.
#ifndef VANTRO_APP_VIDEO_WRITER_H_
#define VANTRO_APP_VIDEO_WRITER_H_

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "app/failure.h"
#include "app/ffmpeg.h"
#include "app/frame_convert.h"
#include "app/frame_format.h"
#include "app/video_reader.h"

namespace vantro::app {

// What a file name's ending stands for.
struct ContainerFormat {
  const char* muxer;  // FFmpeg's name
  bool raw;           // uncompressed frames, no audio
};
// Throws UsageError for an ending that the program does not write. "-" is a pipe of raw frames.
ContainerFormat ContainerOf(const std::string& path);

class VideoWriter {
 public:
  struct Settings {
    std::string name;     // for messages
    std::string address;  // what FFmpeg opens
    ContainerFormat container;
    FrameShape shape;
    ColourInfo colour;
    AVRational pixel_shape;
    Scan scan;
    int threads;  // of the encoder, 0 for one a processor
  };

  // Takes time base, frame rate, metadata and audio streams from `reader`, which must outlive this.
  // Audio that the container cannot hold is left out with a remark to `note`. Throws RunError.
  VideoWriter(const Settings& settings, const VideoReader& reader, const NoteSink& note);
  ~VideoWriter();
  VideoWriter(const VideoWriter&) = delete;
  VideoWriter& operator=(const VideoWriter&) = delete;

  // Times count in the time base of the reader's video stream; a raw file has no place for them.
  void WriteFrame(const uint8_t* picture, int64_t pts, int64_t duration);
  // Takes the packet's content.
  void WriteAudio(AVPacket& packet);
  // Writes what is still under way and closes the file.
  void Finish();

 private:
  struct OutputCloser {
    void operator()(AVFormatContext* output) const;
  };

  void OpenEncoder(const Settings& settings);
  void SetH264Options(Scan scan);
  void AddAudio(const NoteSink& note);
  void WritePackets(const AVFrame* frame);
  void Mux(AVPacket& packet, AVRational time_base, const AVStream& stream);

  const VideoReader& reader_;
  std::string name_;
  FrameShape shape_;
  ColourInfo colour_;
  bool raw_;
  std::unique_ptr<AVFormatContext, OutputCloser> output_;
  AVStream* stream_ = nullptr;
  std::map<int, AVStream*> audio_;  // by stream index of the input
  CodecPtr encoder_;
  PacketPtr packet_;
  FramePtr frame_;
  Scaler scaler_;
  int64_t frames_ = 0;
  std::map<int64_t, int64_t> durations_;  // by pts, of the frames inside the encoder
};

}  // namespace vantro::app

#endif  // VANTRO_APP_VIDEO_WRITER_H_

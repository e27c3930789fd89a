// Owners of FFmpeg's objects, and its errors as text.
#ifndef VANTRO_APP_FFMPEG_H_
#define VANTRO_APP_FFMPEG_H_

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace vantro::app {

struct FFmpegDeleter {
  void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
  void operator()(uint8_t* bytes) const { av_free(bytes); }
};
struct InputCloser {
  void operator()(AVFormatContext* input) const { avformat_close_input(&input); }
};

using CodecPtr = std::unique_ptr<AVCodecContext, FFmpegDeleter>;
using FramePtr = std::unique_ptr<AVFrame, FFmpegDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, FFmpegDeleter>;
using ScalerPtr = std::unique_ptr<SwsContext, FFmpegDeleter>;
using InputPtr = std::unique_ptr<AVFormatContext, InputCloser>;
using BytesPtr = std::unique_ptr<uint8_t[], FFmpegDeleter>;

// Throw std::bad_alloc rather than return null.
FramePtr NewFrame();
PacketPtr NewPacket();
FramePtr NewPictureFrame(int width, int height, AVPixelFormat pixels);  // with its samples
BytesPtr NewBytes(size_t size);  // zeroed, aligned for vector code

// Keeps the last error that FFmpeg's libraries log, and shows their lines only when `verbose`.
void RouteFFmpegLog(bool verbose);

// The last error that the reading of a container logged since the previous call; empty for none.
std::string TakeDemuxerError();

// What an FFmpeg result code means, with the last logged detail since the previous call.
std::string FFmpegErrorText(int code);

// Throws RunError "<what>: <error text>" for a negative code; returns the code otherwise.
int CheckFFmpeg(int code, const std::string& what);

// How the rows of a frame were taken: all at once, or first every other one and then the rest.
enum class Scan { kProgressive, kTopFieldFirst, kBottomFieldFirst };

// That of a frame of the stream; what the frame leaves open, its stream tells.
Scan ScanOf(const AVFrame& frame, const AVStream& stream);
void SetScan(Scan scan, AVFrame& frame);

// Display time of a frame in its stream's time base, 0 when unknown.
inline int64_t FrameDuration(const AVFrame& frame) {
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(57, 30, 100)
  return frame.duration;
#else
  return frame.pkt_duration;
#endif
}

}  // namespace vantro::app

#endif  // VANTRO_APP_FFMPEG_H_

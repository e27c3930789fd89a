#include "app/ffmpeg.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

#include "app/failure.h"
#include "app/printable.h"

namespace vantro::app {
namespace {

std::atomic<bool> show_lines{false};
std::mutex detail_mutex;  // codecs log from threads of their own
std::string last_detail;
std::string last_demuxer_error;

bool IsDemuxer(const AVClass* origin, void* source) {
  return origin != nullptr && origin->get_category != nullptr &&
         origin->get_category(source) == AV_CLASS_CATEGORY_DEMUXER;
}

void TakeLine(void* source, int level, const char* format, va_list args) {
  if (level > AV_LOG_WARNING) return;
  char text[512];
  std::vsnprintf(text, sizeof(text), format, args);
  text[std::strcspn(text, "\n")] = '\0';
  const AVClass* origin = source == nullptr ? nullptr : *static_cast<AVClass**>(source);
  if (show_lines) {
    std::fprintf(stderr, "%s: %s\n", origin != nullptr ? origin->item_name(source) : "ffmpeg",
                 Printable(text).c_str());
  }
  if (level <= AV_LOG_ERROR) {
    const std::lock_guard lock(detail_mutex);
    last_detail = text;
    if (IsDemuxer(origin, source)) last_demuxer_error = text;
  }
}

}  // namespace

FramePtr NewFrame() {
  FramePtr frame(av_frame_alloc());
  if (frame == nullptr) throw std::bad_alloc();
  return frame;
}

PacketPtr NewPacket() {
  PacketPtr packet(av_packet_alloc());
  if (packet == nullptr) throw std::bad_alloc();
  return packet;
}

FramePtr NewPictureFrame(int width, int height, AVPixelFormat pixels) {
  FramePtr frame = NewFrame();
  frame->width = width;
  frame->height = height;
  frame->format = pixels;
  if (av_frame_get_buffer(frame.get(), 0) < 0) throw std::bad_alloc();
  return frame;
}

BytesPtr NewBytes(size_t size) {
  BytesPtr bytes(static_cast<uint8_t*>(av_mallocz(size)));
  if (bytes == nullptr) throw std::bad_alloc();
  return bytes;
}

Scan ScanOf(const AVFrame& frame, const AVStream& stream) {
#ifdef AV_FRAME_FLAG_INTERLACED
  const bool interlaced = (frame.flags & AV_FRAME_FLAG_INTERLACED) != 0;
  const bool top_first = (frame.flags & AV_FRAME_FLAG_TOP_FIELD_FIRST) != 0;
#else
  const bool interlaced = frame.interlaced_frame != 0;
  const bool top_first = frame.top_field_first != 0;
#endif
  if (interlaced) return top_first ? Scan::kTopFieldFirst : Scan::kBottomFieldFirst;
  switch (stream.codecpar->field_order) {
    case AV_FIELD_TT:
    case AV_FIELD_BT:
      return Scan::kTopFieldFirst;
    case AV_FIELD_BB:
    case AV_FIELD_TB:
      return Scan::kBottomFieldFirst;
    default:
      return Scan::kProgressive;
  }
}

void SetScan(Scan scan, AVFrame& frame) {
  const bool interlaced = scan != Scan::kProgressive;
  const bool top_first = scan == Scan::kTopFieldFirst;
#ifdef AV_FRAME_FLAG_INTERLACED
  frame.flags &= ~(AV_FRAME_FLAG_INTERLACED | AV_FRAME_FLAG_TOP_FIELD_FIRST);
  if (interlaced) frame.flags |= AV_FRAME_FLAG_INTERLACED;
  if (top_first) frame.flags |= AV_FRAME_FLAG_TOP_FIELD_FIRST;
#else
  frame.interlaced_frame = interlaced ? 1 : 0;
  frame.top_field_first = top_first ? 1 : 0;
#endif
}

void RouteFFmpegLog(bool verbose) {
  show_lines = verbose;
  av_log_set_callback(&TakeLine);
}

std::string TakeDemuxerError() {
  const std::lock_guard lock(detail_mutex);
  return std::exchange(last_demuxer_error, {});
}

std::string FFmpegErrorText(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE];
  std::string message = av_strerror(code, text, sizeof(text)) == 0 ? text : "unknown error";
  std::string detail;
  {
    const std::lock_guard lock(detail_mutex);
    std::swap(detail, last_detail);
  }
  if (!detail.empty()) message += " (" + detail + ")";
  return message;
}

int CheckFFmpeg(int code, const std::string& what) {
  if (code < 0) throw RunError(what + ": " + FFmpegErrorText(code));
  return code;
}

}  // namespace vantro::app

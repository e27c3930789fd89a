#include "app/ffmpeg.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

#include "app/failure.h"

namespace vantro::app {
namespace {

std::atomic<bool> show_lines{false};
std::mutex detail_mutex;  // codecs log from threads of their own
std::string last_detail;

void TakeLine(void* source, int level, const char* format, va_list args) {
  if (level > AV_LOG_WARNING) return;
  char text[512];
  std::vsnprintf(text, sizeof(text), format, args);
  text[std::strcspn(text, "\n")] = '\0';
  const AVClass* origin = source == nullptr ? nullptr : *static_cast<AVClass**>(source);
  if (show_lines) {
    std::fprintf(stderr, "%s: %s\n", origin != nullptr ? origin->item_name(source) : "ffmpeg",
                 text);
  }
  if (level <= AV_LOG_ERROR) {
    const std::lock_guard lock(detail_mutex);
    last_detail = text;
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

void RouteFFmpegLog(bool verbose) {
  show_lines = verbose;
  av_log_set_callback(&TakeLine);
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

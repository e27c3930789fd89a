#include "app/video_reader.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "app/interrupt.h"

namespace vantro::app {
namespace {

// What FFmpeg is to open. A path that exists is a file, whatever colons it contains.
std::string Address(const std::string& path) {
  if (path == "-") return "pipe:0";
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (std::filesystem::exists(status)) {
    if (std::filesystem::is_directory(status)) throw RunError(path + ": is a folder, not a video");
    return "file:" + path;
  }
  if (path.find("://") != std::string::npos) return path;
  throw RunError(path + ": " +
                 (error && status.type() != std::filesystem::file_type::not_found
                      ? error.message()
                      : "no such file; check the path given as INPUT"));
}

// A read that an interrupt broke off is no failure of the input.
void CheckOpening(int code, const std::string& what) {
  if (code < 0 && InterruptWatch::Signal() != 0) throw Interrupted{InterruptWatch::Signal()};
  CheckFFmpeg(code, what);
}

InputPtr OpenInput(const std::string& path, const std::string& name) {
  const std::string address = Address(path);
  AVFormatContext* context = avformat_alloc_context();
  if (context == nullptr) throw std::bad_alloc();
  // A read that waits (a pipe, a network) ends with the first Ctrl-C.
  context->interrupt_callback = {[](void*) { return InterruptWatch::Signal() != 0 ? 1 : 0; },
                                 nullptr};
  // On failure avformat_open_input releases the context itself.
  const int code = avformat_open_input(&context, address.c_str(), nullptr, nullptr);
  CheckOpening(code, name + ": cannot be read as a video");
  return InputPtr(context);
}

}  // namespace

VideoReader::VideoReader(const std::string& path, int threads, NoteSink note)
    : name_(path == "-" ? "standard input" : path),
      note_(std::move(note)),
      input_(OpenInput(path, name_)),
      packet_(NewPacket()),
      frame_(NewFrame()) {
  CheckOpening(avformat_find_stream_info(input_.get(), nullptr), name_ + ": cannot be read");
  const AVCodec* codec = nullptr;
  const int index = av_find_best_stream(input_.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
  if (index == AVERROR_DECODER_NOT_FOUND) {
    throw RunError(name_ + ": its video cannot be decoded: this FFmpeg has no decoder for it");
  }
  stream_ = index < 0 ? nullptr : input_->streams[index];
  if (stream_ == nullptr || (stream_->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
    throw RunError(name_ + ": has no video stream");
  }
  for (unsigned i = 0; i < input_->nb_streams; ++i) {
    AVStream* const stream = input_->streams[i];
    if (stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
      audio_streams_.push_back(stream);
    } else if (stream != stream_) {
      stream->discard = AVDISCARD_ALL;
    }
  }
  frame_rate_ = av_guess_frame_rate(input_.get(), stream_, nullptr);

  decoder_.reset(avcodec_alloc_context3(codec));
  if (decoder_ == nullptr) throw std::bad_alloc();
  CheckFFmpeg(avcodec_parameters_to_context(decoder_.get(), stream_->codecpar), name_);
  decoder_->pkt_timebase = stream_->time_base;
  decoder_->thread_count = threads;
  CheckFFmpeg(avcodec_open2(decoder_.get(), codec, nullptr), name_ + ": cannot be decoded");
  TakeDemuxerError();
}

const AVFrame* VideoReader::Next() {
  while (InterruptWatch::Signal() == 0) {
    const int code = avcodec_receive_frame(decoder_.get(), frame_.get());
    if (code >= 0) {
      SetTimes(*frame_);
      return frame_.get();
    }
    if (code == AVERROR_EOF) break;
    if (code != AVERROR(EAGAIN)) {
      ++damaged_packets_;
      continue;
    }
    if (!ReadPacket()) return nullptr;
  }
  ReportDamage();
  return nullptr;
}

void VideoReader::ReportDamage() {
  if (damaged_packets_ > 0) {
    note_(name_ + ": damaged packets left out: " + std::to_string(damaged_packets_));
    damaged_packets_ = 0;
  }
  std::string cause = TakeDemuxerError();
  if (cause.empty() && at_end_ && cut_off_) cause = "the last packet is cut off";
  if (!cause.empty()) {
    std::string read = std::to_string(frames_);
    if (stream_->nb_frames > 0) read += " of " + std::to_string(stream_->nb_frames);
    note_(name_ + ": seems incomplete, " + read + " frames were read (" + cause + ")");
  }
}

// Feeds the decoder with one packet, or with the end of the stream. False after an interrupt.
bool VideoReader::ReadPacket() {
  while (!at_end_) {
    const int code = av_read_frame(input_.get(), packet_.get());
    if (InterruptWatch::Signal() != 0) return false;
    if (code == AVERROR_EOF) {
      at_end_ = true;
      break;
    }
    CheckFFmpeg(code, name_ + ": reading broke off");
    cut_off_ = (packet_->flags & AV_PKT_FLAG_CORRUPT) != 0;
    if (packet_->stream_index == stream_->index) break;
    if (input_->streams[packet_->stream_index]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
      PacketPtr audio = NewPacket();
      av_packet_move_ref(audio.get(), packet_.get());
      audio_packets_.push_back(std::move(audio));
    }
    av_packet_unref(packet_.get());
  }
  const int code = avcodec_send_packet(decoder_.get(), at_end_ ? nullptr : packet_.get());
  av_packet_unref(packet_.get());
  if (code == AVERROR(ENOMEM)) throw std::bad_alloc();
  if (code < 0 && code != AVERROR_EOF) ++damaged_packets_;
  return true;
}

void VideoReader::SetTimes(AVFrame& frame) {
  int64_t duration = FrameDuration(frame);
  if (duration <= 0 && frame_rate_.num > 0) {
    duration = av_rescale_q(1, av_inv_q(frame_rate_), stream_->time_base);
  }
  int64_t pts = frame.best_effort_timestamp;
  if (pts == AV_NOPTS_VALUE) {
    pts = last_pts_ == AV_NOPTS_VALUE ? 0 : last_pts_ + std::max<int64_t>(last_duration_, 1);
  }
  if (last_pts_ != AV_NOPTS_VALUE) pts = std::max(pts, last_pts_ + 1);
  ++frames_;
  last_pts_ = pts;
  last_duration_ = duration;
  frame.pts = pts;
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(57, 30, 100)
  frame.duration = duration;
#else
  frame.pkt_duration = duration;
#endif
}

AVRational VideoReader::pixel_shape() const {
  // The container's word goes before that of the frame.
  const AVRational stored = av_guess_sample_aspect_ratio(input_.get(), stream_, frame_.get());
  return orientation().swap_axes && stored.num > 0 ? av_inv_q(stored) : stored;
}

Scan VideoReader::scan(const AVFrame& frame) const {
  const Scan stored = ScanOf(frame, *stream_);
  const Orientation turn = orientation();
  if (turn.swap_axes) return Scan::kProgressive;  // the fields are columns now
  if (!turn.flip_y || stored == Scan::kProgressive) return stored;
  // The rows are even in number, so turned round, the upper field is the lower one.
  return stored == Scan::kTopFieldFirst ? Scan::kBottomFieldFirst : Scan::kTopFieldFirst;
}

int64_t VideoReader::StartOf(const AVStream& stream) const {
  const bool free_clock = (input_->iformat->flags & AVFMT_TS_DISCONT) != 0;
  if (!free_clock || input_->start_time == AV_NOPTS_VALUE) return 0;
  return av_rescale_q(input_->start_time, AV_TIME_BASE_Q, stream.time_base);
}

// A frame is shown until the next one; only the end of the whole video tells how long the last one
// is. A video that breaks off before its end does not count.
int64_t VideoReader::LastDuration(int64_t pts, int64_t duration) const {
  const bool exact = input_->duration_estimation_method == AVFMT_DURATION_FROM_STREAM &&
                     stream_->duration > 0 && stream_->start_time != AV_NOPTS_VALUE;
  if (!exact || frames_ != stream_->nb_frames) return duration;
  const int64_t left = stream_->start_time + stream_->duration - pts;
  return left > 0 ? left : duration;
}

double VideoReader::Progress(int64_t pts) const {
  double length = -1;
  if (stream_->duration > 0) {
    length = static_cast<double>(stream_->duration) * av_q2d(stream_->time_base);
  } else if (input_->duration > 0) {
    length = static_cast<double>(input_->duration) / AV_TIME_BASE;
  }
  if (length <= 0) return -1;
  const int64_t start = stream_->start_time == AV_NOPTS_VALUE ? 0 : stream_->start_time;
  return std::clamp(static_cast<double>(pts - start) * av_q2d(stream_->time_base) / length, 0., 1.);
}

}  // namespace vantro::app

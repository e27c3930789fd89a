#include "app/video_writer.h"

extern "C" {
#include <libavutil/opt.h>
}

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace vantro::app {
namespace {

// Visually lossless for most material, at a speed that keeps up with the effect.
constexpr char kQuality[] = "18";
constexpr char kPreset[] = "veryfast";

// What an encoder and a frame call by the same names.
template <typename Target>
void Describe(const ColourInfo& colour, AVRational pixel_shape, Target& target) {
  target.color_range = colour.range;
  target.color_primaries = colour.primaries;
  target.color_trc = colour.transfer;
  target.colorspace = colour.space;
  target.sample_aspect_ratio = pixel_shape;
}

}  // namespace

ContainerFormat ContainerOf(const std::string& path) {
  if (path == "-") return {"yuv4mpegpipe", true};
  std::string ending = std::filesystem::path(path).extension().string();
  std::ranges::transform(ending, ending.begin(),
                         [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (ending == ".y4m") return {"yuv4mpegpipe", true};
  if (ending == ".mkv") return {"matroska", false};
  if (ending == ".mov") return {"mov", false};
  if (ending == ".mp4" || ending == ".m4v" || ending.empty()) return {"mp4", false};
  throw UsageError("OUTPUT " + path + ": \"" + ending +
                   "\" is not a kind of file this program writes; use .mp4, .mov, .mkv or .y4m");
}

void VideoWriter::OutputCloser::operator()(AVFormatContext* output) const {
  avio_closep(&output->pb);
  avformat_free_context(output);
}

VideoWriter::VideoWriter(const Settings& settings, const VideoReader& reader, const NoteSink& note)
    : reader_(reader),
      name_(settings.name),
      shape_(settings.shape),
      colour_(settings.colour),
      raw_(settings.container.raw),
      packet_(NewPacket()) {
  AVFormatContext* context = nullptr;
  CheckFFmpeg(avformat_alloc_output_context2(&context, nullptr, settings.container.muxer,
                                             settings.address.c_str()),
              name_);
  output_.reset(context);
  OpenEncoder(settings);
  if (raw_) {
    if (!reader.audio_streams().empty()) note("raw video holds no audio; it is left out");
  } else {
    AddAudio(note);
  }
  av_dict_copy(&output_->metadata, reader.container().metadata, 0);
  // These describe the input file, not the video in it.
  for (const char* key : {"major_brand", "minor_version", "compatible_brands", "encoder"}) {
    av_dict_set(&output_->metadata, key, nullptr, 0);
  }
  CheckFFmpeg(avio_open(&output_->pb, settings.address.c_str(), AVIO_FLAG_WRITE),
              name_ + ": cannot be written");
  // The index goes to the front, so that a player can start before it has the whole file.
  AVDictionary* options = nullptr;
  if (!raw_) av_dict_set(&options, "movflags", "+faststart", 0);
  const int code = avformat_write_header(output_.get(), &options);
  av_dict_free(&options);
  CheckFFmpeg(code, name_ + ": cannot be written");
}

VideoWriter::~VideoWriter() = default;

void VideoWriter::OpenEncoder(const Settings& settings) {
  const AVCodec* codec = raw_ ? avcodec_find_encoder(AV_CODEC_ID_WRAPPED_AVFRAME)
                              : avcodec_find_encoder_by_name("libx264");
  if (codec == nullptr) {
    throw RunError("FFmpeg's libraries have no H.264 encoder (libx264); write a .y4m file instead");
  }
  encoder_.reset(avcodec_alloc_context3(codec));
  stream_ = avformat_new_stream(output_.get(), nullptr);
  if (encoder_ == nullptr || stream_ == nullptr) throw std::bad_alloc();

  // 4:2:0 plays everywhere; raw frames keep all samples.
  const AVPixelFormat pixels = raw_ ? shape_.format.planar : AV_PIX_FMT_YUV420P;
  encoder_->width = shape_.width;
  encoder_->height = shape_.height;
  encoder_->pix_fmt = pixels;
  encoder_->framerate = reader_.frame_rate();
  encoder_->time_base = reader_.stream().time_base;
  if (raw_) {
    // Raw frames carry no times, only the rate in the file's head, which is taken from here.
    if (encoder_->framerate.num <= 0) encoder_->framerate = {25, 1};
    encoder_->time_base = av_inv_q(encoder_->framerate);
  }
  Describe(colour_, settings.pixel_shape, *encoder_);
  encoder_->chroma_sample_location = colour_.chroma;
  if (settings.scan != Scan::kProgressive) {
    encoder_->flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
    encoder_->field_order = settings.scan == Scan::kTopFieldFirst ? AV_FIELD_TT : AV_FIELD_BB;
    scaler_.set_interlaced(true);
  }
  encoder_->thread_count = settings.threads;
  if ((output_->oformat->flags & AVFMT_GLOBALHEADER) != 0) {
    encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  }
  if (!raw_) SetH264Options(settings.scan);
  CheckFFmpeg(avcodec_open2(encoder_.get(), codec, nullptr),
              name_ + ": the video encoder cannot start");
  CheckFFmpeg(avcodec_parameters_from_context(stream_->codecpar, encoder_.get()), name_);
  stream_->time_base = encoder_->time_base;
  stream_->avg_frame_rate = encoder_->framerate;
  stream_->sample_aspect_ratio = encoder_->sample_aspect_ratio;
  av_dict_copy(&stream_->metadata, reader_.stream().metadata, 0);
  // The frames are upright now.
  av_dict_set(&stream_->metadata, "rotate", nullptr, 0);

  frame_ = NewPictureFrame(shape_.width, shape_.height, pixels);
  Describe(colour_, settings.pixel_shape, *frame_);
  frame_->chroma_location = colour_.chroma;
  SetScan(settings.scan, *frame_);
}

void VideoWriter::SetH264Options(Scan scan) {
  av_opt_set(encoder_->priv_data, "crf", kQuality, 0);
  av_opt_set(encoder_->priv_data, "preset", kPreset, 0);
  std::string parameters;
  // Otherwise the stream's own timing notes take each tick of the time base for a frame. Frames
  // keep their times in either case.
  const AVStream& from = reader_.stream();
  if (av_cmp_q(from.avg_frame_rate, from.r_frame_rate) == 0) parameters = "force-cfr=1:";
  // The flags of the frames would tell, too, but only after the first of them is written.
  if (scan == Scan::kBottomFieldFirst) parameters += "bff=1";
  av_opt_set(encoder_->priv_data, "x264-params", parameters.c_str(), 0);
}

void VideoWriter::AddAudio(const NoteSink& note) {
  for (const AVStream* from : reader_.audio_streams()) {
    const AVCodecID codec = from->codecpar->codec_id;
    if (avformat_query_codec(output_->oformat, codec, FF_COMPLIANCE_NORMAL) != 1) {
      note(std::string("audio of the kind ") + avcodec_get_name(codec) +
           " cannot be copied into this kind of file and is left out; a .mkv file can hold it");
      continue;
    }
    AVStream* to = avformat_new_stream(output_.get(), nullptr);
    if (to == nullptr) throw std::bad_alloc();
    CheckFFmpeg(avcodec_parameters_copy(to->codecpar, from->codecpar), name_);
    to->codecpar->codec_tag = 0;  // each container has its own tags
    to->time_base = from->time_base;
    to->disposition = from->disposition;
    av_dict_copy(&to->metadata, from->metadata, 0);
    audio_[from->index] = to;
  }
}

void VideoWriter::WriteFrame(const uint8_t* picture, int64_t pts, int64_t duration) {
  // The encoder may still hold the frame before.
  CheckFFmpeg(av_frame_make_writable(frame_.get()), "memory for a frame");
  const FramePlanes planes(shape_, const_cast<uint8_t*>(picture));
  scaler_.Scale({planes.data, planes.linesize, shape_.width, shape_.height, shape_.format.pixels},
                frame_->data, frame_->linesize, shape_.width, shape_.height,
                static_cast<AVPixelFormat>(frame_->format), colour_);
  frame_->pts = raw_ ? frames_ : pts - reader_.StartOf(reader_.stream());
  durations_[frame_->pts] = raw_ ? 1 : duration;
  ++frames_;
  WritePackets(frame_.get());
}

// Encodes a frame, or with null the frames that the encoder still holds.
void VideoWriter::WritePackets(const AVFrame* frame) {
  CheckFFmpeg(avcodec_send_frame(encoder_.get(), frame), name_ + ": the video encoder failed");
  while (true) {
    const int code = avcodec_receive_packet(encoder_.get(), packet_.get());
    if (code == AVERROR(EAGAIN) || code == AVERROR_EOF) return;
    CheckFFmpeg(code, name_ + ": the video encoder failed");
    if (const auto known = durations_.extract(packet_->pts)) packet_->duration = known.mapped();
    Mux(*packet_, encoder_->time_base, *stream_);
  }
}

void VideoWriter::WriteAudio(AVPacket& packet) {
  const auto to = audio_.find(packet.stream_index);
  if (to == audio_.end()) return;
  const AVStream& from = *reader_.container().streams[packet.stream_index];
  const int64_t start = reader_.StartOf(from);
  if (packet.pts != AV_NOPTS_VALUE) packet.pts -= start;
  if (packet.dts != AV_NOPTS_VALUE) packet.dts -= start;
  Mux(packet, from.time_base, *to->second);
}

void VideoWriter::Mux(AVPacket& packet, AVRational time_base, const AVStream& stream) {
  av_packet_rescale_ts(&packet, time_base, stream.time_base);
  packet.stream_index = stream.index;
  packet.pos = -1;
  CheckFFmpeg(av_interleaved_write_frame(output_.get(), &packet), name_ + ": writing failed");
}

void VideoWriter::Finish() {
  WritePackets(nullptr);
  CheckFFmpeg(av_write_trailer(output_.get()), name_ + ": writing failed");
  CheckFFmpeg(avio_closep(&output_->pb), name_ + ": writing failed");
}

}  // namespace vantro::app

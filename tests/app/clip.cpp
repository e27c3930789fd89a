#include "tests/app/clip.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/pixdesc.h>
}

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>

namespace vantro::test {
namespace {

constexpr AVRational kTick = {1, 600};
constexpr int kSampleRate = 8000;

struct Closer {
  void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
using CodecPtr = std::unique_ptr<AVCodecContext, Closer>;
using FramePtr = std::unique_ptr<AVFrame, Closer>;
using PacketPtr = std::unique_ptr<AVPacket, Closer>;

void CopyPlane(const uint8_t* from, int from_stride, int width, int height, uint8_t* to,
               int to_stride) {
  for (int y = 0; y < height; ++y) {
    std::memcpy(to + static_cast<ptrdiff_t>(y) * to_stride,
                from + static_cast<ptrdiff_t>(y) * from_stride, static_cast<size_t>(width));
  }
}

PlanarFrame EmptyFrame(int width, int height, bool half_height_chroma) {
  PlanarFrame frame{width, height, half_height_chroma, {}, {}, {}};
  const auto chroma = static_cast<size_t>(frame.chroma_width() * frame.chroma_height());
  frame.luma.resize(static_cast<size_t>(width * height));
  frame.cb.resize(chroma);
  frame.cr.resize(chroma);
  return frame;
}

int64_t Microseconds(int64_t time, AVRational unit) {
  return av_rescale_q(time, unit, {1, 1000000});
}

void Mux(AVFormatContext* file, AVPacket* packet, AVRational unit, const AVStream* stream) {
  av_packet_rescale_ts(packet, unit, stream->time_base);
  packet->stream_index = stream->index;
  ASSERT_GE(av_interleaved_write_frame(file, packet), 0);
}

// A tenth of a second of a rising tone's samples each.
void MuxAudio(AVFormatContext* file, const AVStream* stream, int64_t seconds_times_10) {
  for (int64_t i = 0; i < seconds_times_10; ++i) {
    const int samples = kSampleRate / 10;
    PacketPtr packet(av_packet_alloc());
    av_new_packet(packet.get(), 2 * samples);
    for (int k = 0; k < 2 * samples; ++k) packet->data[k] = static_cast<uint8_t>(i * 7 + k * k);
    packet->pts = packet->dts = i * samples;
    packet->duration = samples;
    Mux(file, packet.get(), {1, kSampleRate}, stream);
  }
}

}  // namespace

PlanarFrame NoiseFrame(int width, int height, bool half_height_chroma, unsigned number) {
  PlanarFrame frame = EmptyFrame(width, height, half_height_chroma);
  std::mt19937 random(number);
  for (Bytes* plane : {&frame.luma, &frame.cb, &frame.cr}) {
    for (uint8_t& sample : *plane) sample = static_cast<uint8_t>(random() >> 8);
  }
  return frame;
}

std::string RawVideo(const std::vector<PlanarFrame>& frames) {
  const PlanarFrame& first = frames.front();
  std::string file = "YUV4MPEG2 W" + std::to_string(first.width) + " H" +
                     std::to_string(first.height) + " F25:1 Ip A1:1 C" +
                     (first.half_height_chroma ? "420mpeg2" : "422") + "\n";
  for (const PlanarFrame& frame : frames) {
    file += "FRAME\n";
    for (const Bytes* plane : {&frame.luma, &frame.cb, &frame.cr}) {
      file.append(plane->begin(), plane->end());
    }
  }
  return file;
}

std::vector<PlanarFrame> ParseRawVideo(const std::string& file) {
  const std::string head = file.substr(0, file.find('\n'));
  int width = 0;
  int height = 0;
  EXPECT_EQ(std::sscanf(head.c_str(), "YUV4MPEG2 W%d H%d ", &width, &height), 2) << head;
  const bool half_height = head.find(" C420") != std::string::npos;
  std::vector<PlanarFrame> frames;
  for (size_t at = head.size() + 1; at < file.size();) {
    PlanarFrame frame = EmptyFrame(width, height, half_height);
    EXPECT_EQ(file.substr(at, 6), "FRAME\n") << "at byte " << at;
    at += 6;
    for (Bytes* plane : {&frame.luma, &frame.cb, &frame.cr}) {
      if (file.size() - at < plane->size()) {
        ADD_FAILURE() << "frame " << frames.size() << " is cut off";
        return frames;
      }
      std::memcpy(plane->data(), file.data() + at, plane->size());
      at += plane->size();
    }
    frames.push_back(std::move(frame));
  }
  return frames;
}

void WriteClip(const std::string& path, const std::vector<PlanarFrame>& frames,
               const ClipSettings& settings) {
  AVFormatContext* file = nullptr;
  ASSERT_GE(avformat_alloc_output_context2(&file, nullptr, nullptr, path.c_str()), 0);
  const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
  CodecPtr encoder(avcodec_alloc_context3(codec));
  encoder->width = frames.front().width;
  encoder->height = frames.front().height;
  encoder->pix_fmt = AV_PIX_FMT_YUV420P;
  encoder->time_base = kTick;
  encoder->framerate = {25, 1};
  encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  AVDictionary* options = nullptr;
  av_dict_set(&options, "qp", "0", 0);  // lossless
  ASSERT_GE(avcodec_open2(encoder.get(), codec, &options), 0);
  av_dict_free(&options);
  AVStream* video = avformat_new_stream(file, nullptr);
  avcodec_parameters_from_context(video->codecpar, encoder.get());
  video->time_base = kTick;
  if (settings.rotation != 0) {
    uint8_t* matrix = av_stream_new_side_data(video, AV_PKT_DATA_DISPLAYMATRIX, 9 * 4);
    av_display_rotation_set(reinterpret_cast<int32_t*>(matrix), settings.rotation);
  }
  AVStream* audio = nullptr;
  if (settings.audio) {
    audio = avformat_new_stream(file, nullptr);
    audio->time_base = {1, kSampleRate};
    audio->codecpar->codec_type = AVMEDIA_TYPE_AUDIO;
    audio->codecpar->codec_id = AV_CODEC_ID_PCM_S16LE;
    audio->codecpar->sample_rate = kSampleRate;
    audio->codecpar->ch_layout = AV_CHANNEL_LAYOUT_MONO;
    audio->codecpar->bits_per_coded_sample = 16;
  }
  ASSERT_GE(avio_open(&file->pb, path.c_str(), AVIO_FLAG_WRITE), 0);
  ASSERT_GE(avformat_write_header(file, nullptr), 0);
  if (audio != nullptr) MuxAudio(file, audio, 12);

  FramePtr picture(av_frame_alloc());
  PacketPtr packet(av_packet_alloc());
  for (size_t i = 0; i <= frames.size(); ++i) {
    if (i < frames.size()) {
      const PlanarFrame& frame = frames[i];
      av_frame_unref(picture.get());
      picture->width = frame.width;
      picture->height = frame.height;
      picture->format = AV_PIX_FMT_YUV420P;
      ASSERT_GE(av_frame_get_buffer(picture.get(), 0), 0);
      CopyPlane(frame.luma.data(), frame.width, frame.width, frame.height, picture->data[0],
                picture->linesize[0]);
      CopyPlane(frame.cb.data(), frame.chroma_width(), frame.chroma_width(), frame.chroma_height(),
                picture->data[1], picture->linesize[1]);
      CopyPlane(frame.cr.data(), frame.chroma_width(), frame.chroma_width(), frame.chroma_height(),
                picture->data[2], picture->linesize[2]);
      picture->pts = settings.times[i];
    }
    ASSERT_GE(avcodec_send_frame(encoder.get(), i < frames.size() ? picture.get() : nullptr), 0);
    while (avcodec_receive_packet(encoder.get(), packet.get()) >= 0) {
      const auto at = std::ranges::upper_bound(settings.times, packet->pts);
      packet->duration = at != settings.times.end() ? *at - packet->pts : 24;
      Mux(file, packet.get(), kTick, video);
    }
  }
  ASSERT_GE(av_write_trailer(file), 0);
  avio_closep(&file->pb);
  avformat_free_context(file);
}

StoredVideo ReadClip(const std::string& path) {
  StoredVideo result;
  AVFormatContext* file = nullptr;
  if (avformat_open_input(&file, path.c_str(), nullptr, nullptr) < 0) {
    ADD_FAILURE() << path << " cannot be opened";
    return result;
  }
  avformat_find_stream_info(file, nullptr);
  const AVCodec* codec = nullptr;
  const int index = av_find_best_stream(file, AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
  if (index < 0) {
    ADD_FAILURE() << path << " has no video";
    avformat_close_input(&file);
    return result;
  }
  const AVStream* stream = file->streams[index];
  CodecPtr decoder(avcodec_alloc_context3(codec));
  avcodec_parameters_to_context(decoder.get(), stream->codecpar);
  EXPECT_GE(avcodec_open2(decoder.get(), codec, nullptr), 0);
  result.codec = codec->name;
  if (stream->duration > 0) result.length = Microseconds(stream->duration, stream->time_base);
  result.width = stream->codecpar->width;
  result.height = stream->codecpar->height;
  const auto pixels = static_cast<AVPixelFormat>(stream->codecpar->format);
  result.pixel_format = av_get_pix_fmt_name(pixels);

  PacketPtr packet(av_packet_alloc());
  FramePtr frame(av_frame_alloc());
  bool at_end = false;
  while (!at_end) {
    at_end = av_read_frame(file, packet.get()) < 0;
    if (!at_end) {
      const AVRational unit = file->streams[packet->stream_index]->time_base;
      StoredPacket stored{Microseconds(packet->pts, unit), Microseconds(packet->duration, unit),
                          Bytes(packet->data, packet->data + packet->size)};
      (packet->stream_index == index ? result.video : result.audio).push_back(std::move(stored));
      if (packet->stream_index != index) {
        av_packet_unref(packet.get());
        continue;
      }
    }
    EXPECT_GE(avcodec_send_packet(decoder.get(), at_end ? nullptr : packet.get()), 0);
    av_packet_unref(packet.get());
    while (avcodec_receive_frame(decoder.get(), frame.get()) >= 0) {
      if (pixels != AV_PIX_FMT_YUV420P) continue;
      PlanarFrame planar = EmptyFrame(frame->width, frame->height, true);
      CopyPlane(frame->data[0], frame->linesize[0], planar.width, planar.height, planar.luma.data(),
                planar.width);
      CopyPlane(frame->data[1], frame->linesize[1], planar.chroma_width(), planar.chroma_height(),
                planar.cb.data(), planar.chroma_width());
      CopyPlane(frame->data[2], frame->linesize[2], planar.chroma_width(), planar.chroma_height(),
                planar.cr.data(), planar.chroma_width());
      result.decoded.push_back(std::move(planar));
    }
  }
  avformat_close_input(&file);
  std::ranges::sort(result.video, {}, &StoredPacket::pts);
  return result;
}

}  // namespace vantro::test

#include "bench/support/ffmpeg_graph.h"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

#include <cstring>
#include <stdexcept>
#include <vector>

#include "bench/support/frames.h"
#include "bench/support/silhouette.h"

namespace vantro::bench {
namespace {

constexpr char kMaskLayout[] = "yuv444p";
constexpr int kMaskSide = 256;

void Check(int result, const char* what) {
  if (result < 0) throw std::runtime_error(std::string("FFmpeg: ") + what);
}

std::string Source(const char* name, const char* layout, int width, int height) {
  return std::string("buffer@") + name + "=video_size=" + std::to_string(width) + "x" +
         std::to_string(height) + ":pix_fmt=" + layout + ":time_base=1/30[" + name + "];";
}

}  // namespace

void FfmpegGraph::FrameDeleter::operator()(AVFrame* frame) const { av_frame_free(&frame); }

FfmpegGraph::Frame FfmpegGraph::MakeFrame(const char* layout, int width, int height) {
  Frame frame(av_frame_alloc());
  frame->format = av_get_pix_fmt(layout);
  frame->width = width;
  frame->height = height;
  Check(av_frame_get_buffer(frame.get(), 0), "no memory for a frame");
  return frame;
}

FfmpegGraph::FfmpegGraph(const std::string& filters, const char* layout, int width, int height)
    : graph_(avfilter_graph_alloc()),
      frame_(MakeFrame(layout, width, height)),
      result_(av_frame_alloc()) {
  const AVPixFmtDescriptor* planes = av_pix_fmt_desc_get(av_get_pix_fmt(layout));
  for (int plane = 0; plane < 3; ++plane) {
    const int rows = plane == 0 ? height : height >> planes->log2_chroma_h;
    const size_t bytes = static_cast<size_t>(frame_->linesize[plane]) * static_cast<size_t>(rows);
    std::memcpy(frame_->data[plane], Noise(bytes).data(), bytes);
  }

  std::string description = Source("frame", layout, width, height);
  const bool masked = filters.find("[mask]") != std::string::npos;
  if (masked) {
    description += Source("mask", kMaskLayout, kMaskSide, kMaskSide);
    mask_ = MakeFrame(kMaskLayout, kMaskSide, kMaskSide);
    const std::vector<uint8_t> silhouette = Silhouette(kMaskSide, kMaskSide);
    for (int plane = 0; plane < 3; ++plane) {
      for (int row = 0; row < kMaskSide; ++row) {
        for (int column = 0; column < kMaskSide; ++column) {
          mask_->data[plane][row * mask_->linesize[plane] + column] =
              silhouette[static_cast<size_t>(row * kMaskSide + column)] != 0 ? 255 : 0;
        }
      }
    }
  }
  description += filters + ";[result]buffersink@result";

  graph_->nb_threads = 1;
  AVFilterInOut* inputs = nullptr;
  AVFilterInOut* outputs = nullptr;
  Check(avfilter_graph_parse2(graph_, description.c_str(), &inputs, &outputs), "not a graph");
  Check(avfilter_graph_config(graph_, nullptr), "the graph cannot be configured");
  frame_source_ = avfilter_graph_get_filter(graph_, "buffer@frame");
  sink_ = avfilter_graph_get_filter(graph_, "buffersink@result");
  if (masked) mask_source_ = avfilter_graph_get_filter(graph_, "buffer@mask");
}

FfmpegGraph::~FfmpegGraph() { avfilter_graph_free(&graph_); }

void FfmpegGraph::Send(AVFilterContext* source, AVFrame* frame) {
  frame->pts = time_;
  Check(av_buffersrc_add_frame_flags(source, frame, AV_BUFFERSRC_FLAG_KEEP_REF),
        "the graph takes no frame");
}

void FfmpegGraph::Run() {
  ++time_;
  Send(frame_source_, frame_.get());
  if (mask_source_ != nullptr) Send(mask_source_, mask_.get());
  Check(av_buffersink_get_frame(sink_, result_.get()), "no picture comes out");
  av_frame_unref(result_.get());
}

}  // namespace vantro::bench

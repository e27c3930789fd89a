// What a user of FFmpeg would write for the effect: a filter graph that takes a planar frame and a
// mask, run in process on one thread.
#ifndef VANTRO_BENCH_SUPPORT_FFMPEG_GRAPH_H_
#define VANTRO_BENCH_SUPPORT_FFMPEG_GRAPH_H_

#include <cstdint>
#include <memory>
#include <string>

extern "C" {
struct AVFilterContext;
struct AVFilterGraph;
struct AVFrame;
}

namespace vantro::bench {

class FfmpegGraph {
 public:
  // `filters` is a graph between the pads [frame], [mask] and [result]; one that names no [mask]
  // gets none. `layout` is the pixel format of the frame, as FFmpeg names it. The mask has 256 rows
  // and columns and holds the silhouette in each of its three planes.
  FfmpegGraph(const std::string& filters, const char* layout, int width, int height);
  ~FfmpegGraph();
  FfmpegGraph(const FfmpegGraph&) = delete;
  FfmpegGraph& operator=(const FfmpegGraph&) = delete;

  // Sends the frame and the mask through the graph. Throws when no picture comes out.
  void Run();

 private:
  struct FrameDeleter {
    void operator()(AVFrame* frame) const;
  };
  using Frame = std::unique_ptr<AVFrame, FrameDeleter>;

  static Frame MakeFrame(const char* layout, int width, int height);
  void Send(AVFilterContext* source, AVFrame* frame);

  AVFilterGraph* graph_;
  AVFilterContext* frame_source_ = nullptr;
  AVFilterContext* mask_source_ = nullptr;
  AVFilterContext* sink_ = nullptr;
  Frame frame_;
  Frame mask_;
  Frame result_;
  int64_t time_ = 0;
};

}  // namespace vantro::bench

#endif  // VANTRO_BENCH_SUPPORT_FFMPEG_GRAPH_H_

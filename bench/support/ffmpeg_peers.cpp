#include "bench/support/ffmpeg_peers.h"

#if defined(VANTRO_HAVE_FFMPEG)

#include <memory>

#include "bench/support/ffmpeg_graph.h"
#include "bench/support/operation.h"

namespace vantro::bench {
namespace {

constexpr char kLut[] =
    "lutyuv=u=128:v=128"
    ":y='if(lte(val,25),val/5,if(lte(val,229),(val-25)*245/205+5,(val-230)/5+250))'";
constexpr char kHue[] = "hue=s=0";

const char* LayoutOf(const FrameShape& frame) {
  return frame.format == VANTRO_FORMAT_UYVY ? "yuv422p" : "yuv420p";
}

std::string ScaleTo(int width, int height) {
  return "scale=" + std::to_string(width) + ":" + std::to_string(height) + ":flags=fast_bilinear";
}

// Chroma from the frame where the mask is set, the rest from the grey frame.
std::string Effect(const char* gray, const FrameShape& frame) {
  return std::string("[frame]split[colour][g];[g]") + gray + "[gray];[mask]" +
         ScaleTo(frame.width, frame.height) + ",format=" + LayoutOf(frame) +
         "[m];[gray][colour][m]maskedmerge=planes=6[result]";
}

// The mask's own luma plane is not used: the frame's stands in for it.
std::string EffectWithChromaMask(const char* gray, const FrameShape& frame) {
  const int rows = frame.format == VANTRO_FORMAT_UYVY ? frame.height : frame.height / 2;
  return std::string("[frame]split=3[colour][g][luma];[g]") + gray +
         "[gray];[mask]extractplanes=y," + ScaleTo(frame.width / 2, rows) +
         ",split[u][v];[luma][u][v]mergeplanes=map1s=1:map2s=2:map1p=0:map2p=0:format=" +
         LayoutOf(frame) + "[m];[gray][colour][m]maskedmerge=planes=6[result]";
}

void AddGraph(const std::string& operation, const std::string& who, const FrameShape& frame,
              const std::string& filters) {
  if (frame.format == VANTRO_FORMAT_NV12) return;
  AddPeer(operation, "FFmpeg " + who, frame.name(), [frame, filters] {
    auto graph = std::make_unique<FfmpegGraph>(filters, LayoutOf(frame), frame.width, frame.height);
    return [graph = std::move(graph)] { graph->Run(); };
  });
}

}  // namespace

void AddFfmpegEffect(const std::string& operation, const FrameShape& frame) {
  AddGraph(operation, "lutyuv", frame, Effect(kLut, frame));
  AddGraph(operation, "hue", frame, Effect(kHue, frame));
  AddGraph(operation, "hue, chroma mask", frame, EffectWithChromaMask(kHue, frame));
}

void AddFfmpegGray(const std::string& operation, const FrameShape& frame) {
  AddGraph(operation, "lutyuv", frame, std::string("[frame]") + kLut + "[result]");
  AddGraph(operation, "hue", frame, std::string("[frame]") + kHue + "[result]");
}

}  // namespace vantro::bench

#else

namespace vantro::bench {

void AddFfmpegEffect(const std::string&, const FrameShape&) {}
void AddFfmpegGray(const std::string&, const FrameShape&) {}

}  // namespace vantro::bench

#endif  // VANTRO_HAVE_FFMPEG

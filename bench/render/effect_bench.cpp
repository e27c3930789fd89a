// The grey effect, the blend and the whole compositing of frames, beside memcpy of the frame and
// FFmpeg's filters.
#include <memory>

#include "bench/support/ffmpeg_peers.h"
#include "bench/support/host.h"
#include "bench/support/operation.h"
#include "bench/support/silhouette.h"
#include "vantro/render.h"

namespace vantro::bench {
namespace {

constexpr int kMaskSide = 256;

// A frame, a mask over a box that is the whole frame, and a context.
struct Scene {
  explicit Scene(const FrameShape& shape)
      : bytes(NoiseBuffer(shape.bytes())), mask(Silhouette(kMaskSide, kMaskSide)) {
    record.yuv = record.last_yuv = bytes.data();
    record.yuv_format = shape.format;
    record.width = record.stride = shape.width;
    record.height = shape.height;
    record.rect = {0, 0, shape.height, shape.width, 0, 0};
    record.crop_param = {0, shape.height - 1, 0, shape.width - 1, 2};
    record.mask = mask.data();
    record.maskw = record.maskh = kMaskSide;
  }

  std::vector<uint8_t> bytes;
  std::vector<uint8_t> mask;
  Vantro_t record{};
  Context cxt = MakeContext();
};

// The operations read and write the frame in place.
void AddFrame(const FrameShape& shape) {
  const size_t touched = 2 * shape.bytes();
  Add("Grayeffect", shape.name(), touched, [shape] {
    return
        [scene = std::make_unique<Scene>(shape)] { Grayeffect(scene->cxt.get(), scene->record); };
  });
  AddFfmpegGray("Grayeffect", shape);
  Add("VantroObject", shape.name(), touched, [shape] {
    return [scene = std::make_unique<Scene>(shape)] {
      VantroObject(scene->cxt.get(), 0, 0, 0, scene->record);
    };
  });
  AddFfmpegEffect("VantroObject", shape);
  // With a mask of the frame's size that is there already.
  Add("Grayeffect_Alpha_YUV", shape.name(), touched + shape.pixels(), [shape] {
    return [scene = std::make_unique<Scene>(shape),
            mask = Silhouette(shape.width, shape.height)]() mutable {
      const Vantro_t& record = scene->record;
      Grayeffect_Alpha_YUV(scene->cxt.get(), record.yuv, record.stride, mask.data(), record.height,
                           record.width, record.crop_param, record.rect, record.yuv_format);
    };
  });
  // NV12 first frames are left alone.
  if (shape.format == VANTRO_FORMAT_NV12) return;
  Add("Grayeffect_firstframeIdx", shape.name(), touched, [shape] {
    return [scene = std::make_unique<Scene>(shape)] {
      Grayeffect_firstframeIdx(scene->cxt.get(), scene->record);
    };
  });
}

const bool kAdded = [] {
  for (const FrameShape& shape : FrameShapes()) AddFrame(shape);
  return true;
}();

}  // namespace
}  // namespace vantro::bench

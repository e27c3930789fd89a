// The three entry points. No exception leaves them.
#include <memory>
#include <string>

#include "engine/engine.h"
#include "engine/log.h"
#include "engine/mask_writer.h"
#include "vantro/segmentation_engine.h"

namespace {

using vantro::engine::Engine;
using vantro::engine::FrameView;
using vantro::engine::LogError;
using vantro::engine::Segmentation;

enum Result : int32_t { kDone = 0, kFailed = -1, kBadArgument = -2 };

bool KnownMode(int32_t seg_mode) {
  return seg_mode == VANTRO_SEG_VIDEO || seg_mode == VANTRO_SEG_PHOTO;
}

}  // namespace

int32_t Plimra_Create(void** engine_out, const char* model_dir, void* /*algoInterface*/,
                      int32_t* width_out, int32_t* height_out, int32_t seg_mode) try {
  if (engine_out == nullptr || width_out == nullptr || height_out == nullptr ||
      !KnownMode(seg_mode)) {
    LogError("Plimra_Create: bad argument");
    return kBadArgument;
  }
  const auto purpose =
      seg_mode == VANTRO_SEG_PHOTO ? Engine::Purpose::kPhoto : Engine::Purpose::kVideo;
  std::string error;
  std::unique_ptr<Engine> engine = Engine::Create(model_dir, purpose, &error);
  if (!engine) {
    LogError(error);
    return kFailed;
  }
  *engine_out = engine.release();
  *width_out = vantro::engine::kMaskSide;
  *height_out = vantro::engine::kMaskSide;
  return kDone;
} catch (...) {
  return kFailed;
}

int32_t Plimra_Process(void* engine, uint8_t* frame, uint8_t yuv_format, int32_t width,
                       int32_t height, int32_t stride, int32_t /*seg_param_a*/, uint8_t* mask_out,
                       CROP_BOX* box, CROP_BOX* box_vantro, int32_t /*seg_param_b*/,
                       void* /*seg_output*/, int32_t seg_mode) try {
  const FrameView view{frame, yuv_format, width, height, stride};
  if (engine == nullptr || !view.valid() || mask_out == nullptr || box == nullptr ||
      box_vantro == nullptr || !KnownMode(seg_mode)) {
    return kBadArgument;
  }
  auto& segmenter = *static_cast<Engine*>(engine);
  const Segmentation result{mask_out, box, box_vantro};
  const bool done = seg_mode == VANTRO_SEG_PHOTO ? segmenter.RefineFrame(view, result)
                                                 : segmenter.SegmentFrame(view, result);
  return done ? kDone : kFailed;
} catch (...) {
  return kFailed;
}

int32_t Plimra_Destroy(void* engine) {
  if (engine == nullptr) return kBadArgument;
  delete static_cast<Engine*>(engine);
  return kDone;
}

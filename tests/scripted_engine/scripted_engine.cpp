#include "tests/scripted_engine/scripted_engine.h"

#include <mutex>

#include "vantro/segmentation_engine.h"

using vantro::test::EngineScript;

namespace {

std::mutex mutex;

// An engine has nothing of its own; its content tells it from a stray pointer.
constexpr uint32_t kMagic = 0x5C819E;

}  // namespace

EngineScript* Plimra_Script() {
  static EngineScript script;
  return &script;
}

int32_t Plimra_Create(void** engine_out, const char* model_dir, void* /*algoInterface*/,
                      int32_t* width_out, int32_t* height_out, int32_t seg_mode) {
  const std::lock_guard lock(mutex);
  EngineScript& script = *Plimra_Script();
  script.create_mode = seg_mode;
  script.model_dir = model_dir;
  if (script.create_result != 0) return script.create_result;
  *engine_out = new uint32_t(kMagic);
  ++script.alive;
  *width_out = script.mask_width;
  *height_out = script.mask_height;
  return 0;
}

int32_t Plimra_Process(void* engine, uint8_t* frame, uint8_t yuv_format, int32_t width,
                       int32_t height, int32_t stride, int32_t seg_param_a, uint8_t* mask_out,
                       CROP_BOX* box, CROP_BOX* box_vantro, int32_t seg_param_b, void* seg_output,
                       int32_t seg_mode) {
  if (*static_cast<uint32_t*>(engine) != kMagic) return -99;
  EngineScript& script = *Plimra_Script();
  {
    const std::lock_guard lock(mutex);
    ++script.processes;
  }
  auto* output = static_cast<uint8_t*>(seg_output);
  const vantro::test::SegmentCall call = {frame,      yuv_format,  width,    height,
                                          stride,     seg_param_a, mask_out, box,
                                          box_vantro, seg_param_b, output,   seg_mode};
  if (script.process) return script.process(call);
  return vantro::test::SegmentEllipse(call, script.mask_width, script.mask_height);
}

int32_t Plimra_Destroy(void* engine) {
  const std::lock_guard lock(mutex);
  EngineScript& script = *Plimra_Script();
  ++script.destroys;
  --script.alive;
  *static_cast<uint32_t*>(engine) = 0;
  delete static_cast<uint32_t*>(engine);
  return script.destroy_result;
}

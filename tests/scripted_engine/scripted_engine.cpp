#include "tests/scripted_engine/scripted_engine.h"

#include <mutex>

#include "vantro/segmentation_engine.h"

namespace vantro::test {
namespace {

std::mutex mutex;

// An engine has nothing of its own; its address tells it from a stray pointer.
struct ScriptedEngine {
  uint32_t magic = 0x5C819E;
};

}  // namespace

}  // namespace vantro::test

using vantro::test::EngineScript;
using vantro::test::ScriptedEngine;

EngineScript* Plimra_Script() {
  static EngineScript script;
  return &script;
}

int32_t Plimra_Create(void** engine_out, const char* model_dir, void* /*algoInterface*/,
                      int32_t* width_out, int32_t* height_out, int32_t seg_mode) {
  const std::lock_guard lock(vantro::test::mutex);
  EngineScript& script = *Plimra_Script();
  ++script.creates;
  script.create_mode = seg_mode;
  script.model_dir = model_dir;
  if (script.create_result != 0) return script.create_result;
  *engine_out = new ScriptedEngine;
  ++script.alive;
  *width_out = script.mask_width;
  *height_out = script.mask_height;
  return 0;
}

int32_t Plimra_Process(void* engine, uint8_t* frame, uint8_t yuv_format, int32_t width,
                       int32_t height, int32_t stride, int32_t seg_param_a, uint8_t* mask_out,
                       CROP_BOX* box, CROP_BOX* box_vantro, int32_t seg_param_b, void* seg_output,
                       int32_t seg_mode) {
  if (static_cast<ScriptedEngine*>(engine)->magic != ScriptedEngine().magic) return -99;
  EngineScript& script = *Plimra_Script();
  {
    const std::lock_guard lock(vantro::test::mutex);
    ++script.processes;
  }
  const vantro::test::SegmentCall call = {frame,
                                          yuv_format,
                                          width,
                                          height,
                                          stride,
                                          seg_param_a,
                                          mask_out,
                                          box,
                                          box_vantro,
                                          seg_param_b,
                                          static_cast<uint8_t*>(seg_output),
                                          seg_mode};
  if (script.process) return script.process(call);
  return vantro::test::SegmentEllipse(call, script.mask_width, script.mask_height);
}

int32_t Plimra_Destroy(void* engine) {
  const std::lock_guard lock(vantro::test::mutex);
  EngineScript& script = *Plimra_Script();
  ++script.destroys;
  --script.alive;
  auto* scripted = static_cast<ScriptedEngine*>(engine);
  scripted->magic = 0;
  delete scripted;
  return script.destroy_result;
}

// The segmentation engine as the handles drive it: a library loaded by name, three entry points.
#ifndef VANTRO_PIPELINE_ENGINE_BINDING_H_
#define VANTRO_PIPELINE_ENGINE_BINDING_H_

#include <cstdint>

#include "vantro/segmentation_engine.h"
#include "vantro/vantro.h"

namespace vantro {

using SegCreate = decltype(&Plimra_Create);
using SegProcess = decltype(&Plimra_Process);
using SegDestroy = decltype(&Plimra_Destroy);

static_assert(sizeof(SegmentationInterface) == 56);

// Arguments of one segmentation on the worker thread.
struct SegTaskArgs {
  SegProcess seg_process;
  void* seg_handle;
  uint8_t* frame;
  uint8_t yuv_format;
  int32_t height;
  int32_t width;
  int32_t stride;
  int32_t seg_param_a;
  uint8_t* mask_out;
  CROP_BOX* box;
  CROP_BOX* box_vantro;
  int32_t seg_param_b;
  Vantro_t kc_copy;  // the engine may write its seg_output
  int32_t seg_mode;
};

// The texts in which the families' log lines of the loading sequence differ.
struct EngineTexts {
  int32_t create_mode;
  const char* symbols_found;
  const char* created;  // takes the mask's width and height
  const char* no_interface;
};

struct VantroContext;

// Loads "libPlimra.so", looks its entry points up, and creates an engine. Returns false after a
// failure, with the line written; what was obtained stays in the context for unwinding.
bool BindEngine(VantroContext& cxt, MemPool* pool);

// Worker task: segments the frame that the SegTaskArgs at `args` describe. 0 or -1.
int32_t SegPlimra_Process(void* args, int32_t thread_index);

}  // namespace vantro

#endif  // VANTRO_PIPELINE_ENGINE_BINDING_H_

#include "pipeline/engine_binding.h"

#include <dlfcn.h>

#include "pipeline/context.h"
#include "support/log.h"

namespace vantro {
namespace {

template <typename Function>
Function LookUp(void* library, const char* name) {
  return reinterpret_cast<Function>(dlsym(library, name));
}

}  // namespace

bool BindEngine(VantroContext& cxt, MemPool* pool) {
  const HandleFamily& family = *cxt.family;
  const bool progress = cxt.printlog != 0;

  if (progress) {
    __android_log_print(family.progress_level, family.progress_tag,
                        "dlopen libPlimra.so is begin\n");
  }
  cxt.dl_handle = dlopen("libPlimra.so", RTLD_NOW);
  if (cxt.dl_handle == nullptr) {
    VANTRO_LOGE(kTagVideo, "dlopen libPlimra.so ERROR\n");
    return false;
  }
  if (progress) {
    __android_log_print(family.progress_level, family.progress_tag,
                        "dlopen libPlimra.so success\n");
  }

  cxt.LINK_SegPlimra_Create = LookUp<SegCreate>(cxt.dl_handle, "Plimra_Create");
  cxt.LINK_SegPlimra_Process = LookUp<SegProcess>(cxt.dl_handle, "Plimra_Process");
  cxt.LINK_SegPlimra_Destroy = LookUp<SegDestroy>(cxt.dl_handle, "Plimra_Destroy");
  if (cxt.LINK_SegPlimra_Create == nullptr || cxt.LINK_SegPlimra_Process == nullptr ||
      cxt.LINK_SegPlimra_Destroy == nullptr) {
    VANTRO_LOGE(kTagVideo, "dlsym  ERROR\n");
    return false;
  }
  if (progress) {
    __android_log_print(family.progress_level, family.progress_tag, "%s",
                        family.engine.symbols_found);
  }

  cxt.algoInterface = static_cast<SegmentationInterface*>(
      pool->alloc(sizeof(SegmentationInterface), "cxt_ptr->algoInterface", 0));
  if (cxt.algoInterface == nullptr) {
    VANTRO_LOGE(kTagVideo, "%s", family.engine.no_interface);
    return false;
  }
  cxt.algoInterface->pool = pool;

  void* engine = nullptr;
  if (cxt.LINK_SegPlimra_Create(&engine, VANTRO_SEG_MODEL_DIR, cxt.algoInterface, &cxt.Seg_OUTPUT_W,
                                &cxt.Seg_OUTPUT_H, family.engine.create_mode) != 0) {
    VANTRO_LOGE(kTagVideo, "error: race_detect_create error!\n");
    return false;
  }
  cxt.seg_handle = engine;
  cxt.engine_alive = true;
  if (progress) {
    __android_log_print(family.progress_level, family.progress_tag, family.engine.created,
                        cxt.Seg_OUTPUT_W, cxt.Seg_OUTPUT_H);
  }
  return true;
}

int32_t SegPlimra_Process(void* args, int32_t /*thread_index*/) {
  SegTaskArgs& task = *static_cast<SegTaskArgs*>(args);
  const int32_t result =
      task.seg_process(task.seg_handle, task.frame, task.yuv_format, task.width, task.height,
                       task.stride, task.seg_param_a, task.mask_out, task.box, task.box_vantro,
                       task.seg_param_b, task.kc_copy.seg_output, task.seg_mode);
  if (result != 0) {
    VANTRO_LOGI(kTagVideo, "Plimra_process is error!\n");
    return -1;
  }
  return 0;
}

}  // namespace vantro

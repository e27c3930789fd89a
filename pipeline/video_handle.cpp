// Opening and closing of a video handle.
#include "pipeline/algo_context.h"
#include "pipeline/context.h"
#include "support/log.h"

using namespace vantro;

namespace {

int32_t* AllocRing(MemPool* pool, const char* name) {
  return static_cast<int32_t*>(AllocZeroed(pool, kRingSlots * sizeof(int32_t), name));
}

// Everything after the worker pool. False after a failure, with its line written.
bool OpenVideo(VantroContext& cxt, MemPool* pool) {
  if (!OpenAlgorithm(cxt, pool)) return false;

  cxt.mask = cxt.allocated_as_mask = AllocMask(cxt, pool, "mask");
  if (cxt.mask != nullptr) {
    cxt.lastMask = cxt.allocated_as_last_mask = AllocMask(cxt, pool, "lastMask");
  }
  if (cxt.lastMask == nullptr) {
    VANTRO_LOGE(kTagVideo, "cxt_ptr->mask is malloc failed\n");
    return false;
  }
  cxt.box->box_mode = kMaskBoxMode;
  cxt.box_vantro->box_mode = kMaskBoxMode;

  cxt.flash_flag = AllocRing(pool, "flash_flag");
  if (cxt.flash_flag == nullptr) {
    VANTRO_LOGE(kTagVideo, "cxt_ptr->mask is malloc failed\n");
    return false;
  }
  cxt.move_flag = AllocRing(pool, "move_flag");
  if (cxt.move_flag != nullptr) cxt.area = AllocRing(pool, "area");
  if (cxt.area == nullptr) {
    VANTRO_LOGE(kTagVideo, "cxt_ptr->move_flag is malloc failed\n");
    return false;
  }
  return true;
}

}  // namespace

int32_t Vantro_Init(void** handle_kc, const char* xml_name, MemPool* pool) {
  int32_t result = CheckInit(kVideoFamily, handle_kc, xml_name, pool);
  if (result != VANTRO_OK) return result;
  VantroContext* cxt = OpenContext(kVideoFamily, pool, &result);
  if (cxt == nullptr) return result;

  const MThreadAttr worker = {.bind_core_flag = 2, .high_priority = 0, .name = "VANTRO"};
  cxt->th_num = 1;
  cxt->th_pool = MThread_Create(1, &worker, &cxt->th_num);
  if (cxt->th_pool == nullptr) {
    UnwindContext(cxt, pool);
    VANTRO_LOGE(kTagVideo, "[vantro] Vantro_Init cxt_ptr->th_pool err!");
    return VANTRO_ERR_INPUT;
  }
  if (cxt->printlog != 0) {
    VANTRO_LOGD(kTagVideo, "[vantro] Vantro_Init version=%d", static_cast<int>(kContextMagic));
  }
  VANTRO_LOGI(kTagVideo, "Vantro_Init loadxml, %s fail,use inner value", xml_name);

  if (!OpenVideo(*cxt, pool)) {
    UnwindContext(cxt, pool);
    return VANTRO_ERR_OPEN;
  }
  if (cxt->printlog != 0) VANTRO_LOGD(kTagVideo, "init success\n");
  *handle_kc = cxt;
  return VANTRO_OK;
}

int32_t Vantro_Deinit(void** handle) {
  VantroContext* cxt = HandleToClose(kVideoFamily, handle);
  if (cxt == nullptr) return VANTRO_OK;
  MThread_Clean(cxt->th_pool, 0);
  DestroyEngine(*cxt, "Vantro_Deinit_end_", cxt->printlog != 0);
  if (cxt->printlog != 0) VANTRO_LOGI(kTagVideo, "[vantro] Vantro_Deinit");
  CloseAlgorithm(*cxt);
  MThread_Destroy(cxt->th_pool);
  CloseBuffers(cxt);
  *handle = nullptr;
  VANTRO_LOGI(kTagVideo, "VANTRO_destory success!\n");
  return VANTRO_OK;
}

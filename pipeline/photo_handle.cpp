// The photo family: one still picture at a time, segmented and rendered on the caller's thread.
#include "pipeline/context.h"
#include "pipeline/frame_geometry.h"
#include "pipeline/step_timer.h"
#include "support/log.h"
#include "support/timing_line.h"
#include "vantro/bounded.h"
#include "vantro/mask.h"
#include "vantro/render.h"

using namespace vantro;

namespace {

bool OpenPhoto(VantroContext& cxt, MemPool* pool) {
  if (!OpenAlgorithm(cxt, pool)) return false;
  cxt.mask = cxt.allocated_as_mask = AllocMask(cxt, pool, "mask");
  if (cxt.mask == nullptr) {
    VANTRO_LOGE(kTagVideo, "cxt_ptr->mask error!\n");
    return false;
  }
  cxt.lastMask = cxt.allocated_as_last_mask = AllocMask(cxt, pool, "lastMask");
  if (cxt.lastMask == nullptr) {
    VANTRO_LOGE(kTagVideo, "cxt_ptr->lastMask error!\n");
    return false;
  }
  cxt.box->box_mode = kMaskBoxMode;
  cxt.box_vantro->box_mode = kMaskBoxMode;
  return true;
}

bool RunEngine(VantroContext& cxt, const Vantro_t& caller, uint8_t* seg_output, int32_t mode) {
  return cxt.LINK_SegPlimra_Process(cxt.seg_handle, caller.yuv, caller.yuv_format, caller.width,
                                    caller.height, caller.stride, caller.seg_param_a, cxt.mask,
                                    cxt.box, cxt.box_vantro, caller.seg_param_b, seg_output,
                                    mode) == 0;
}

// Finds the person, then refines what was found.
bool Segment(VantroContext& cxt, const Vantro_t& caller, uint8_t* seg_output) {
  cxt.box->box_mode = kMaskBoxMode;
  if (RunEngine(cxt, caller, seg_output, VANTRO_SEG_VIDEO) &&
      RunEngine(cxt, caller, seg_output, VANTRO_SEG_PHOTO)) {
    return true;
  }
  VANTRO_LOGE(kTagPhoto, "LINK_SegPlimra_Process is error!\n");
  return false;
}

void RenderSubject(VantroContext& cxt, const Vantro_t& kc_para) {
  const StepTimer colour_timer(cxt);
  {
    const StepTimer timer(cxt);
    connectionFilter(cxt.algo_cxt, cxt.mask, cxt.Seg_OUTPUT_W, cxt.Seg_OUTPUT_H,
                     RegionPercent(*cxt.algo_cxt));
    timer.Line("connectionFilter_");
  }
  const StepTimer render_timer(cxt);
  if (cxt.printlog != 0) {
    VANTRO_LOGE(kTagPhoto, "This is VantroObject begin______yuv_format is [%d]\n",
                kc_para.yuv_format);
    VANTRO_LOGE(kTagPhoto, "maskw is [%d],maskh is [%d]\n", kc_para.maskw, kc_para.maskh);
  }
  VantroObject(cxt.algo_cxt, cxt.printlog, cxt.isDumpImg, 1, kc_para);
  render_timer.Line("VantroObject_");
  colour_timer.Line("FLAG_23_TIME");
}

void RenderWithoutSubject(VantroContext& cxt, const Vantro_t& kc_para, int flag) {
  if (cxt.printlog != 0) {
    VANTRO_LOGE(kTagPhoto, "[vantro] grey the image flag = %d", flag);
  }
  const StepTimer timer(cxt);
  Grayeffect(cxt.algo_cxt, kc_para);
  timer.Line("Grayeffect_");
}

}  // namespace

int32_t VantroPhoto_Init(void** handle_kc, const char* xml_name, MemPool* pool) {
  int32_t result = CheckInit(kPhotoFamily, handle_kc, xml_name, pool);
  if (result != VANTRO_OK) return result;
  VantroContext* cxt = OpenContext(kPhotoFamily, pool, &result);
  if (cxt == nullptr) return result;
  if (cxt->printlog != 0) {
    VANTRO_LOGE(kTagPhoto, "[vantro] Vantro_Init version=%d", static_cast<int>(kContextMagic));
  }
  VANTRO_LOGE(kTagPhoto, "Vantro_Init load %s fail!", xml_name);

  if (!OpenPhoto(*cxt, pool)) {
    UnwindContext(cxt, pool);
    return VANTRO_ERR_OPEN;
  }
  VANTRO_LOGE(kTagPhoto, "init success\n");
  *handle_kc = cxt;
  return VANTRO_OK;
}

int32_t VantroPhoto_Process(void* handle, Vantro_t* caller, VantroResult* result) {
  const Moment process_start = Now();
  VantroContext* open = OpenHandle(handle, kPhotoFamily);
  if (open == nullptr || !IsUsableFrame(caller) || caller->last_yuv != nullptr ||
      IsOversized(*caller)) {
    VANTRO_LOGE(kTagPhoto, "input data is error!!!\n");
    return VANTRO_ERR_INPUT;
  }
  VantroContext& cxt = *open;
  Vantro_t kc_para;
  memcpy_s(&kc_para, sizeof(kc_para), caller, sizeof(*caller));
  kc_para.mask = nullptr;  // the engine gets a pointer into this copy: no mask of the caller's

  const Moment segmentation_start = Now();
  if (!Segment(cxt, *caller, kc_para.seg_output)) return VANTRO_ERR_FAILED;
  kc_para.mask = cxt.mask;
  kc_para.maskw = cxt.Seg_OUTPUT_W;
  kc_para.maskh = cxt.Seg_OUTPUT_H;
  WriteTimingLine("Photo_Seg_process", segmentation_start);

  kc_para.crop_param = *cxt.box_vantro;
  if (cxt.printlog != 0) {
    VANTRO_LOGE(kTagPhoto,
                "crop_left is [%d],crop_top is [%d],crop_bottom is [%d],crop_right is [%d]\n",
                kc_para.crop_param.crop_left, kc_para.crop_param.crop_top,
                kc_para.crop_param.crop_bottom, kc_para.crop_param.crop_right);
  }
  kc_para.rect.x = 0;
  kc_para.rect.y = 0;
  kc_para.rect.height = kc_para.height;
  kc_para.rect.width = kc_para.width;
  if (result != nullptr) *result = {-1, -1, -1};
  if (caller->reset_flag == 1) cxt.algo_cxt->roi_state = 0;

  int flag = kNoSubject;
  {
    const StepTimer timer(cxt);
    GetROI(cxt.algo_cxt, kc_para, &flag);
    VANTRO_LOGE(kTagPhoto, "flag is [%d]\n", flag);
    timer.Line("Photo_GetROI");
  }
  if (flag == kSubjectPresent) {
    RenderSubject(cxt, kc_para);
  } else {
    RenderWithoutSubject(cxt, kc_para, flag);
  }
  if (cxt.printlog != 0) WriteTimingLine("Photo_process", process_start);
  return VANTRO_OK;
}

int32_t VantroPhoto_Deinit(void** handle) {
  VantroContext* cxt = HandleToClose(kPhotoFamily, handle);
  if (cxt == nullptr) return VANTRO_OK;
  DestroyEngine(*cxt, "VantroPHOTO_Deinit_end_", cxt->printlog != 0);
  if (cxt->printlog != 0) VANTRO_LOGI(kTagPlain, "[vantro] Vantro_Deinit");
  CloseAlgorithm(*cxt);
  CloseBuffers(cxt);
  *handle = nullptr;
  VANTRO_LOGE(kTagPhoto, "vantro_photo_dinit _success!\n");
  return VANTRO_OK;
}

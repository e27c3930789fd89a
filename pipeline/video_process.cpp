// The road of one video frame: while the worker segments the newest frame, the frame before it is
// rendered with the mask that the previous call's segmentation produced.
#include <sys/prctl.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "image/bmp_dump.h"
#include "pipeline/context.h"
#include "pipeline/frame_geometry.h"
#include "pipeline/step_timer.h"
#include "support/log.h"
#include "vantro/bounded.h"
#include "vantro/mask.h"
#include "vantro/motion.h"
#include "vantro/render.h"

using namespace vantro;

namespace {

#define LOG_IF_ON(cxt, ...)                                       \
  do {                                                            \
    if ((cxt).printlog != 0) VANTRO_LOGI(kTagVideo, __VA_ARGS__); \
  } while (false)

// The record's frame may be rendered in a buffer that the record before it described, so it must
// not describe more bytes than that one did.
bool OutgrowsPreviousFrame(const VantroContext& cxt, const Vantro_t& frame) {
  return cxt.frameIdx >= 1 && IsRenderedFormat(frame.yuv_format) &&
         FrameBytes(frame) > cxt.last_frame_bytes;
}

// The count goes on for longer than an int32 can; it then falls back to a number with the same slot
// in the rings.
int32_t NextFrameIndex(int32_t index) {
  constexpr int32_t kLast = std::numeric_limits<int32_t>::max() - 1;
  return index < kLast ? index + 1 : kRingSlots + (kLast + 1) % kRingSlots;
}

// Starts the sequence anew. The segmentation of the last call may still be running.
void Restart(VantroContext& cxt) {
  if (cxt.frameIdx >= 2) MThread_Clean(cxt.th_pool, 0);
  cxt.frameIdx = 0;
  cxt.algo_cxt->roi_state = 0;
}

void TakeFinishedMask(VantroContext& cxt) {
  std::swap(cxt.mask, cxt.lastMask);
  cxt.mask_rect = cxt.seg_rect;
}

void CollectSegmentation(VantroContext& cxt) {
  const StepTimer timer(cxt);
  MThread_Clean(cxt.th_pool, 0);
  TakeFinishedMask(cxt);
  timer.Line("CLEAN");
}

// Bytes of the first frame to copy: never more than its record describes, and none that the copy
// has no room for (of an unknown format it has the size of an older one).
int64_t FirstFrameCopyBytes(const VantroContext& cxt, const Vantro_t& frame) {
  return std::min<int64_t>(cxt.firstFramesize, FrameBytes(frame));
}

// Copies the first frame of a sequence: its caller may reuse the buffer before it is rendered.
bool KeepFirstFrame(VantroContext& cxt, const Vantro_t& frame) {
  MemPool* pool = cxt.algoInterface->pool;
  if (cxt.firstFrameIdxTempYuv != nullptr) {
    pool->free(std::exchange(cxt.firstFrameIdxTempYuv, nullptr), "firstFrameIdxTempYuv", 0);
  }
  const int64_t luma = int64_t{frame.height} * frame.stride;
  int64_t size = cxt.firstFramesize;
  if (frame.yuv_format == VANTRO_FORMAT_NV21 || frame.yuv_format == VANTRO_FORMAT_NV12) {
    size = luma + luma / 2;
  } else if (frame.yuv_format == VANTRO_FORMAT_UYVY) {
    size = luma * 2;
  } else {
    VANTRO_LOGE(kTagVideo, "the format is wrong!!\n");
  }
  if (size >= 0 && size <= std::numeric_limits<int32_t>::max()) {
    cxt.firstFramesize = static_cast<int32_t>(size);
    cxt.firstFrameIdxTempYuv =
        static_cast<uint8_t*>(pool->alloc(static_cast<uint32_t>(size), "firstFrameIdxTempYuv", 0));
  }
  if (cxt.firstFrameIdxTempYuv == nullptr) {
    VANTRO_LOGE(kTagVideo, "cxt_ptr->firstFrameIdxTempYuv Malloc is failed\n");
    return false;
  }
  LOG_IF_ON(cxt,
            "cxt_ptr->firstFrameIdxTempYuv is [%p],(kc_para.yuv) is [%p],"
            "cxt_ptr->firstFramesize is %d\n",
            static_cast<void*>(cxt.firstFrameIdxTempYuv), static_cast<void*>(frame.yuv),
            cxt.firstFramesize);
  const auto bytes = static_cast<size_t>(FirstFrameCopyBytes(cxt, frame));
  memcpy_s(cxt.firstFrameIdxTempYuv, bytes, frame.yuv, bytes);
  return true;
}

// Hands the rendered first frame to the caller, whose buffer the previous record described.
void DeliverFirstFrame(VantroContext& cxt, uint8_t* last_yuv) {
  const auto bytes = static_cast<size_t>(cxt.last_frame_bytes);
  memcpy_s(last_yuv, bytes, cxt.firstFrameIdxTempYuv, bytes);
  MemPool* pool = cxt.algoInterface->pool;
  pool->free(std::exchange(cxt.firstFrameIdxTempYuv, nullptr), "firstFrameIdxTempYuv", 0);
}

void StartSegmentation(VantroContext& cxt, const Vantro_t& caller, const Rect_t& rect) {
  const bool first = cxt.frameIdx == 1;
  SegTaskArgs& task = cxt.seg_task;
  task.seg_process = cxt.LINK_SegPlimra_Process;
  task.seg_handle = cxt.seg_handle;
  task.frame = first ? cxt.firstFrameIdxTempYuv : caller.yuv;
  task.yuv_format = caller.yuv_format;
  task.height = caller.height;
  task.width = caller.width;
  task.stride = caller.stride;
  task.seg_param_a = caller.seg_param_a;
  task.mask_out = cxt.mask;
  task.box = cxt.box;
  task.box_vantro = cxt.box_vantro;
  task.seg_param_b = caller.seg_param_b;
  memcpy_s(&task.kc_copy, sizeof(task.kc_copy), &caller, sizeof(caller));
  task.seg_mode = VANTRO_SEG_VIDEO;
  if (first) {
    cxt.seg_rect.x = 0;
    cxt.seg_rect.y = 0;
    cxt.seg_rect.height = caller.height;
    cxt.seg_rect.width = caller.width;
  } else {
    cxt.seg_rect = rect;
  }
  LOG_IF_ON(cxt, "MThread_Boot_begin\n");
  LOG_IF_ON(cxt, "cxt_ptr->th_pool is %p\n", static_cast<void*>(cxt.th_pool));
  MThread_Boot(cxt.th_pool, 0, SegPlimra_Process, &cxt.seg_task);
  LOG_IF_ON(cxt, "MThread_Boot_end\n");
}

// No mask exists yet: the frame is shown grey, and its segmentation is waited for.
void ShowFirstFrame(VantroContext& cxt, Vantro_t kc_para) {
  kc_para.rect = cxt.seg_rect;
  Grayeffect_firstframeIdx(cxt.algo_cxt, kc_para);
  MThread_Clean(cxt.th_pool, 0);
  TakeFinishedMask(cxt);
}

OpticalFlow FlowRecord(const VantroContext& cxt, const Vantro_t& caller, const Vantro_t& kc_para,
                       const CROP_BOX& engine_box) {
  OpticalFlow flow = {};
  flow.yuv = caller.yuv;
  flow.last_yuv = caller.last_yuv;
  flow.yuv_format = caller.yuv_format;
  flow.frameIdx = cxt.frameIdx;
  flow.height = caller.height;
  flow.width = caller.width;
  flow.stride = caller.stride;
  flow.mask_width = cxt.Seg_OUTPUT_W;
  flow.mask_height = cxt.Seg_OUTPUT_H;
  flow.mask = cxt.lastMask;
  flow.flash_flag = cxt.flash_flag;
  flow.move_flag = cxt.move_flag;
  flow.area = cxt.area;
  flow.crop_param = kc_para.crop_param;
  flow.engine_box = engine_box;
  return flow;
}

void LogFlashFlags(const VantroContext& cxt, int flag) {
  LOG_IF_ON(cxt, "flash flag: (%d,%d,%d,%d,%d) flag:%d, frameIdx:%d !!!", cxt.flash_flag[0],
            cxt.flash_flag[1], cxt.flash_flag[2], cxt.flash_flag[3], cxt.flash_flag[4], flag,
            cxt.frameIdx);
}

// A subject is present: its colours stay, unless a flash tells otherwise.
void RenderSubject(VantroContext& cxt, const Vantro_t& kc_para, const OpticalFlow& flow) {
  const StepTimer colour_timer(cxt);
  {
    const StepTimer timer(cxt);
    connectionFilter(cxt.algo_cxt, cxt.lastMask, cxt.Seg_OUTPUT_W, cxt.Seg_OUTPUT_H,
                     RegionPercent(*cxt.algo_cxt));
    timer.Line("connectionFilter_");
  }
  int flag = kSubjectPresent;
  const StepTimer flow_timer(cxt);
  GetFlashFlag(cxt.algo_cxt, flow, &flag);
  LogFlashFlags(cxt, flag);
  flow_timer.Line("OpticalFlow_");

  const StepTimer render_timer(cxt);
  if (flag != 0) {
    VantroObject(cxt.algo_cxt, cxt.printlog, cxt.isDumpImg, 0, kc_para);
  } else {
    Grayeffect(cxt.algo_cxt, kc_para);
  }
  render_timer.Line("VantroObject_");
  colour_timer.Line("FLAG_23_TIME");
}

void DumpIfAsked(const VantroContext& cxt, const char* path, const Vantro_t& kc_para) {
  if (cxt.algo_cxt->dump_img != 0) DumpFrame(path, kc_para);
}

void RenderWithoutSubject(VantroContext& cxt, const Vantro_t& kc_para, int flag) {
  cxt.move_flag[(cxt.frameIdx + 1) % kRingSlots] = 0;
  cxt.flash_flag[cxt.frameIdx % kRingSlots] = 1;
  cxt.area[cxt.frameIdx % kRingSlots] = 0;
  LogFlashFlags(cxt, flag);
  LOG_IF_ON(cxt, "[vantro] grey the image flag = %d", flag);
  const StepTimer timer(cxt);
  DumpIfAsked(cxt, "/data/vendor/camera/img/Graytargetin_put.bmp", kc_para);
  Grayeffect(cxt.algo_cxt, kc_para);
  DumpIfAsked(cxt, "/data/vendor/camera/img/Graytargetout_put.bmp", kc_para);
  timer.Line("Grayeffect_");
}

// Renders the previous frame with its own mask and rectangle.
void RenderPreviousFrame(VantroContext& cxt, const Vantro_t& caller, Vantro_t& kc_para,
                         const CROP_BOX& engine_box, const StepTimer& process_timer) {
  const StepTimer boot_timer_1(cxt);
  const StepTimer boot_timer_2(cxt);
  kc_para.yuv = cxt.frameIdx == 2 ? cxt.firstFrameIdxTempYuv : caller.last_yuv;

  int flag = kNoSubject;
  {
    const StepTimer timer(cxt);
    GetROI(cxt.algo_cxt, kc_para, &flag);
    timer.Line("GetROI_");
  }
  const StepTimer after_roi_timer(cxt);
  if (flag == kSubjectPresent) {
    RenderSubject(cxt, kc_para, FlowRecord(cxt, caller, kc_para, engine_box));
  } else {
    RenderWithoutSubject(cxt, kc_para, flag);
  }
  if (cxt.frameIdx == 2) DeliverFirstFrame(cxt, caller.last_yuv);
  after_roi_timer.Line("Vantro_Seg_Aftre_PROCESS");
  boot_timer_2.Line("Vantro_Seg_Aftre_1");
  boot_timer_1.Line("Vantro_Seg_Aftre");
  process_timer.Line("Vantro_Process_");
}

void LogRect(const VantroContext& cxt, const Rect_t& rect) {
  LOG_IF_ON(cxt, "[x = %d],[y = %d],[width = %d],[heigh = %d]\n", rect.x, rect.y, rect.width,
            rect.height);
}

}  // namespace

int32_t Vantro_Process(void* handle, Vantro_t* caller, VantroResult* result) {
  VantroContext* open = OpenHandle(handle, kVideoFamily);
  if (open == nullptr || !IsUsableFrame(caller) || caller->last_yuv == nullptr) {
    VANTRO_LOGE(kTagVideo, "input data is error!!!\n");
    if (caller != nullptr) {
      VANTRO_LOGE(kTagVideo, "p_kc_para->yuv is [%p],p_kc_para->last_yuv is [%p]",
                  static_cast<void*>(caller->yuv), static_cast<void*>(caller->last_yuv));
    }
    return VANTRO_ERR_INPUT;
  }
  VantroContext& cxt = *open;
  LOG_IF_ON(cxt, "%s VERSION_2018.10.15  17.24 ", "Vantro_Process");
  if (caller->reset_flag == 1 || OutgrowsPreviousFrame(cxt, *caller)) Restart(cxt);

  const StepTimer process_timer(cxt);
  prctl(PR_SET_NAME, "Vantro");
  LogRect(cxt, caller->rect);
  LOG_IF_ON(cxt, "frameIdx is %d\n", cxt.frameIdx);
  if (cxt.frameIdx >= 2) CollectSegmentation(cxt);
  cxt.frameIdx = NextFrameIndex(cxt.frameIdx);

  Vantro_t kc_para;
  memcpy_s(&kc_para, sizeof(kc_para), caller, sizeof(*caller));
  kc_para.crop_param = *cxt.box_vantro;
  const CROP_BOX engine_box = *cxt.box;
  kc_para.rect = RenderRect(*caller);
  LogRect(cxt, kc_para.rect);
  if (cxt.frameIdx == 1 && !KeepFirstFrame(cxt, *caller)) {
    cxt.frameIdx = 0;  // without the copy there is nothing to render next: begin again
    return VANTRO_ERR_FAILED;
  }

  StartSegmentation(cxt, *caller, kc_para.rect);
  kc_para.mask = cxt.lastMask;
  kc_para.maskw = cxt.Seg_OUTPUT_W;
  kc_para.maskh = cxt.Seg_OUTPUT_H;
  kc_para.rect = cxt.mask_rect;
  LOG_IF_ON(cxt, "kc_para.mask = %p, mask[%d,%d]\n", static_cast<void*>(cxt.lastMask),
            cxt.Seg_OUTPUT_W, cxt.Seg_OUTPUT_H);
  if (cxt.frameIdx == 1) {
    ShowFirstFrame(cxt, kc_para);
    cxt.last_frame_bytes = FirstFrameCopyBytes(cxt, *caller);
    return VANTRO_OK;
  }
  if (result != nullptr) *result = {-1, -1, -1};
  RenderPreviousFrame(cxt, *caller, kc_para, engine_box, process_timer);
  cxt.last_frame_bytes = FrameBytes(*caller);
  return VANTRO_OK;
}

#include "render/mask_to_crop.h"
#include "render/object_dump.h"
#include "support/log.h"
#include "support/scratch.h"
#include "support/timing_line.h"
#include "vantro/algo_context.h"
#include "vantro/render.h"

namespace {

using vantro::MaskSize;

bool IsAccepted(const void* cxt, const Vantro_t& frame) {
  const CROP_BOX& box = frame.crop_param;
  return cxt != nullptr && frame.yuv != nullptr && frame.mask != nullptr &&  //
         frame.width > 0 && frame.height > 0 && frame.width % 2 == 0 && frame.height % 2 == 0 &&
         frame.maskw > 0 && frame.maskh > 0 &&  //
         box.crop_left >= 0 && box.crop_left <= box.crop_right && box.crop_right < frame.width &&
         box.crop_top >= 0 && box.crop_top <= box.crop_bottom && box.crop_bottom < frame.height;
}

void LogSizes(const AlgoCxt& algo, bool is_photo, const CROP_BOX& box) {
  static constexpr char kCropSize[] = "cxt->maskupheight is [%d],cxt->maskupwidth is [%d]\n";
  if (algo.print_log != 0) {
    VANTRO_LOGI(vantro::kTagVideo, kCropSize, algo.maskupheight, algo.maskupwidth);
  }
  if (is_photo) {
    VANTRO_LOGE(vantro::kTagPhoto, kCropSize, algo.maskupheight, algo.maskupwidth);
  }
  if (algo.print_log != 0) {
    VANTRO_LOGI(vantro::kTagVideo,
                "kc_para.crop_param.crop_bottom is [%d],kc_para.crop_param.crop_top is "
                "[%d],kc_para.crop_param.crop_right is [%d],kc_para.crop_param.crop_left[%d]\n",
                box.crop_bottom, box.crop_top, box.crop_right, box.crop_left);
  }
}

// Everything that happens while the context holds the crop-size mask.
int RenderWithMask(AlgoCxt& algo, const Vantro_t& frame) {
  const bool timed = algo.print_log != 0;
  if (!vantro::StretchMask(frame.mask, MaskSize{frame.maskw, frame.maskh}, algo.maskup,
                           MaskSize{algo.maskupwidth, algo.maskupheight}, algo.pool, timed)) {
    return VANTRO_ERR_FAILED;
  }
  if (algo.dump_img != 0 &&
      !vantro::DumpBeforeBlend(frame, algo.maskup, algo.maskupwidth, algo.maskupheight)) {
    return VANTRO_ERR_FAILED;
  }
  if (timed) VANTRO_LOGI(vantro::kTagVideo, "ROI__\n");

  const vantro::Moment start = vantro::Now();
  Grayeffect_Alpha_YUV(&algo, frame.yuv, frame.stride, algo.maskup, frame.height, frame.width,
                       frame.crop_param, frame.rect, frame.yuv_format);
  if (timed) vantro::WriteTimingLine("Grayeffect_Alpha_YUV_", start);
  if (algo.dump_img != 0) vantro::DumpAfterBlend(frame);
  return VANTRO_OK;
}

}  // namespace

int VantroObject(void* cxt, int printlog, int isDumpImg, int isPhoto, Vantro_t kc_para) {
  if (!IsAccepted(cxt, kc_para)) return VANTRO_ERR_MASK_SIZE;
  AlgoCxt& algo = *static_cast<AlgoCxt*>(cxt);
  const CROP_BOX& box = kc_para.crop_param;
  algo.print_log = printlog;
  algo.dump_img = isDumpImg;
  algo.maskupwidth = box.crop_right - box.crop_left + 1;
  algo.maskupheight = box.crop_bottom - box.crop_top + 1;

  const vantro::PoolBlock<uint8_t> maskup = vantro::AllocFromPool<uint8_t>(
      algo.pool,
      static_cast<uint64_t>(algo.maskupwidth) * static_cast<uint64_t>(algo.maskupheight) + 1,
      "cxt->maskup");
  if (maskup == nullptr) return VANTRO_ERR_FAILED;
  algo.maskup = maskup.get();
  LogSizes(algo, isPhoto == 1, box);
  const int result = RenderWithMask(algo, kc_para);
  algo.maskup = nullptr;
  return result;
}

#include <algorithm>

#include "render/mask_to_crop.h"
#include "render/object_dump.h"
#include "support/log.h"
#include "support/scratch.h"
#include "support/timing_line.h"
#include "vantro/algo_context.h"
#include "vantro/render.h"

namespace {

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

// Blends the rows of the frame's rectangle from row_begin to row_end - 1.
void BlendRows(AlgoCxt& algo, const Vantro_t& frame, int64_t row_begin, int64_t row_end) {
  const int64_t rect_end = int64_t{frame.rect.y} + frame.rect.height;
  const int64_t begin = std::max<int64_t>(row_begin, frame.rect.y);
  const int64_t end = std::min(row_end, rect_end);
  if (begin >= end) return;
  Rect_t rows = frame.rect;
  rows.y = static_cast<int32_t>(begin);
  rows.height = static_cast<int32_t>(end - begin);
  Grayeffect_Alpha_YUV(&algo, frame.yuv, frame.stride, algo.maskup, frame.height, frame.width,
                       frame.crop_param, rows, frame.yuv_format);
}

// Each step on the whole frame, with its messages, timing lines and dumps.
int RenderInSteps(AlgoCxt& algo, const Vantro_t& frame, vantro::MaskStretcher& stretcher) {
  const bool timed = algo.print_log != 0;
  stretcher.WriteAll(timed);
  if (algo.dump_img != 0 &&
      !vantro::DumpBeforeBlend(frame, algo.maskup, algo.maskupwidth, algo.maskupheight)) {
    return VANTRO_ERR_FAILED;
  }
  if (timed) VANTRO_LOGI(vantro::kTagVideo, "ROI__\n");
  const vantro::Moment start = vantro::Now();
  BlendRows(algo, frame, 0, frame.height);
  if (timed) vantro::WriteTimingLine("Grayeffect_Alpha_YUV_", start);
  if (algo.dump_img != 0) vantro::DumpAfterBlend(frame);
  return VANTRO_OK;
}

// The same without anybody watching: enlargement and blend go band by band, so that the blend finds
// the mask's rows in the cache.
void RenderInBands(AlgoCxt& algo, const Vantro_t& frame, vantro::MaskStretcher& stretcher) {
  const int32_t top = frame.crop_param.crop_top;
  BlendRows(algo, frame, 0, top);
  for (int32_t row = 0; row < algo.maskupheight;) {
    const int32_t end = stretcher.WriteBand(row);
    BlendRows(algo, frame, top + row, top + end);
    row = end;
  }
  BlendRows(algo, frame, top + algo.maskupheight, frame.height);
}

// Everything that happens while the context holds the crop-size mask.
int RenderWithMask(AlgoCxt& algo, const Vantro_t& frame) {
  vantro::MaskStretcher stretcher(frame.mask, {frame.maskw, frame.maskh}, algo.maskup,
                                  {algo.maskupwidth, algo.maskupheight}, algo.pool);
  if (!stretcher.ready() || !stretcher.Resize(algo.print_log != 0)) return VANTRO_ERR_FAILED;
  if (algo.print_log != 0 || algo.dump_img != 0) return RenderInSteps(algo, frame, stretcher);
  RenderInBands(algo, frame, stretcher);
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

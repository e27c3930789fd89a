#include <cstring>

#include "render/frame_region.h"
#include "render/gray_kernels.h"
#include "render/packed_rows.h"
#include "support/log.h"
#include "vantro/algo_context.h"
#include "vantro/render.h"

namespace {

using vantro::ContrastCurve;
using vantro::FrameRegion;

void GraySemiPlanar(const ContrastCurve& curve, uint8_t* image, const Vantro_t& frame,
                    const FrameRegion& region) {
  vantro::ForEachRow(image, frame.stride, region,
                     [&](uint8_t* luma, size_t count) { vantro::ApplyCurve(curve, luma, count); });
  // An odd height has no chroma row for its last luma row.
  const FrameRegion chroma_region{region.x_begin, region.x_end, region.y_begin / 2,
                                  std::min<int64_t>((region.y_end + 1) / 2, frame.height / 2)};
  if (chroma_region.empty()) return;
  ForEachRow(
      image + int64_t{frame.height} * frame.stride, frame.stride, chroma_region,
      [](uint8_t* chroma, size_t count) { std::memset(chroma, vantro::kNeutralChroma, count); });
}

void GrayPacked(const ContrastCurve& curve, uint8_t* image, const Vantro_t& frame,
                const FrameRegion& region) {
  const vantro::PackedSpan span(region, frame.stride);
  for (int64_t y = region.y_begin; y < region.y_end; ++y) {
    uint8_t* row = image + y * frame.stride * 2;
    vantro::GrayGroups(curve, row + span.begin, span.whole_groups);
    if (span.cut_group) vantro::GrayCutGroup(curve, row + span.cut_begin());
  }
}

void GrayFrame(const void* cxt, uint8_t* image, const Vantro_t& frame) {
  const FrameRegion region = vantro::ClipToFrame(frame.rect, frame.stride, frame.height);
  if (cxt == nullptr || image == nullptr || region.empty()) return;
  const ContrastCurve curve(static_cast<const AlgoCxt*>(cxt)->contrastTable);
  if (frame.yuv_format == VANTRO_FORMAT_UYVY) {
    GrayPacked(curve, image, frame, region);
  } else {
    GraySemiPlanar(curve, image, frame, region);
  }
}

}  // namespace

unsigned char EnhanceContrast(void* cxt, unsigned char v) {
  return static_cast<const AlgoCxt*>(cxt)->contrastTable[v];
}

int Grayeffect(void* cxt, Vantro_t kc_para) {
  switch (kc_para.yuv_format) {
    case VANTRO_FORMAT_NV21:
    case VANTRO_FORMAT_NV12:
    case VANTRO_FORMAT_UYVY:
      GrayFrame(cxt, kc_para.yuv, kc_para);
      break;
    default:
      break;
  }
  return VANTRO_OK;
}

int Grayeffect_firstframeIdx(void* cxt, Vantro_t kc_para) {
  VANTRO_LOGI(vantro::kTagVideo, "This is Grayeffect_firstframeIdx \n");
  switch (kc_para.yuv_format) {
    case VANTRO_FORMAT_NV21:
    case VANTRO_FORMAT_UYVY:
      GrayFrame(cxt, kc_para.last_yuv, kc_para);
      break;
    default:
      break;
  }
  return VANTRO_OK;
}

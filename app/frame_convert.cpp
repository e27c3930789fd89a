#include "app/frame_convert.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <string>
#include <utility>

namespace vantro::app {
namespace {

// The full-range twins of the YUV formats; the range itself is in ColourInfo.
AVPixelFormat WithoutRange(AVPixelFormat pixels) {
  switch (pixels) {
    case AV_PIX_FMT_YUVJ420P:
      return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
      return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
      return AV_PIX_FMT_YUV444P;
    case AV_PIX_FMT_YUVJ440P:
      return AV_PIX_FMT_YUV440P;
    case AV_PIX_FMT_YUVJ411P:
      return AV_PIX_FMT_YUV411P;
    default:
      return pixels;
  }
}

bool IsYuv(AVPixelFormat pixels) {
  const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(pixels);
  return descriptor != nullptr && descriptor->nb_components >= 3 &&
         (descriptor->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) == 0;
}

int SwsMatrix(AVColorSpace space) {
  switch (space) {
    case AVCOL_SPC_BT709:
      return SWS_CS_ITU709;
    case AVCOL_SPC_SMPTE240M:
      return SWS_CS_SMPTE240M;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
      return SWS_CS_BT2020;
    default:
      return SWS_CS_ITU601;
  }
}

std::string SizeText(int width, int height) {
  return std::to_string(width) + "x" + std::to_string(height);
}

}  // namespace

ColourInfo ColourInfo::Of(const AVFrame& frame) {
  const auto pixels = static_cast<AVPixelFormat>(frame.format);
  if (!IsYuv(pixels)) {
    const bool hd = frame.height >= 720;
    return {.range = AVCOL_RANGE_MPEG,
            .primaries = frame.color_primaries,
            .transfer = frame.color_trc,
            .space = hd ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M,
            .chroma = AVCHROMA_LOC_LEFT};
  }
  return {.range = WithoutRange(pixels) != pixels ? AVCOL_RANGE_JPEG : frame.color_range,
          .primaries = frame.color_primaries,
          .transfer = frame.color_trc,
          .space = frame.colorspace,
          .chroma = frame.chroma_location};
}

ScalerPtr Scaler::NewScaler(const Task& task, const ColourInfo& colour) {
  ScalerPtr scaler(sws_getContext(task.from_width, task.from_height, WithoutRange(task.from_pixels),
                                  task.to_width, task.to_height, task.to_pixels,
                                  SWS_BICUBIC | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
  if (scaler == nullptr) {
    const char* name = av_get_pix_fmt_name(task.from_pixels);
    throw RunError(std::string("pictures in the format ") + (name != nullptr ? name : "unknown") +
                   " at " + SizeText(task.from_width, task.from_height) + " cannot be converted");
  }
  // RGB and grey samples span the full range; YUV samples keep the range they have.
  const int* matrix = sws_getCoefficients(SwsMatrix(colour.space));
  const int full = colour.range == AVCOL_RANGE_JPEG ? 1 : 0;
  sws_setColorspaceDetails(scaler.get(), matrix, IsYuv(task.from_pixels) ? full : 1, matrix,
                           IsYuv(task.to_pixels) ? full : 1, 0, 1 << 16, 1 << 16);
  return scaler;
}

void Scaler::Scale(const Picture& from, uint8_t* const* to, const int* to_linesize, int to_width,
                   int to_height, AVPixelFormat to_pixels, const ColourInfo& colour) {
  if (!interlaced_ || from.height % 4 != 0 || to_height % 4 != 0) {
    ScaleWhole(from, to, to_linesize,
               {from.width, from.height, from.pixels, to_width, to_height, to_pixels}, colour);
    return;
  }
  for (const int field : {0, 1}) {
    const uint8_t* from_field[4] = {};
    int from_pitch[4] = {};
    uint8_t* to_field[4] = {};
    int to_pitch[4] = {};
    for (int plane = 0; plane < 4; ++plane) {
      // A palette stands where a second plane would, and has no pitch.
      from_pitch[plane] = 2 * from.linesize[plane];
      to_pitch[plane] = 2 * to_linesize[plane];
      if (from.data[plane] != nullptr)
        from_field[plane] = from.data[plane] + field * from.linesize[plane];
      if (to[plane] != nullptr) to_field[plane] = to[plane] + field * to_linesize[plane];
    }
    ScaleWhole(
        {from_field, from_pitch, from.width, from.height / 2, from.pixels}, to_field, to_pitch,
        {from.width, from.height / 2, from.pixels, to_width, to_height / 2, to_pixels}, colour);
  }
}

void Scaler::ScaleWhole(const Picture& from, uint8_t* const* to, const int* to_linesize,
                        const Task& task, const ColourInfo& colour) {
  if (scaler_ == nullptr || task != task_) {
    scaler_ = NewScaler(task, colour);
    task_ = task;
  }
  const int rows =
      sws_scale(scaler_.get(), from.data, from.linesize, 0, from.height, to, to_linesize);
  CheckFFmpeg(rows, "picture conversion");
}

FrameConverter::FrameConverter(const FrameFormat& format, const AVFrame& first,
                               const Orientation& orientation, Scan scan, NoteSink note)
    : orientation_(orientation),
      scan_(first.height < 4 ? Scan::kProgressive : scan),
      note_(std::move(note)),
      colour_(ColourInfo::Of(first)),
      source_width_(first.width),
      source_height_(first.height),
      used_width_(first.width & ~1),
      used_height_(first.height & (scan_ == Scan::kProgressive ? ~1 : ~3)) {
  const int width = used_width_;
  const int height = used_height_;
  if (width != first.width || height != first.height) {
    note_("frame size " + SizeText(first.width, first.height) + " cropped to " +
          SizeText(width, height));
  }
  const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(first.format));
  if (pixels != nullptr && pixels->comp[0].depth > 8) {
    note_(std::to_string(pixels->comp[0].depth) + " bits a sample are reduced to 8");
  }
  shape_.format = format;
  shape_.width = orientation.swap_axes ? height : width;
  shape_.height = orientation.swap_axes ? width : height;
  scaler_.set_interlaced(scan_ != Scan::kProgressive);
  // Rows that start at a multiple of a vector's size convert faster.
  shape_.stride = FFALIGN(shape_.width, 64);
  if (!orientation.upright()) {
    lying_ = NewPictureFrame(width, height, format.rotating);
    turned_ = NewPictureFrame(shape_.width, shape_.height, format.rotating);
  }
}

void FrameConverter::Convert(const AVFrame& frame, uint8_t* picture) {
  const bool same_size = frame.width == source_width_ && frame.height == source_height_;
  if (!same_size && !size_changed_) {
    size_changed_ = true;
    note_("the frame size changes to " + SizeText(frame.width, frame.height) +
          "; such frames are scaled to the first one's size");
  }
  // An odd column or row is left out; a frame of another size is scaled as a whole.
  const Scaler::Picture source{frame.data, frame.linesize, same_size ? used_width_ : frame.width,
                               same_size ? used_height_ : frame.height,
                               static_cast<AVPixelFormat>(frame.format)};
  FramePlanes planes(shape_, picture);
  if (orientation_.upright()) {
    scaler_.Scale(source, planes.data, planes.linesize, shape_.width, shape_.height,
                  shape_.format.pixels, colour_);
    return;
  }
  scaler_.Scale(source, lying_->data, lying_->linesize, lying_->width, lying_->height,
                shape_.format.rotating, colour_);
  const int chroma_shift = shape_.format.rotating == AV_PIX_FMT_YUV420P ? 1 : 0;
  for (int plane = 0; plane < 3; ++plane) {
    const int shift = plane == 0 ? 0 : chroma_shift;
    TurnPlane(orientation_, lying_->data[plane], lying_->linesize[plane], lying_->width >> shift,
              lying_->height >> shift, turned_->data[plane], turned_->linesize[plane]);
  }
  layout_scaler_.Scale(
      {turned_->data, turned_->linesize, turned_->width, turned_->height, shape_.format.rotating},
      planes.data, planes.linesize, shape_.width, shape_.height, shape_.format.pixels, colour_);
}

}  // namespace vantro::app

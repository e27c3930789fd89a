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

constexpr int Even(int size) { return size & ~1; }

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
  const Task task{from.width, from.height, from.pixels, to_width, to_height, to_pixels};
  if (scaler_ == nullptr || task != task_) {
    scaler_ = NewScaler(task, colour);
    task_ = task;
  }
  const int rows =
      sws_scale(scaler_.get(), from.data, from.linesize, 0, from.height, to, to_linesize);
  CheckFFmpeg(rows, "picture conversion");
}

FrameConverter::FrameConverter(const FrameFormat& format, const AVFrame& first,
                               const Orientation& orientation, NoteSink note)
    : orientation_(orientation),
      note_(std::move(note)),
      colour_(ColourInfo::Of(first)),
      source_width_(first.width),
      source_height_(first.height) {
  const int width = Even(first.width);
  const int height = Even(first.height);
  if (width < 2 || height < 2) {
    throw RunError("the video is " + SizeText(first.width, first.height) +
                   "; a frame must have at least 2x2 pixels");
  }
  if (width != first.width || height != first.height) {
    note_("odd frame size " + SizeText(first.width, first.height) + " cropped to " +
          SizeText(width, height));
  }
  shape_.format = format;
  shape_.width = orientation.swap_axes ? height : width;
  shape_.height = orientation.swap_axes ? width : height;
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
  const Scaler::Picture source{
      frame.data, frame.linesize, same_size ? Even(frame.width) : frame.width,
      same_size ? Even(frame.height) : frame.height, static_cast<AVPixelFormat>(frame.format)};
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

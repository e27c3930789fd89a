// Between decoded frames, the effect's layout, and the frames that are encoded.
#ifndef VANTRO_APP_FRAME_CONVERT_H_
#define VANTRO_APP_FRAME_CONVERT_H_

#include "app/failure.h"
#include "app/ffmpeg.h"
#include "app/frame_format.h"
#include "app/orientation.h"

namespace vantro::app {

// The colour description that goes with a video's samples.
struct ColourInfo {
  AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
  AVColorPrimaries primaries = AVCOL_PRI_UNSPECIFIED;
  AVColorTransferCharacteristic transfer = AVCOL_TRC_UNSPECIFIED;
  AVColorSpace space = AVCOL_SPC_UNSPECIFIED;
  AVChromaLocation chroma = AVCHROMA_LOC_UNSPECIFIED;

  // What the effect's picture of `frame` has: the frame's own description, or, for a frame that is
  // not in YUV, that of the YUV it is converted to.
  static ColourInfo Of(const AVFrame& frame);
};

// sws_scale for whole pictures, with its scaler kept as long as the pictures stay alike. The colour
// description is that of the first call.
class Scaler {
 public:
  // The two fields of an interlaced picture are converted apart: they show different moments, so
  // chroma must not be interpolated between them.
  void set_interlaced(bool interlaced) { interlaced_ = interlaced; }

  struct Picture {
    const uint8_t* const* data;
    const int* linesize;
    int width;
    int height;
    AVPixelFormat pixels;
  };
  // Both pictures hold samples as `colour` describes; RGB and grey sources are converted to it.
  void Scale(const Picture& from, uint8_t* const* to, const int* to_linesize, int to_width,
             int to_height, AVPixelFormat to_pixels, const ColourInfo& colour);

 private:
  struct Task {
    int from_width, from_height;
    AVPixelFormat from_pixels;
    int to_width, to_height;
    AVPixelFormat to_pixels;
    bool operator==(const Task&) const = default;
  };
  static ScalerPtr NewScaler(const Task& task, const ColourInfo& colour);
  void ScaleWhole(const Picture& from, uint8_t* const* to, const int* to_linesize, const Task& task,
                  const ColourInfo& colour);

  bool interlaced_ = false;
  Task task_{};
  ScalerPtr scaler_;
};

// Decoded frames to the effect's layout: upright, cropped to even sizes (interlaced ones to a
// height that is a multiple of 4, so that each field's is even), every frame in the shape of the
// first one.
class FrameConverter {
 public:
  // `first`, of 2x2 pixels at least, sets the shape. Remarks (a cropped column, a change of size)
  // go to `note`.
  FrameConverter(const FrameFormat& format, const AVFrame& first, const Orientation& orientation,
                 Scan scan, NoteSink note);

  const FrameShape& shape() const { return shape_; }
  const ColourInfo& colour() const { return colour_; }
  Scan scan() const { return scan_; }

  // Writes `frame` to `picture` (shape().bytes() bytes).
  void Convert(const AVFrame& frame, uint8_t* picture);

 private:
  Orientation orientation_;
  Scan scan_;
  NoteSink note_;
  ColourInfo colour_;
  FrameShape shape_;
  int source_width_;  // of the first frame, as decoded
  int source_height_;
  int used_width_;  // without what is cropped
  int used_height_;
  bool size_changed_ = false;
  Scaler scaler_;
  // Only for pictures that are turned: the picture before and after turning, and the way from
  // there to the effect's layout.
  FramePtr lying_;
  FramePtr turned_;
  Scaler layout_scaler_;
};

}  // namespace vantro::app

#endif  // VANTRO_APP_FRAME_CONVERT_H_

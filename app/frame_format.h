// The picture layouts that the effect works on, in FFmpeg's terms and in the library's.
#ifndef VANTRO_APP_FRAME_FORMAT_H_
#define VANTRO_APP_FRAME_FORMAT_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "app/ffmpeg.h"
#include "vantro/vantro.h"

namespace vantro::app {

struct FrameFormat {
  std::string_view name;   // as --format takes it
  uint8_t code;            // VANTRO_FORMAT_*
  AVPixelFormat pixels;    // the layout itself
  AVPixelFormat planar;    // the planar layout of the same samples
  AVPixelFormat rotating;  // planar layout that can be turned by 90 degrees without loss
};

inline constexpr std::array kFrameFormats = {
    FrameFormat{"nv21", VANTRO_FORMAT_NV21, AV_PIX_FMT_NV21, AV_PIX_FMT_YUV420P,
                AV_PIX_FMT_YUV420P},
    FrameFormat{"nv12", VANTRO_FORMAT_NV12, AV_PIX_FMT_NV12, AV_PIX_FMT_YUV420P,
                AV_PIX_FMT_YUV420P},
    FrameFormat{"uyvy", VANTRO_FORMAT_UYVY, AV_PIX_FMT_UYVY422, AV_PIX_FMT_YUV422P,
                AV_PIX_FMT_YUV444P},
};

// One picture in memory: even width and height, rows `stride` pixels apart.
struct FrameShape {
  FrameFormat format = kFrameFormats[0];
  int width = 0;
  int height = 0;
  int stride = 0;

  bool packed() const { return format.code == VANTRO_FORMAT_UYVY; }
  size_t bytes() const {
    const size_t pixels = static_cast<size_t>(stride) * static_cast<size_t>(height);
    return packed() ? 2 * pixels : pixels + pixels / 2;
  }
};

// The planes of a picture of this shape, as FFmpeg's functions take them.
struct FramePlanes {
  FramePlanes(const FrameShape& shape, uint8_t* picture)
      : data{picture, shape.packed()
                          ? nullptr
                          : picture + static_cast<ptrdiff_t>(shape.stride) * shape.height},
        linesize{shape.packed() ? 2 * shape.stride : shape.stride,
                 shape.packed() ? 0 : shape.stride} {}
  uint8_t* data[4];
  int linesize[4];
};

}  // namespace vantro::app

#endif  // VANTRO_APP_FRAME_FORMAT_H_

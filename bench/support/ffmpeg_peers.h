// FFmpeg's filters as peers of the effect. They work on planar frames, the only ones that they take
// as they are, and are thus spared the conversion of a camera's frames and back.
#ifndef VANTRO_BENCH_SUPPORT_FFMPEG_PEERS_H_
#define VANTRO_BENCH_SUPPORT_FFMPEG_PEERS_H_

#include <string>

#include "bench/support/frames.h"

namespace vantro::bench {

// Adds the graphs of the whole effect, with a mask, beside `operation`: `lutyuv` with the luma
// curve of this library; `hue`, which leaves luma as it is; and `hue` with a mask that is scaled to
// the chroma planes alone. For NV21 and UYVY frames (4:2:0 and 4:2:2). Nothing without libavfilter.
void AddFfmpegEffect(const std::string& operation, const FrameShape& frame);

// The same for graphs that turn the whole frame grey.
void AddFfmpegGray(const std::string& operation, const FrameShape& frame);

}  // namespace vantro::bench

#endif  // VANTRO_BENCH_SUPPORT_FFMPEG_PEERS_H_

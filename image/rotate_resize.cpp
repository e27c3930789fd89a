// Resizers that turn by minus 90 degrees: bilinear in double precision, and by integer steps.
// Destination column x takes source row x, destination row dst_height-1-k source column k, both
// scaled.

#include <algorithm>
#include <cstdint>

#include "image/plane_geometry.h"
#include "image/plane_resize.h"
#include "image/strided_copy.h"
#include "image/transpose.h"
#include "vantro/image.h"

namespace vantro {
namespace {

struct Rotation : PlaneGeometry {
  int step() const { return src_width / dst_height; }
  bool has_whole_step() const { return src_width >= dst_height && src_width % dst_height == 0; }
  double scale() const { return static_cast<double>(src_width) / static_cast<double>(dst_height); }
  int64_t plane_size() const { return int64_t{dst_width} * dst_height; }
};

// out[i] = src[(first + i) * step], the index limited to `last`.
void CopyStridedLimited(const uint8_t* src, int64_t step, int64_t first, int64_t last, int count,
                        uint8_t* out) {
  const int64_t begin = first * step;
  const int64_t inside = begin > last ? 0 : step == 0 ? count : (last - begin) / step + 1;
  const int copied = static_cast<int>(std::min<int64_t>(inside, count));
  if (copied > 0) CopyStrided(src + begin, step, copied, out);
  if (copied < count) std::fill_n(out + copied, count - copied, src[last]);
}

// Turns a plane whose column x comes from sample_row(x, first, count, out), which writes the
// samples of source columns first to first + count - 1 after scaling.
template <typename SampleRow>
void RotateSampled(const Rotation& r, int first_column, uint8_t* dst, SampleRow sample_row) {
  constexpr int kTile = 32;
  constexpr int kRun = 512;
  alignas(64) uint8_t tile[kTile][kRun];
  for (int k = 0; k < r.dst_height; k += kRun) {
    const int run = std::min(kRun, r.dst_height - k);
    uint8_t* const bottom = dst + (int64_t{r.dst_height} - 1 - k) * r.dst_pitch;
    for (int x = first_column; x < r.dst_width; x += kTile) {
      // Whole tiles turn faster: the last one overlaps the one before.
      const int column = std::max(std::min(x, r.dst_width - kTile), first_column);
      const int columns = std::min(kTile, r.dst_width - column);
      for (int i = 0; i < columns; ++i) sample_row(column + i, k, run, tile[i]);
      TransposeUpwards({tile[0], kRun, columns, run}, bottom + column, r.dst_pitch);
    }
  }
}

// Destination row of source column 0.
uint8_t* BottomRow(const Rotation& r, uint8_t* dst) {
  return dst + (int64_t{r.dst_height} - 1) * r.dst_pitch;
}

void RotateLumaByStep(const Rotation& r, uint8_t* dst) {
  const int64_t step = r.step();
  int turned = 0;
  if (step == 1 || step == 2) {
    turned = static_cast<int>(std::min<int64_t>(r.dst_width, (r.src_height + step - 1) / step));
    const auto turn = step == 1 ? &TransposeUpwards : &TransposeSecondsUpwards;
    turn({r.src, step * r.src_stride, turned, r.dst_height}, BottomRow(r, dst), r.dst_pitch);
  }
  RotateSampled(r, turned, dst, [&](int x, int first, int count, uint8_t* out) {
    const uint8_t* const row = r.src + std::min<int64_t>(x * step, r.src_height - 1) * r.src_stride;
    CopyStridedLimited(row, step, first, r.src_width - 1, count, out);
  });
}

// Destination columns 0 to the result - 1 of both chroma planes, from one chroma row and one pair
// after the other.
int RotateEveryPair(const Rotation& r, uint8_t* dst) {
  const int rows = std::min(r.dst_width, r.src_height / 2);
  TransposePairsUpwards({r.chroma(), r.src_stride, rows, r.dst_height}, BottomRow(r, dst),
                        BottomRow(r, dst + r.plane_size()), r.dst_pitch);
  return rows;
}

// V and U planes by address: a byte column and half-steps of rows, limited to the last pair.
void RotateChromaByAddress(const Rotation& r, uint8_t* dst) {
  if (!r.has_chroma()) return;
  const int64_t step = r.step();
  const int64_t last_pair =
      (int64_t{r.src_height / 2} - 1) * r.src_stride + (r.src_width / 2 - 1) * 2;
  if (step < 2) {
    // Half a step is none: every column samples the first row.
    for (int channel = 0; channel < 2; ++channel) {
      uint8_t* const plane = dst + channel * r.plane_size();
      for (int k = 0; k < r.dst_height; ++k) {
        std::fill_n(plane + (int64_t{r.dst_height} - 1 - k) * r.dst_pitch, r.dst_width,
                    r.chroma()[std::min(k * step, last_pair) + channel]);
      }
    }
    return;
  }
  const int turned = step == 2 ? RotateEveryPair(r, dst) : 0;
  for (int channel = 0; channel < 2; ++channel) {
    RotateSampled(
        r, turned, dst + channel * r.plane_size(), [&](int x, int first, int count, uint8_t* out) {
          const int64_t rows = std::min<int64_t>(step / 2 * x, r.src_height);
          const int64_t row = std::min(rows * r.src_stride, last_pair);
          CopyStridedLimited(r.chroma() + channel + row, step, first, last_pair - row, count, out);
        });
  }
}

// V and U planes by rows and pairs, both stepped by half the luma step.
void RotateChromaByPairs(const Rotation& r, uint8_t* dst) {
  if (!r.has_chroma()) return;
  const int64_t step = r.step() / 2;
  const int64_t last_pair = (r.src_width / 2 - 1) * 2;
  const int turned = step == 1 ? RotateEveryPair(r, dst) : 0;
  for (int channel = 0; channel < 2; ++channel) {
    RotateSampled(r, turned, dst + channel * r.plane_size(),
                  [&](int x, int first, int count, uint8_t* out) {
                    const int64_t row = std::min<int64_t>(x * step, r.src_height / 2 - 1);
                    CopyStridedLimited(r.chroma() + channel + row * r.src_stride, 2 * step, first,
                                       last_pair, count, out);
                  });
  }
}

void RotateLuma(const Rotation& r, uint8_t* dst) {
  // Whole steps hit samples exactly.
  if (r.has_whole_step()) {
    RotateLumaByStep(r, dst);
    return;
  }
  const AxisRule rule = {r.scale(), false};
  ResizeRotated({MakeChannelSource(r.src, 1, r.src_stride, r.src_width), r.src_width, r.src_height,
                 rule, rule, &SumTerms},
                r.dst_width, r.dst_height, dst, r.dst_pitch);
}

void RotateChromaBilinear(const Rotation& r, uint8_t* dst) {
  if (!r.has_chroma()) return;
  const double scale = r.scale() * 0.5;
  const int pairs = r.src_width / 2;
  for (int channel = 0; channel < 2; ++channel) {
    ResizeRotated({MakeChannelSource(r.chroma() + channel, 2, r.src_stride, pairs),
                   pairs,
                   r.src_height / 2,
                   {scale, false},
                   {scale, true},
                   &SumTerms},
                  r.dst_width, r.dst_height, dst + channel * r.plane_size(), r.dst_pitch);
  }
}

}  // namespace
}  // namespace vantro

const unsigned char* resizeYrotateMinus90(const unsigned char* src, unsigned char* dst, int srcW,
                                          int srcH, int srcStride, int dstW, int dstH) {
  const vantro::Rotation rotation = {{src, srcW, srcH, srcStride, dstW, dstH, dstW}};
  if (rotation.Drawable(dst)) vantro::RotateLuma(rotation, dst);
  return src;
}

const unsigned char* resizeYrotateMinus90_Multi(const unsigned char* src, unsigned char* dst,
                                                int srcW, int srcH, int srcStride, int dstPitch,
                                                int dstH) {
  const vantro::Rotation rotation = {{src, srcW, srcH, srcStride, dstH, dstH, dstPitch}};
  if (rotation.Drawable(dst)) vantro::RotateLuma(rotation, dst);
  return src;
}

void resizeYrotateMinus90Integer(const unsigned char* src, unsigned char* dst, int srcW, int srcH,
                                 int srcStride, int dstW, int dstH) {
  const vantro::Rotation rotation = {{src, srcW, srcH, srcStride, dstW, dstH, dstW}};
  if (rotation.Drawable(dst)) vantro::RotateLumaByStep(rotation, dst);
}

const unsigned char* resizeNV21RotateMinus90(const unsigned char* src, unsigned char* dst, int srcW,
                                             int srcH, int srcStride, int dstW, int dstH) {
  const vantro::Rotation rotation = {{src, srcW, srcH, srcStride, dstW, dstH, dstW}};
  if (!rotation.Drawable(dst)) return src;
  vantro::RotateLuma(rotation, dst);
  if (rotation.has_whole_step()) {
    vantro::RotateChromaByAddress(rotation, dst + rotation.plane_size());
  } else {
    vantro::RotateChromaBilinear(rotation, dst + rotation.plane_size());
  }
  return src;
}

void resizeNV21RotateMinus90_X(const unsigned char* src, unsigned char* dst, int srcW, int srcH,
                               int srcStride, int dstW, int dstH) {
  const vantro::Rotation rotation = {{src, srcW, srcH, srcStride, dstW, dstH, dstW}};
  if (!rotation.Drawable(dst)) return;
  vantro::RotateLumaByStep(rotation, dst);
  vantro::RotateChromaByAddress(rotation, dst + rotation.plane_size());
}

void resizeNV21RotateMinus90Integer(const unsigned char* src, unsigned char* dst, int srcW,
                                    int srcH, int srcStride, int dstW, int dstH) {
  const vantro::Rotation rotation = {{src, srcW, srcH, srcStride, dstW, dstH, dstW}};
  if (!rotation.Drawable(dst)) return;
  vantro::RotateLumaByStep(rotation, dst);
  vantro::RotateChromaByPairs(rotation, dst + rotation.plane_size());
}

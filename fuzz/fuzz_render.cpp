// Grey effect, compositing and the mask rescalers: any record, rectangle and size.
#include <algorithm>
#include "fuzz/context.h"
#include "fuzz/operations.h"
#include "vantro/render.h"
#include "vantro/tracked_alloc.h"

namespace vantro::fuzz {
namespace {

// A frame in a buffer of the size that its record describes.
Vantro_t Record(FuzzSource& in) {
  constexpr uint8_t kFormats[] = {VANTRO_FORMAT_NV21, VANTRO_FORMAT_NV12, VANTRO_FORMAT_UYVY, 2};
  Vantro_t record = {};
  record.yuv_format = kFormats[in.Int(0, 3)];
  record.width = in.Size();
  record.height = in.Size();
  record.stride = in.Pitch(record.width);
  record.rect.x = in.Size();
  record.rect.y = in.Size();
  record.rect.width = in.Size();
  record.rect.height = in.Size();
  const int64_t stride = std::max(record.stride, 0);
  const int64_t rows = std::max(record.height, 0);
  const bool packed = record.yuv_format == VANTRO_FORMAT_UYVY;
  record.yuv = record.last_yuv =
      in.Bytes(Plane(stride, packed ? 2 * rows : rows + rows / 2, stride));
  return record;
}

CROP_BOX Box(FuzzSource& in) { return {in.Size(), in.Size(), in.Size(), in.Size(), in.Any()}; }

int64_t BoxBytes(const CROP_BOX& box) {
  const int64_t width = int64_t{box.crop_right} - box.crop_left + 1;
  return Plane(width, int64_t{box.crop_bottom} - box.crop_top + 1, width);
}

// Pictures whose rows do not overlap; the resizers of render.h ask for no less.
int Pitch(FuzzSource& in, int row) { return std::max(in.Pitch(row), row); }

int Scaled(int size, int factor) {
  if (size >= 0 && !IsSmall(size)) throw TooLarge();
  return IsSmall(size) ? size * factor : size;
}

template <auto kResize>
void RowRange(FuzzSource& in) {
  const int w = in.Size(), h = in.Size();
  const bool doubled = in.OneIn(2) && IsSmall(w) && IsSmall(h);
  const int dst_w = doubled ? 2 * w : in.Size();
  const int dst_h = doubled ? 2 * h : in.Size();
  const int src_pitch = Pitch(in, w), dst_pitch = Pitch(in, dst_w);
  const uint8_t* src = in.Bytes(Plane(w, h, src_pitch));
  uint8_t* dst = in.Bytes(Plane(dst_w, dst_h, dst_pitch));
  kResize(dst, src, dst_w, dst_h, dst_pitch, w, h, src_pitch, in.Size(),
          in.OneIn(2) ? dst_h : in.Size());
}

// Arguments (src, dst, width, height, src stride, dst stride); the destination has kUp / kDown
// times the size.
template <auto kResize, int kUp, int kDown>
void FixedFactor(FuzzSource& in) {
  const int w = in.Size(), h = in.Size();
  const int dst_w = Scaled(w, kUp) / kDown, dst_h = Scaled(h, kUp) / kDown;
  const int src_pitch = Pitch(in, w), dst_pitch = Pitch(in, dst_w);
  uint8_t* src = in.Bytes(Plane(w, h, src_pitch));
  uint8_t* dst = in.Bytes(Plane(dst_w, dst_h, dst_pitch));
  kResize(src, dst, w, h, src_pitch, dst_pitch);
}

// Arguments (dst, src, dst width, dst height, dst stride, -, -, src stride).
template <auto kReduce, int kFactor>
void BlockMeans(FuzzSource& in) {
  const int w = in.Size(), h = in.Size();
  const int src_w = Scaled(w, kFactor), src_h = Scaled(h, kFactor);
  const int dst_pitch = Pitch(in, w), src_pitch = Pitch(in, src_w);
  const uint8_t* src = in.Bytes(Plane(src_w, src_h, src_pitch));
  kReduce(in.Bytes(Plane(w, h, dst_pitch)), src, w, h, dst_pitch, in.Any(), in.Any(), src_pitch);
}

template <auto kMorph>
void Morphology(FuzzSource& in) {
  fmalloc = &Alloc;
  ffree = &Free;
  const int w = in.Size(), h = in.Size();
  kMorph(in.Bytes(Plane(w, h, w)), w, h, in.OneIn(4) ? in.Any() : in.Int(-1, 20));
}

constexpr Operation kOperations[] = {
    [](FuzzSource& in) { Grayeffect(Context(), Record(in)); },
    [](FuzzSource& in) { Grayeffect_firstframeIdx(Context(), Record(in)); },
    [](FuzzSource& in) {
      Vantro_t record = Record(in);
      record.crop_param = Box(in);
      record.maskw = in.Size();
      record.maskh = in.Size();
      record.mask = in.Bytes(Plane(record.maskw, record.maskh, record.maskw));
      VantroObject(Context(), in.Int(0, 1), in.Int(0, 1), in.Int(0, 1), record);
    },
    [](FuzzSource& in) {
      const Vantro_t record = Record(in);
      const CROP_BOX box = Box(in);
      Grayeffect_Alpha_YUV(Context(), record.yuv, record.stride, in.Bytes(BoxBytes(box)),
                           record.height, record.width, box, record.rect, record.yuv_format);
    },
    [](FuzzSource& in) {
      const int rows = in.Size(), columns = in.Size(), pitch = Pitch(in, columns);
      uint8_t* src = in.Bytes(Plane(columns, rows, columns));
      preProcessMask(in.Bytes(Plane(columns, rows, pitch)), src, rows, columns, pitch);
    },
    RowRange<&bilinearGrayU8BorderLines>,
    RowRange<&upScale2x2>,
    [](FuzzSource& in) {
      const int w = in.Size(), h = in.Size(), dst_w = in.Size(), dst_h = in.Size();
      const int src_pitch = Pitch(in, w), dst_pitch = Pitch(in, dst_w);
      uint8_t* src = in.Bytes(Plane(w, h, src_pitch));
      up_scale_context(src, w, h, src_pitch, in.Bytes(Plane(dst_w, dst_h, dst_pitch)), dst_w, dst_h,
                       dst_pitch);
    },
    FixedFactor<[](uint8_t* src, uint8_t* dst, int w, int h, int src_pitch, int dst_pitch) {
      upScale4x4(dst, src, w, h, dst_pitch, src_pitch);
    },
                4, 1>,
    FixedFactor<&downscale_x4_avg, 1, 2>,
    FixedFactor<&downscale_x16_avg, 1, 4>,
    FixedFactor<&upscale_x4_blinear, 2, 1>,
    FixedFactor<&upscale_x16_blinear, 4, 1>,
    BlockMeans<&averageGrayU8Down2x2, 2>,
    BlockMeans<&averageGrayU8Down4x4, 4>,
    Morphology<&erosion>,
    Morphology<&dilation>,
};

}  // namespace
}  // namespace vantro::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return vantro::fuzz::RunOperation(vantro::fuzz::kOperations, data, size);
}

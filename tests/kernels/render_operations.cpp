// Grey effect, compositing, mask rescaling, morphology.
#include <cstdlib>

#include "tests/kernels/operations.h"
#include "vantro/render.h"
#include "vantro/tracked_alloc.h"

namespace vantro::test {
namespace {

constexpr uint8_t kFormats[] = {VANTRO_FORMAT_NV21, VANTRO_FORMAT_NV12, VANTRO_FORMAT_UYVY};

Vantro_t DrawRecord(Case& c) {
  Vantro_t record = {};
  record.yuv_format = kFormats[c.Int(0, 2)];
  record.width = c.Size(2) / 2 * 2;
  record.height = c.Int(1, 20) * 2;
  record.stride = c.Pitch(record.width);
  record.rect.x = c.Int(0, record.width - 1);
  record.rect.y = c.Int(0, record.height - 1);
  record.rect.width = c.Int(1, record.width - record.rect.x);
  record.rect.height = c.Int(1, record.height - record.rect.y);
  if (record.yuv_format == VANTRO_FORMAT_UYVY) {
    record.rect.x -= record.rect.x % 2;
    record.rect.width += record.rect.width % 2;
  }
  return record;
}

int64_t Bytes(const Vantro_t& record) {
  return record.yuv_format == VANTRO_FORMAT_UYVY
             ? Case::Packed(record.width, record.height, record.stride)
             : Case::SemiPlanar(record.width, record.height, record.stride);
}

void DrawBox(Case& c, Vantro_t& record) {
  CROP_BOX& box = record.crop_param;
  box.crop_left = c.Int(0, record.width - 1);
  box.crop_top = c.Int(0, record.height - 1);
  box.crop_right = c.Int(box.crop_left, record.width - 1);
  box.crop_bottom = c.Int(box.crop_top, record.height - 1);
}

// A mask that is much smaller than the frame, so that every way to stretch it comes up.
void DrawMask(Case& c, Vantro_t& record) {
  record.maskw = c.OneIn(2) ? c.Int(1, 12) : c.Size();
  record.maskh = c.OneIn(2) ? c.Int(1, 3) : c.Int(1, 40);
  record.mask = c.Mask(record.maskw, record.maskh);
}

struct Enlarging {
  int width, height, src_stride, dst_stride;
};

Enlarging DrawEnlarging(Case& c, int factor) {
  Enlarging e = {};
  e.width = c.Size();
  e.height = c.Int(1, 12);
  e.src_stride = c.Pitch(e.width);
  e.dst_stride = c.Pitch(factor * e.width);
  return e;
}

// Resizers by a fixed factor with the arguments (src, dst, width, height, src stride, dst stride).
template <auto kResize, int kUp, int kDown>
void FixedFactor(Case& c) {
  Enlarging e = DrawEnlarging(c, kUp);
  e.width *= kDown;
  e.height *= kDown;
  e.src_stride = c.Pitch(e.width);
  uint8_t* src = c.In(Case::Plane(e.width, e.height, e.src_stride));
  const int width = e.width * kUp / kDown;
  const int height = e.height * kUp / kDown;
  e.dst_stride = c.Pitch(width);
  uint8_t* dst = c.Out(Case::Plane(width, height, e.dst_stride));
  kResize(src, dst, e.width, e.height, e.src_stride, e.dst_stride);
}

// Block means with the arguments (dst, src, dst width, dst height, dst stride, -, -, src stride).
template <auto kReduce, int kFactor>
void BlockMeans(Case& c) {
  const Enlarging e = DrawEnlarging(c, kFactor);
  const uint8_t* src = c.In(Case::Plane(kFactor * e.width, kFactor * e.height, e.dst_stride));
  uint8_t* dst = c.Out(Case::Plane(e.width, e.height, e.src_stride));
  kReduce(dst, src, e.width, e.height, e.src_stride, 0, 0, e.dst_stride);
}

// Resizers between any sizes that write a range of rows.
template <auto kResize>
void RowRange(Case& c) {
  const int src_w = c.Size();
  const int src_h = c.Int(1, 20);
  const bool doubled = c.OneIn(2);
  const int dst_w = doubled ? 2 * src_w : c.Size();
  const int dst_h = doubled ? 2 * src_h : c.Int(1, 40);
  const int src_stride = c.Pitch(src_w);
  const int dst_stride = c.Pitch(dst_w);
  const int begin = c.Int(0, dst_h - 1);
  const int end = c.Int(begin, dst_h);
  const uint8_t* src = c.In(Case::Plane(src_w, src_h, src_stride));
  uint8_t* dst = c.Out(Case::Plane(dst_w, dst_h, dst_stride));
  kResize(dst, src, dst_w, dst_h, dst_stride, src_w, src_h, src_stride, begin, end);
}

template <auto kMorph>
void Morphology(Case& c) {
  fmalloc = [](uint32_t size, const char*, int32_t) { return std::malloc(size); };
  ffree = [](void* block, const char*, int32_t) { std::free(block); };
  const int width = c.Size();
  const int height = c.Int(1, 40);
  const int radius = c.Int(0, 6);
  kMorph(c.Mask(width, height), width, height, radius);
}

}  // namespace

const std::vector<Operation> kRenderOperations = {
    {"Grayeffect",
     [](Case& c) {
       Vantro_t record = DrawRecord(c);
       record.yuv = c.Out(Bytes(record));
       c.Result(Grayeffect(c.context(), record));
     }},
    {"Grayeffect_firstframeIdx",
     [](Case& c) {
       Vantro_t record = DrawRecord(c);
       record.last_yuv = c.Out(Bytes(record));
       c.Result(Grayeffect_firstframeIdx(c.context(), record));
     }},
    {"VantroObject",
     [](Case& c) {
       Vantro_t record = DrawRecord(c);
       DrawBox(c, record);
       DrawMask(c, record);
       record.yuv = c.Out(Bytes(record));
       c.Result(VantroObject(c.context(), 0, 0, c.Int(0, 1), record));
     }},
    {"Grayeffect_Alpha_YUV",
     [](Case& c) {
       Vantro_t record = DrawRecord(c);
       DrawBox(c, record);
       const CROP_BOX& box = record.crop_param;
       uint8_t* mask =
           c.Mask(box.crop_right - box.crop_left + 1, box.crop_bottom - box.crop_top + 1);
       uint8_t* yuv = c.Out(Bytes(record));
       c.Result(Grayeffect_Alpha_YUV(c.context(), yuv, record.stride, mask, record.height,
                                     record.width, box, record.rect, record.yuv_format));
     }},
    {"getYcomponent",
     [](Case& c) {
       Vantro_t record = DrawRecord(c);
       DrawBox(c, record);
       const CROP_BOX& box = record.crop_param;
       const int width = box.crop_right - box.crop_left + 1;
       const int pitch = c.Pitch(width);
       const uint8_t* src = c.In(Bytes(record));
       uint8_t* dst = c.Out(Case::Plane(width, box.crop_bottom - box.crop_top + 1, pitch));
       getYcomponent(dst, src, record.stride, pitch, 0, 0, box, record.yuv_format);
     }},
    {"preProcessMask",
     [](Case& c) {
       const int rows = c.Int(1, 20);
       const int columns = c.Size();
       const int pitch = c.Pitch(columns);
       uint8_t* src = c.Mask(columns, rows);
       preProcessMask(c.Out(Case::Plane(columns, rows, pitch)), src, rows, columns, pitch);
     }},
    {"bilinearGrayU8BorderLines", RowRange<&bilinearGrayU8BorderLines>},
    {"upScale2x2", RowRange<&upScale2x2>},
    {"upScale4x4",
     [](Case& c) {
       const Enlarging e = DrawEnlarging(c, 4);
       auto* src = c.In(Case::Plane(e.width, e.height, e.src_stride));
       uint8_t* dst = c.Out(Case::Plane(4 * e.width, 4 * e.height, e.dst_stride));
       upScale4x4(dst, src, e.width, e.height, e.dst_stride, e.src_stride);
     }},
    {"upScale4x4BorderRows",
     [](Case& c) {
       const Enlarging e = DrawEnlarging(c, 4);
       auto* upper = c.In(e.width);
       auto* lower = c.In(e.width);
       uint8_t* first = c.Out(4 * e.width);
       uint8_t* second = c.Out(4 * e.width);
       const int weight = c.Int(0, 8);
       upScale4x4BorderRows(first, second, upper, lower, e.width, weight, 8 - weight);
     }},
    {"up_scale_context",
     [](Case& c) {
       const Enlarging e = DrawEnlarging(c, 1);
       const int dst_w = c.Size();
       const int dst_h = c.Int(1, 40);
       const int pitch = c.Pitch(dst_w);
       auto* src = c.In(Case::Plane(e.width, e.height, e.src_stride));
       uint8_t* dst = c.Out(Case::Plane(dst_w, dst_h, pitch));
       up_scale_context(src, e.width, e.height, e.src_stride, dst, dst_w, dst_h, pitch);
     }},
    {"averageGrayU8Down2x2", BlockMeans<&averageGrayU8Down2x2, 2>},
    {"averageGrayU8Down4x4", BlockMeans<&averageGrayU8Down4x4, 4>},
    {"downscale_x4_avg", FixedFactor<&downscale_x4_avg, 1, 2>},
    {"downscale_x16_avg", FixedFactor<&downscale_x16_avg, 1, 4>},
    {"upscale_x4_blinear", FixedFactor<&upscale_x4_blinear, 2, 1>},
    {"upscale_x16_blinear", FixedFactor<&upscale_x16_blinear, 4, 1>},
    {"erosion", Morphology<&erosion>},
    {"dilation", Morphology<&dilation>},
};

}  // namespace vantro::test

// Grey effect, compositing, masks.
#include "tests/kernels/operations.h"
#include "vantro/render.h"

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
       const int format = c.OneIn(8) ? 3 : record.yuv_format;  // 3: none, nothing is copied
       c.Expect(dst, width, box.crop_bottom - box.crop_top + 1, pitch, [&](int x, int y) {
         const int64_t at = int64_t{box.crop_top + y} * record.stride + box.crop_left + x;
         return format == 3 ? -1 : int{src[format == VANTRO_FORMAT_UYVY ? 2 * at + 1 : at]};
       });
       c.ExpectTrue(getYcomponent(dst, src, record.stride, pitch, 0, 0, box, format) == dst);
     }},
    {"preProcessMask",
     [](Case& c) {
       const int rows = c.Int(1, 20);
       const int columns = c.Size();
       const int pitch = c.Pitch(columns);
       uint8_t* src = c.Grey(int64_t{columns} * rows);
       uint8_t* dst = c.Out(Case::Plane(columns, rows, pitch));
       c.Expect(dst, columns, rows, pitch, [&](int x, int y) {
         const int value = src[int64_t{y} * columns + x];
         return value >= 1 && value <= 4 ? 255 : value;
       });
       c.ExpectTrue(preProcessMask(dst, src, rows, columns, pitch) == dst);
     }},
};

}  // namespace vantro::test

// Grey effect, compositing, masks.
#include <algorithm>
#include <array>
#include <functional>
#include <limits>

#include "tests/kernels/operations.h"
#include "vantro/image.h"
#include "vantro/render.h"

namespace vantro::test {
namespace {

constexpr int kMin = std::numeric_limits<int>::min(), kMax = std::numeric_limits<int>::max();

bool IsPacked(const Vantro_t& record) { return record.yuv_format == VANTRO_FORMAT_UYVY; }
bool IsKnown(const Vantro_t& record) {
  return IsPacked(record) || record.yuv_format == VANTRO_FORMAT_NV21 ||
         record.yuv_format == VANTRO_FORMAT_NV12;
}

// Mostly inside the frame; sometimes it reaches outside, by up to all an int can hold.
Rect_t DrawRect(Case& c, int stride, int height) {
  const int kind = c.Int(0, 5);
  if (kind == 0) return {0, 0, height, stride, 0, 0};
  Rect_t rect = {};
  if (kind == 1) {
    constexpr int kExtremes[] = {kMin, -7, -2, 0, 3, 100, kMax};
    for (int* side : {&rect.x, &rect.y, &rect.height, &rect.width}) *side = kExtremes[c.Int(0, 6)];
    return rect;
  }
  rect.x = c.Int(0, stride - 1);
  rect.y = c.Int(0, height - 1);
  rect.width = c.Int(0, stride - rect.x);
  rect.height = c.Int(0, height - rect.y);
  return rect;
}

// Frames of even sizes, or of any. The context gets a curve of the host's own now and then.
Vantro_t DrawRecord(Case& c, int granularity) {
  constexpr uint8_t kFormats[] = {
      VANTRO_FORMAT_NV21, VANTRO_FORMAT_NV12, VANTRO_FORMAT_UYVY, VANTRO_FORMAT_UYVY, 2, 3, 5, 255};
  Vantro_t record = {};
  record.yuv_format = kFormats[c.Int(0, c.OneIn(10) ? 7 : 3)];
  record.width = c.Size(granularity) / granularity * granularity;
  record.height = c.Int(1, 20) * granularity;
  record.stride = c.Pitch(record.width);
  record.rect = DrawRect(c, record.stride, record.height);
  if (c.OneIn(5)) c.context()->contrastTable[c.Int(0, 255)] ^= 1;
  return record;
}

// The bytes that a record describes.
int64_t Bytes(const Vantro_t& record) {
  const int64_t stride = record.stride;
  return stride * (IsPacked(record) ? 2 * record.height : record.height + record.height / 2);
}

bool Contains(const CROP_BOX& box, int64_t x, int64_t y) {
  return y >= box.crop_top && y <= box.crop_bottom && x >= box.crop_left && x <= box.crop_right;
}

// Whether the pixel keeps its colour.
using Keeps = std::function<bool(int64_t x, int64_t y)>;

// The effects a byte at a time.
class Effect {
 public:
  // `pairs` neutralises whole chroma pairs, otherwise single bytes.
  Effect(const Vantro_t& record, const uint8_t* frame, const uint8_t* curve, bool pairs,
         Keeps keeps)
      : record_(record), frame_(frame), curve_(curve), pairs_(pairs), keeps_(std::move(keeps)) {
    right_ = std::min<int64_t>(int64_t{record.rect.x} + record.rect.width, record.stride);
    // Groups of two pixels begin at the left edge.
    if (IsPacked(record) && right_ > left_) {
      right_ = std::min<int64_t>(right_ + (right_ - left_) % 2, record.stride);
    }
  }

  // Byte x of row y; the rows of the chroma follow those of the luma.
  int operator()(int x, int y) const {
    if (IsPacked(record_)) {
      const int64_t column = x / 2;
      if (!InRect(column, y)) return kKept;
      if (x % 2 != 0) return curve_[frame_[int64_t{2} * record_.stride * y + x]];
      // The first pixel of a group speaks for both.
      return keeps_(column - (column - left_) % 2, y) ? kKept : 128;
    }
    if (y < record_.height) {
      return InRect(x, y) ? curve_[frame_[int64_t{record_.stride} * y + x]] : kKept;
    }
    const int row = y - record_.height;
    if (!pairs_) return InRect(x, 2 * row) || InRect(x, 2 * row + 1) ? 128 : kKept;
    // The pair of a last, odd column goes on in the next row.
    const bool behind =
        x == 0 && row > 0 && record_.stride % 2 != 0 && IsNeutral(record_.stride / 2, row - 1);
    return behind || IsNeutral(x / 2, row) ? 128 : kKept;
  }

  void Expect(Case& c) const {
    const int rows = IsPacked(record_) ? record_.height : record_.height + record_.height / 2;
    const int bytes = IsPacked(record_) ? 2 * record_.stride : record_.stride;
    c.Expect(frame_, bytes, rows, bytes,
             [&](int x, int y) { return IsKnown(record_) ? (*this)(x, y) : kKept; });
  }

 private:
  bool InRect(int64_t x, int64_t y) const {
    const int64_t bottom = int64_t{record_.rect.y} + record_.rect.height;
    return x >= left_ && x < right_ && y >= record_.rect.y && y < bottom;
  }
  bool IsNeutral(int pair, int row) const {
    for (int k = 0; k < 4; ++k) {
      const int x = 2 * pair + k % 2, y = 2 * row + k / 2;
      if (InRect(x, y) && !keeps_(x, y)) return true;
    }
    return false;
  }

  Vantro_t record_;
  const uint8_t* frame_;
  const uint8_t* curve_;
  bool pairs_;
  Keeps keeps_;
  int64_t left_ = std::max(record_.rect.x, 0);
  int64_t right_;
};

template <auto kEffect, uint8_t* Vantro_t::*kFrame>
void Grey(Case& c) {
  Vantro_t record = DrawRecord(c, 1);
  record.width = -1;  // not read
  uint8_t* const frame = record.*kFrame = c.Out(Bytes(record));
  if (kEffect != &Grayeffect_firstframeIdx || record.yuv_format != VANTRO_FORMAT_NV12) {
    Effect(record, frame, c.context()->contrastTable, false, [](int64_t, int64_t) {
      return false;
    }).Expect(c);
  } else {
    c.Expect(frame, 0, 0, 0, [](int, int) { return kKept; });
  }
  c.Result(kEffect(c.context(), record));
}

void DrawBox(Case& c, Vantro_t& record) {
  CROP_BOX& box = record.crop_param;
  box.crop_left = c.Int(0, record.width - 1);
  box.crop_top = c.Int(0, record.height - 1);
  box.crop_right = c.Int(box.crop_left, record.width - 1);
  box.crop_bottom = c.Int(box.crop_top, record.height - 1);
  // Widths and heights that the fixed filters take are rare among random ones.
  if (c.OneIn(2) && record.width - box.crop_left >= 4 && record.height - box.crop_top >= 4) {
    box.crop_right = box.crop_left + (record.width - box.crop_left) / 4 * 4 - 1;
    box.crop_bottom = box.crop_top + (record.height - box.crop_top) / 4 * 4 - 1;
  }
}

// Mostly inside the frame, or at the ends of what an int holds, without a pixel of the frame.
CROP_BOX DrawLooseBox(Case& c, int width, int height) {
  constexpr CROP_BOX kExtremes[] = {{kMin, -1, kMin, kMax, 0},
                                    {kMax, kMin, kMax, kMin, 0},
                                    {kMin, -1, kMax, kMin, 0},
                                    {kMax, kMin, kMin, kMax, 0}};
  if (c.OneIn(10)) return kExtremes[c.Int(0, 3)];
  CROP_BOX box = {};
  box.crop_top = c.Int(-3, height - 1);
  box.crop_left = c.Int(-3, width - 1);
  box.crop_bottom = c.Int(box.crop_top - 1, height + 3);
  box.crop_right = c.Int(box.crop_left - 1, width + 3);
  return box;
}

// The record's mask stretched over its box, by the filters for whole factors where they fit.
std::vector<uint8_t> CropMask(const Vantro_t& record, int width, int height) {
  const auto fits = [&](int factor) {
    return record.maskw < width / factor && record.maskh < height / factor && width % factor == 0 &&
           height % factor == 0;
  };
  const int factor = fits(4) ? 4 : fits(2) ? 2 : 1;
  const int w = width / factor, h = height / factor;
  std::vector<uint8_t> reduced(static_cast<size_t>(w) * static_cast<size_t>(h));
  ResizeUchar(record.mask, reduced.data(), record.maskw, record.maskh, w, h);
  std::vector<uint8_t> out(static_cast<size_t>(width) * static_cast<size_t>(height));
  if (factor == 4) upScale4x4(out.data(), reduced.data(), w, h, width, w);
  if (factor == 2) {
    upScale2x2(out.data(), reduced.data(), width, height, width, w, h, w, 0, height);
  }
  return factor == 1 ? reduced : out;
}

// A mask that is much smaller than the frame, so that every way to stretch it comes up.
void DrawMask(Case& c, Vantro_t& record) {
  record.maskw = c.OneIn(2) ? c.Int(1, 12) : c.Size();
  record.maskh = c.OneIn(2) ? c.Int(1, 3) : c.Int(1, 40);
  record.mask = c.Mask(record.maskw, record.maskh);
}

}  // namespace

const std::vector<Operation> kRenderOperations = {
    {"Grayeffect", Grey<&Grayeffect, &Vantro_t::yuv>},
    {"Grayeffect_firstframeIdx", Grey<&Grayeffect_firstframeIdx, &Vantro_t::last_yuv>},
    {"VantroObject",
     [](Case& c) {
       Vantro_t record = DrawRecord(c, 2);
       DrawBox(c, record);
       DrawMask(c, record);
       record.yuv = c.Out(Bytes(record));
       const CROP_BOX& box = record.crop_param;
       const int width = box.crop_right - box.crop_left + 1;
       const int height = box.crop_bottom - box.crop_top + 1;
       std::vector<uint8_t> crop;  // made when the first pixel asks for it
       Effect(record, record.yuv, c.context()->contrastTable, true, [&](int64_t x, int64_t y) {
         if (crop.empty()) crop = CropMask(record, width, height);
         return Contains(box, x, y) &&
                crop[static_cast<size_t>((y - box.crop_top) * width + x - box.crop_left)] != 0;
       }).Expect(c);
       const int in_steps = c.OneIn(4) ? 1 : 0;  // the log switch is on
       c.Result(VantroObject(c.context(), in_steps, 0, c.Int(0, 1), record));
       c.ExpectTrue(c.context()->maskup == nullptr && c.context()->maskupwidth == width &&
                    c.context()->maskupheight == height);
     }},
    {"Grayeffect_Alpha_YUV",
     [](Case& c) {
       Vantro_t record = DrawRecord(c, 1);
       const CROP_BOX box = DrawLooseBox(c, record.stride, record.height);
       const int64_t width = int64_t{box.crop_right} - box.crop_left + 1;
       const int64_t height = int64_t{box.crop_bottom} - box.crop_top + 1;
       const bool extreme = width > 1000 || height > 1000 || width < 1 || height < 1;
       // Few values, and regions of some size.
       uint8_t* mask =
           extreme ? c.In(1) : c.Mask(static_cast<int>(width), static_cast<int>(height));
       record.yuv = c.Out(Bytes(record));
       Effect(record, record.yuv, c.context()->contrastTable, true, [&](int64_t x, int64_t y) {
         return Contains(box, x, y) && mask[(y - box.crop_top) * width + x - box.crop_left] != 0;
       }).Expect(c);
       c.Result(Grayeffect_Alpha_YUV(c.context(), record.yuv, record.stride, mask, record.height,
                                     -1, box, record.rect, record.yuv_format));
     }},
    {"getYcomponent",
     [](Case& c) {
       Vantro_t record = DrawRecord(c, 2);
       DrawBox(c, record);
       const CROP_BOX& box = record.crop_param;
       const int width = box.crop_right - box.crop_left + 1;
       const int pitch = c.Pitch(width);
       const uint8_t* src = c.In(Bytes(record));
       uint8_t* dst = c.Out(Case::Plane(width, box.crop_bottom - box.crop_top + 1, pitch));
       const int format = record.yuv_format;
       c.Expect(dst, width, box.crop_bottom - box.crop_top + 1, pitch, [&](int x, int y) {
         const int64_t at = int64_t{box.crop_top + y} * record.stride + box.crop_left + x;
         return IsKnown(record) ? int{src[IsPacked(record) ? 2 * at + 1 : at]} : kKept;
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

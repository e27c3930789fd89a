// The blend: grey everywhere in the rectangle but for the chroma of kept pixels.
#include <cstring>

#include "render/frame_region.h"
#include "render/gray_kernels.h"
#include "render/packed_rows.h"
#include "vantro/algo_context.h"
#include "vantro/render.h"

namespace {

using vantro::ContrastCurve;
using vantro::FrameRegion;
using vantro::kNeutralChroma;

// The crop-size mask in frame coordinates.
class PlacedMask {
 public:
  PlacedMask(const unsigned char* mask, const CROP_BOX& box)
      : mask_(mask), box_(box), width_(int64_t{box.crop_right} - box.crop_left + 1) {}

  int64_t left() const { return box_.crop_left; }
  int64_t right_end() const { return int64_t{box_.crop_right} + 1; }
  bool HasRow(int64_t y) const {
    return mask_ != nullptr && y >= box_.crop_top && y <= box_.crop_bottom;
  }
  // Only for a row and a column of the box.
  const unsigned char* At(int64_t y, int64_t x) const {
    return mask_ + (y - box_.crop_top) * width_ + (x - box_.crop_left);
  }
  bool Keeps(int64_t y, int64_t x) const {
    return HasRow(y) && x >= box_.crop_left && x <= box_.crop_right && *At(y, x) != 0;
  }

 private:
  const unsigned char* mask_;
  CROP_BOX box_;
  int64_t width_;
};

// One chroma row with the luma rows of the rectangle that share it: `upper` and `lower`, which are
// the same where the rectangle holds only one of the two.
class ChromaRow {
 public:
  ChromaRow(uint8_t* row, int64_t upper, int64_t lower, const FrameRegion& region,
            const PlacedMask& mask)
      : row_(row), upper_(upper), lower_(lower), region_(region), mask_(mask) {}

  // `room` is the number of bytes from the row's begin to the plane's end.
  void Blend(int64_t room) {
    const int64_t first_whole = (region_.x_begin + 1) / 2;
    const int64_t whole_end = region_.x_end / 2;
    if (region_.x_begin % 2 != 0) BlendHalfPair(region_.x_begin, room);
    if (region_.x_end % 2 != 0) BlendHalfPair(region_.x_end - 1, room);
    if (first_whole < whole_end) BlendWholePairs(first_whole, whole_end);
  }

 private:
  // A pair of which the rectangle holds the pixels in one column only.
  void BlendHalfPair(int64_t x, int64_t room) {
    if (mask_.Keeps(upper_, x) && mask_.Keeps(lower_, x)) return;
    const int64_t first = x / 2 * 2;
    row_[first] = kNeutralChroma;
    if (first + 1 < room) row_[first + 1] = kNeutralChroma;
  }

  void BlendWholePairs(int64_t begin, int64_t end) {
    // The pairs whose pixels all lie in the box.
    const int64_t masked_begin = std::clamp((mask_.left() + 1) >> 1, begin, end);
    const int64_t masked_end = std::clamp(mask_.right_end() >> 1, begin, end);
    if (masked_begin >= masked_end || !mask_.HasRow(upper_) || !mask_.HasRow(lower_)) {
      Neutralise(begin, end);
      return;
    }
    Neutralise(begin, masked_begin);
    vantro::BlendChroma(row_ + 2 * masked_begin, mask_.At(upper_, 2 * masked_begin),
                        mask_.At(lower_, 2 * masked_begin),
                        static_cast<size_t>(masked_end - masked_begin));
    Neutralise(masked_end, end);
  }

  void Neutralise(int64_t begin, int64_t end) {
    std::memset(row_ + 2 * begin, kNeutralChroma, static_cast<size_t>(2 * (end - begin)));
  }

  uint8_t* row_;
  int64_t upper_;
  int64_t lower_;
  const FrameRegion& region_;
  const PlacedMask& mask_;
};

void BlendSemiPlanar(const ContrastCurve& curve, uint8_t* image, int64_t stride, int64_t height,
                     const FrameRegion& region, const PlacedMask& mask) {
  vantro::ForEachRow(image, stride, region,
                     [&](uint8_t* luma, size_t count) { vantro::ApplyCurve(curve, luma, count); });
  uint8_t* chroma_plane = image + height * stride;
  const int64_t chroma_rows = height / 2;
  for (int64_t y = region.y_begin; y < region.y_end;) {
    const int64_t lower = std::min(y | 1, region.y_end - 1);
    const int64_t chroma_y = y / 2;
    if (chroma_y < chroma_rows) {
      ChromaRow(chroma_plane + chroma_y * stride, y, lower, region, mask)
          .Blend((chroma_rows - chroma_y) * stride);
    }
    y = lower + 1;
  }
}

void BlendPackedRow(const ContrastCurve& curve, uint8_t* row, int64_t y,
                    const vantro::PackedSpan& span, const PlacedMask& mask) {
  // Groups by the column of their first pixel: left of the box, in it, right of it.
  const int64_t first = span.begin / 2;
  const auto groups = static_cast<int64_t>(span.whole_groups);
  const int64_t masked_begin =
      mask.HasRow(y) ? std::clamp<int64_t>((mask.left() - first + 1) >> 1, 0, groups) : groups;
  const int64_t masked_end =
      std::clamp<int64_t>((mask.right_end() - first + 1) >> 1, masked_begin, groups);
  uint8_t* packed = row + span.begin;
  vantro::GrayGroups(curve, packed, static_cast<size_t>(masked_begin));
  if (masked_begin < masked_end) {
    vantro::BlendGroups(curve, packed + 4 * masked_begin, mask.At(y, first + 2 * masked_begin),
                        static_cast<size_t>(masked_end - masked_begin));
  }
  vantro::GrayGroups(curve, packed + 4 * masked_end, static_cast<size_t>(groups - masked_end));
  if (span.cut_group) {
    uint8_t* group = row + span.cut_begin();
    const uint8_t chroma = group[0];
    vantro::GrayCutGroup(curve, group);
    if (mask.Keeps(y, span.cut_begin() / 2)) group[0] = chroma;
  }
}

}  // namespace

int Grayeffect_Alpha_YUV(void* cxt, unsigned char* yuv, int stride, unsigned char* maskup,
                         int height, int /*width*/, CROP_BOX crop_param, Rect_t rect,
                         int yuv_format) {
  const FrameRegion region = vantro::ClipToFrame(rect, stride, height);
  if (cxt == nullptr || yuv == nullptr || region.empty()) return VANTRO_OK;
  const ContrastCurve curve(static_cast<const AlgoCxt*>(cxt)->contrastTable);
  const PlacedMask mask(maskup, crop_param);
  switch (yuv_format) {
    case VANTRO_FORMAT_NV21:
    case VANTRO_FORMAT_NV12:
      BlendSemiPlanar(curve, yuv, stride, height, region, mask);
      break;
    case VANTRO_FORMAT_UYVY: {
      const vantro::PackedSpan span(region, stride);
      for (int64_t y = region.y_begin; y < region.y_end; ++y) {
        BlendPackedRow(curve, yuv + y * stride * 2, y, span, mask);
      }
      break;
    }
    default:
      break;
  }
  return VANTRO_OK;
}

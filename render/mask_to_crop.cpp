#include "render/mask_to_crop.h"

#include <algorithm>

#include "image/try_resize.h"
#include "render/upscale_rows.h"
#include "support/timing_line.h"

namespace vantro {
namespace {

// About as much of the crop-size mask as stays in the second-level cache with the frame's rows.
constexpr int32_t kBandBytes = 128 * 1024;

bool FitsFactor(MaskSize mask, MaskSize crop, int32_t factor) {
  return mask.width < crop.width / factor && mask.height < crop.height / factor &&
         crop.width % factor == 0 && crop.height % factor == 0;
}

int32_t ChooseFactor(MaskSize mask, MaskSize crop) {
  if (FitsFactor(mask, crop, 4)) return 4;
  return FitsFactor(mask, crop, 2) ? 2 : 1;
}

}  // namespace

MaskStretcher::MaskStretcher(const uint8_t* mask, MaskSize mask_size, uint8_t* crop,
                             MaskSize crop_size, MemPool* pool)
    : mask_(mask),
      mask_size_(mask_size),
      crop_(crop),
      crop_size_(crop_size),
      factor_(ChooseFactor(mask_size, crop_size)) {
  if (factor_ == 1) return;
  const MaskSize size = reduced_size();
  reduced_ = AllocFromPool<uint8_t>(
      pool, static_cast<uint64_t>(size.width) * static_cast<uint64_t>(size.height),
      factor_ == 4 ? "crop_mask_d4x4" : "crop_mask_d2x2");
}

bool MaskStretcher::Resize(bool timed) {
  static constexpr const char* kLabels[] = {"up_scale_context_1", "up_scale_context_1_2x2",
                                            "up_scale_context_1_4x4"};
  const MaskSize size = reduced_size();
  uint8_t* out = factor_ == 1 ? crop_ : reduced_.get();
  const Moment start = Now();
  if (!TryResizeUchar(mask_, out, mask_size_.width, mask_size_.height, size.width, size.height)) {
    return false;
  }
  if (timed) WriteTimingLine(kLabels[factor_ / 2], start);
  return true;
}

void MaskStretcher::WriteAll(bool timed) {
  if (factor_ == 1) return;
  const Moment start = Now();
  for (int32_t row = 0; row < crop_size_.height;) row = WriteBand(row);
  if (timed) {
    WriteTimingLine(factor_ == 4 ? "up_scale_context_2_4x4" : "up_scale_context_2_2x2", start);
  }
  reduced_.reset();
}

int32_t MaskStretcher::WriteBand(int32_t begin) {
  const int32_t rows = std::max(kBandBytes / crop_size_.width, 1);
  const int32_t end = begin + std::min(rows, crop_size_.height - begin);
  const MaskSize size = reduced_size();
  const Enlargement plane{reduced_.get(),   size.width, crop_,
                          crop_size_.width, size.width, size.height};
  if (factor_ == 4) QuadRows(plane, begin, end, QuadFilter::kRepeatEdges);
  if (factor_ == 2) DoubleRows(plane, begin, end, Rounding::kTruncate);
  return end;
}

}  // namespace vantro

// The scene-change stage of the video pipeline: motion, and flashes.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <numeric>

#include "image/try_resize.h"
#include "support/log.h"
#include "support/scratch.h"
#include "vantro/algo_context.h"
#include "vantro/motion.h"

namespace vantro {
namespace {

constexpr int kSide = 100;  // of the reduced frames
constexpr float kGlobalThreshold = 20000.0f;
constexpr float kLocalThreshold = 2.5f;
constexpr int kRingSize = 10;
constexpr int kFlashesThatCount = 4;

// Slot of a frame number, which may be anything.
size_t Slot(int64_t frame) {
  return static_cast<size_t>((frame % kRingSize + kRingSize) % kRingSize);
}

// Channel step of a frame's luma samples; 0 for a format that has no case here.
int LumaStep(uint8_t format) {
  switch (format) {
    case VANTRO_FORMAT_NV21:
      return 1;
    case VANTRO_FORMAT_UYVY:
      return 2;
    default:
      return 0;
  }
}

// Luma of a frame at 100x100; false when it cannot be reduced.
bool ReduceLuma(const OpticalFlow& record, const uint8_t* frame, int step, uint8_t* reduced) {
  // UYVY has its first luma sample behind a chroma sample.
  return TryResizeUYVYtoYChl(frame + (step - 1), reduced, record.width, record.stride,
                             record.height, kSide, kSide, step);
}

int DetectMotion(const OpticalFlow& record, uint8_t* current, uint8_t* previous) {
  const float width = static_cast<float>(record.width);
  const float height = static_cast<float>(record.height);
  const CROP_BOX& box = record.engine_box;
  return CompareOpticalFlow(
      current, previous, kGlobalThreshold, kSide, kSide, kLocalThreshold,
      static_cast<float>(box.crop_left) / width, static_cast<float>(box.crop_top) / height,
      static_cast<float>(box.crop_right) / width, static_cast<float>(box.crop_bottom) / height);
}

// Number of ones. Counted in bytes for as long as a byte holds the count, which vectorises well.
int64_t CountSubject(const uint8_t* mask, int64_t size) {
  constexpr int64_t kMost = 255;
  int64_t count = 0;
  for (int64_t begin = 0; begin < size; begin += kMost) {
    const int64_t end = std::min(begin + kMost, size);
    uint8_t ones = 0;
    for (int64_t i = begin; i < end; ++i) ones = static_cast<uint8_t>(ones + (mask[i] == 1));
    count += ones;
  }
  return count;
}

// Subject area in frame pixels: the crop box's area by the share of subject pixels in the mask.
int32_t EstimateArea(const OpticalFlow& record) {
  const int64_t mask_size = int64_t{record.mask_width} * record.mask_height;
  if (record.mask_width < 1 || mask_size < 1 || mask_size > std::numeric_limits<int32_t>::max() ||
      record.mask == nullptr) {
    return 0;
  }
  const int64_t subject = CountSubject(record.mask, mask_size);
  if (subject == 0) return 0;
  const CROP_BOX& box = record.crop_param;
  const double columns = static_cast<double>(int64_t{box.crop_right} + 1 - box.crop_left);
  const double rows = static_cast<double>(int64_t{box.crop_bottom} + 1 - box.crop_top);
  const float box_area = static_cast<float>(columns * rows);
  const float area = box_area / static_cast<float>(mask_size) * static_cast<float>(subject);
  // Boxes far beyond any frame pass 32 bits.
  constexpr float kLimit = 2147483648.0f;
  if (area >= kLimit) return std::numeric_limits<int32_t>::max();
  if (area < -kLimit) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(area);
}

// Has the area changed by more than one per cent of the frame and by more than a third of itself?
bool AreaJumps(const OpticalFlow& record, int32_t now, int32_t previous) {
  const int64_t change = std::abs(int64_t{now} - previous);
  const int64_t frame_size = int64_t{record.height} * record.width;
  return change > frame_size / 100 && change > std::max(now, previous) / 3;
}

bool IsComplete(const AlgoCxt* cxt, const OpticalFlow& record, const int* flag) {
  return cxt != nullptr && cxt->pool != nullptr && flag != nullptr && record.yuv != nullptr &&
         record.last_yuv != nullptr && record.flash_flag != nullptr &&
         record.move_flag != nullptr && record.area != nullptr;
}

}  // namespace
}  // namespace vantro

int GetFlashFlag(void* algo_cxt, OpticalFlow record, int* flag) {
  using namespace vantro;
  auto* const cxt = static_cast<AlgoCxt*>(algo_cxt);
  if (!IsComplete(cxt, record, flag)) return -1;

  constexpr uint64_t kReducedSize = kSide * kSide;
  PoolBlock<uint8_t> previous;  // released after the other, as it is allocated after it
  const auto current = AllocFromPool<uint8_t>(cxt->pool, kReducedSize, "y_down");
  previous = AllocFromPool<uint8_t>(cxt->pool, kReducedSize, "lastY_down");
  if (current == nullptr || previous == nullptr) {
    VANTRO_LOGE(kTagVideo, "y_down or lastY_down is error!\n");
    return -1;
  }
  const int step = LumaStep(record.yuv_format);
  if (step == 0) {
    VANTRO_LOGE(kTagVideo, "not support this format!!\n");
    return -1;
  }
  if (!ReduceLuma(record, record.yuv, step, current.get()) ||
      !ReduceLuma(record, record.last_yuv, step, previous.get())) {
    return -1;
  }

  const int64_t frame = record.frameIdx;
  record.move_flag[Slot(frame + 1)] = DetectMotion(record, current.get(), previous.get());

  const int32_t area = EstimateArea(record);
  const int32_t previous_area = record.area[Slot(frame - 1)];
  record.area[Slot(frame)] = area;

  // This slot's motion was found with the frame before.
  const bool flashes = AreaJumps(record, area, previous_area) && record.move_flag[Slot(frame)] == 0;
  record.flash_flag[Slot(frame)] = flashes ? 1 : 0;
  const int64_t recent =
      std::accumulate(record.flash_flag, record.flash_flag + kRingSize, int64_t{0});
  if (recent >= kFlashesThatCount) {
    cxt->roi_state = 0;
    *flag = 0;
  }
  return 0;
}

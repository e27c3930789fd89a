// The flow between two expanded images, coarse to fine, and the decision whether it is motion.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "motion/flow_handle.h"
#include "support/log.h"
#include "support/scratch.h"
#include "vantro/bounded.h"
#include "vantro/image.h"
#include "vantro/motion.h"

namespace vantro {
namespace {

// Columns c0 to c1 - 1 and rows r0 to r1 - 1 of a field.
struct Region {
  int64_t c0, c1, r0, r1;
  int64_t count() const { return (c1 - c0) * (r1 - r0); }
};

// `position` as an index of 0 to `size`; beyond them the nearer one.
int64_t ClampToAxis(float position, int size) {
  if (!(position > 0.0f)) return 0;
  if (position >= static_cast<float>(size)) return size;
  return static_cast<int64_t>(position);
}

// The pixels that the box, in fractions of the field, touches. What is outside the field is left
// out; a box that is inverted by a pixel or not a number has none.
Region MeasuredRegion(int width, int height, float x0, float y0, float x1, float y1) {
  const float w = static_cast<float>(width);
  const float h = static_cast<float>(height);
  const Region region = {
      ClampToAxis(std::floor(w * x0), width), ClampToAxis(std::ceil(w * x1), width),
      ClampToAxis(std::floor(h * y0), height), ClampToAxis(std::ceil(h * y1), height)};
  const bool is_box = !std::isnan(x0) && !std::isnan(y0);
  return is_box && region.c0 < region.c1 && region.r0 < region.r1 ? region : Region{0, 0, 0, 0};
}

// The sum of absolute values in single precision, one after the other.
float OrderedSum(const float* values, int64_t count) {
  float sum = 0.0f;
  for (int64_t i = 0; i < count; ++i) sum += std::fabs(values[i]);
  return sum;
}

// The same sum in an order that can be vectorised.
float QuickSum(const float* values, int64_t count) {
  constexpr int64_t kLanes = 32;
  float lanes[kLanes] = {};
  int64_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    for (int64_t lane = 0; lane < kLanes; ++lane) lanes[lane] += std::fabs(values[i + lane]);
  }
  return OrderedSum(lanes, kLanes) + OrderedSum(values + i, count - i);
}

// Whether the ordered sum, divided by `divisor`, is above the threshold. No order of adding and
// rounding moves a sum of n sizes by more than n * 2^-24 of itself, so most sums need no order.
bool MeanExceeds(const float* values, int64_t count, int64_t divisor, float threshold) {
  constexpr int64_t kMostTerms = 1 << 20;
  if (count <= kMostTerms) {
    const double sum = static_cast<double>(QuickSum(values, count));
    const double margin = sum * static_cast<double>(count + 4) * 0x1p-22;
    const double limit = static_cast<double>(threshold) * static_cast<double>(divisor);
    if (sum - margin > limit) return true;
    if (sum + margin < limit) return false;
  }
  return OrderedSum(values, count) / static_cast<float>(divisor) > threshold;
}

// 1 motion, 0 none; -1, after a log line, when scratch memory is missing.
int JudgeMotion(const ME_Handler& handle, float global_threshold, const Region& region,
                float local_threshold) {
  static constexpr char kName[] = "CompareOpticalFlow";
  const int64_t pixels = int64_t{handle.width} * handle.height;
  const TrackedBlock<float> field = AllocTracked<float>(static_cast<uint64_t>(2 * pixels), kName);
  if (field == nullptr) {
    VANTRO_LOGE(kTagPlain, "doOpticalFlow_global_t Failed!");
    return -1;
  }
  const int64_t count = region.count();
  const TrackedBlock<float> local = AllocTracked<float>(static_cast<uint64_t>(2 * count), kName);
  if (local == nullptr && count > 0) {
    VANTRO_LOGE(kTagPlain, "doOpticalFlow_local_t Failed!");
    return -1;
  }
  // The first coordinate of an element is the box's horizontal one, whatever the field's shape.
  float* next = local.get();
  for (const float* plane : {handle.flow_x, handle.flow_y}) {
    for (int64_t a = region.c0; a < region.c1; ++a) {
      next = std::copy(plane + a * handle.height + region.r0, plane + a * handle.height + region.r1,
                       next);
    }
  }

  // The mean over nothing is 0.
  const bool local_motion = count == 0
                                ? 0.0f > local_threshold
                                : MeanExceeds(local.get(), 2 * count, count, local_threshold);
  if (local_motion) return 1;
  for (int64_t i = 0; i < pixels; ++i) {
    field[static_cast<size_t>(2 * i)] = handle.flow_x[i];
    field[static_cast<size_t>(2 * i + 1)] = handle.flow_y[i];
  }
  return MeanExceeds(field.get(), 2 * pixels, 1, global_threshold) ? 1 : 0;
}

// Its release is logged even when there was no handle to be had.
struct OwnedHandle {
  ME_Handler* get = nullptr;
  OwnedHandle() = default;
  ~OwnedHandle() { opticalFlow_unInit(get); }
  OwnedHandle(const OwnedHandle&) = delete;
  OwnedHandle& operator=(const OwnedHandle&) = delete;
};

}  // namespace
}  // namespace vantro

void __pointMulit(float* image, float factor, int width, int height) {
  if (image == nullptr || width < 1 || height < 1) return;
  const int64_t count = 2 * (int64_t{width} * height);
  for (int64_t i = 0; i < count; ++i) image[i] *= factor;
}

int doOpticalFlow(ME_Handler* handle, unsigned char* image2) {
  using namespace vantro;
  if (build_OF_Pyramid(handle, image2, kFlowReach, kFlowSigma) != 0) {
    VANTRO_LOGE(kTagPlain, "build OF Pyramid Failed!");
    return -1;
  }
  // The set that the next pyramid would overwrite is the older one.
  float* const* const first = handle->poly[handle->next_set];
  float* const* const second = handle->poly[1 - handle->next_set];

  // The coarsest level starts without motion; every other field is written before it is read.
  LevelSize coarser = SizeOfLevel(*handle, handle->max_level);
  const size_t bytes =
      2 * sizeof(float) * static_cast<size_t>(int64_t{coarser.width} * coarser.height);
  memset_s(handle->flow_a, bytes, 0, bytes);
  float* field = handle->flow_a;
  float* spare = handle->flow_b;
  for (int level = handle->max_level; level >= 0; --level) {
    const LevelSize size = SizeOfLevel(*handle, level);
    if (level < handle->max_level) {
      // Before the pixels are repeated, there are fewer of them.
      __pointMulit(field, 2.0f, coarser.width, coarser.height);
      resizeFloat_Nearest_2Ch(field, spare, coarser.width, coarser.height, size.width, size.height);
      std::swap(field, spare);
    }
    opticalFKUpdateMatrices(first[level], second[level], field, size.width, size.height,
                            handle->matM, 0, size.height);
    opticalFK_Blur(first[level], second[level], field, handle->vsum, size.width, size.height,
                   handle->matM, kFlowBlock, false);
    coarser = size;
  }

  const int64_t pixels = int64_t{handle->width} * handle->height;
  handle->flow_x = spare;
  handle->flow_y = spare + pixels;
  for (int64_t i = 0; i < pixels; ++i) {
    handle->flow_x[i] = field[2 * i];
    handle->flow_y[i] = field[2 * i + 1];
  }
  return 0;
}

int CompareOpticalFlow(unsigned char* image1, unsigned char* image2, float global_threshold,
                       int width, int height, float local_threshold, float x0, float y0, float x1,
                       float y1) {
  using namespace vantro;
  constexpr int kLevels = 3;
  constexpr float kPyramidScale = 0.5f;
  OwnedHandle handle;
  if (opticalFlow_Init(&handle.get, kLevels, kPyramidScale, width, height) != 0) {
    VANTRO_LOGE(kTagPlain, "opticalFlow_Init Failed!");
    return -1;
  }
  if (build_OF_Pyramid(handle.get, image1, kFlowReach, kFlowSigma) != 0) {
    VANTRO_LOGE(kTagPlain, "build Frame pyramid Failed");
    return -1;
  }
  if (doOpticalFlow(handle.get, image2) != 0) {
    VANTRO_LOGE(kTagPlain, "doOpticalFlow Failed!");
    return -1;
  }
  return JudgeMotion(*handle.get, global_threshold, MeasuredRegion(width, height, x0, y0, x1, y1),
                     local_threshold);
}

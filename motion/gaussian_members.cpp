// The blur for one kernel length each: rows into a scratch image, its columns into the destination.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "motion/blur_kernels.h"
#include "support/log.h"
#include "support/scratch.h"
#include "vantro/motion.h"

namespace vantro {
namespace {

struct Plane {
  const uint8_t* src;
  uint8_t* dst;
  int width;
  int height;
  int src_stride;
  int dst_stride;
};

// May a destination row be written once the source rows up to `reach` below it have been read?
bool CanFollowRows(const Plane& p) {
  if (p.src_stride < p.width || p.dst_stride < p.width) return false;
  if (p.src == p.dst && p.src_stride == p.dst_stride) return true;
  const auto extent = [&p](int stride) {
    return static_cast<uintptr_t>(p.height - 1) * static_cast<uintptr_t>(stride) +
           static_cast<uintptr_t>(p.width);
  };
  const uintptr_t src = reinterpret_cast<uintptr_t>(p.src);
  const uintptr_t dst = reinterpret_cast<uintptr_t>(p.dst);
  return src + extent(p.src_stride) <= dst || dst + extent(p.dst_stride) <= src;
}

// Both passes. As far as source and destination allow, only the rows that the next destination row
// needs are kept, in the first rows of the scratch image: they stay in the cache.
void BlurPlane(const Plane& p, const BlurWeights& weights, uint8_t* scratch) {
  const ptrdiff_t reach = weights.reach;
  const ptrdiff_t height = p.height;
  const size_t width = static_cast<size_t>(p.width);
  const bool follow = CanFollowRows(p);
  const ptrdiff_t kept = follow ? std::min(height, 2 * reach + 1) : height;
  const ptrdiff_t lead = follow ? reach : height;
  const auto scratch_row = [&](ptrdiff_t y) {
    return scratch + static_cast<size_t>(y % kept) * width;
  };

  // Twice round the kept rows, so that a window of them can start at any one.
  const uint8_t* ring[2 * kMostTaps] = {};
  const ptrdiff_t window = 2 * reach + 1;
  for (ptrdiff_t i = 0; kept == window && i < 2 * kept; ++i) ring[i] = scratch_row(i);
  ptrdiff_t start = 0;

  ptrdiff_t next = 0;
  for (ptrdiff_t y = 0; y < height; ++y) {
    for (; next < height && next <= y + lead; ++next) {
      BlurAlong(p.src + next * p.src_stride, weights, width, scratch_row(next));
    }
    uint8_t* const out = p.dst + y * p.dst_stride;
    if (follow && y >= reach && y + reach < height) {
      BlurAcross(ring + start, weights, width, out);
      start = start + 1 == kept ? 0 : start + 1;
      continue;
    }
    const uint8_t* lines[kMostTaps];
    for (ptrdiff_t i = 0; i < window; ++i) {
      const size_t row = Mirror(y + i - reach, static_cast<size_t>(height));
      lines[i] = scratch_row(static_cast<ptrdiff_t>(row));
    }
    BlurAcross(lines, weights, width, out);
  }
}

int BlurMember(const char* name, const Plane& plane, const uint16_t* weights, int reach) {
  if (plane.src == nullptr || plane.dst == nullptr || weights == nullptr) return -1;
  const TrackedBlock<uint8_t> scratch =
      AllocTracked<uint8_t>(static_cast<uint64_t>(int64_t{plane.width} * plane.height), name);
  if (scratch == nullptr) {
    VANTRO_LOGE(kTagPlain, "[%s] puc_buff malloc failed!\n", kTagPlain);
    return -1;
  }
  if (plane.width < 1 || plane.height < 1) return 0;
  BlurPlane(plane, ReadWeights(weights, reach), scratch.get());
  return 0;
}

}  // namespace
}  // namespace vantro

int GaussianBlur3x3_u8(const unsigned char* src, unsigned char* dst, int width, int height,
                       int src_stride, int dst_stride, const unsigned short* weights) {
  return vantro::BlurMember("GaussianBlur3x3_u8", {src, dst, width, height, src_stride, dst_stride},
                            weights, 1);
}

int GaussianBlur5x5_u8(const unsigned char* src, unsigned char* dst, int width, int height,
                       int src_stride, int dst_stride, const unsigned short* weights) {
  static constexpr char kSelf[] = "GaussianBlur5x5_u8";
  VANTRO_LOGI(vantro::kTagPlain, "[%s] Enter in function: %s", vantro::kTagPlain, kSelf);
  return vantro::BlurMember(kSelf, {src, dst, width, height, src_stride, dst_stride}, weights, 2);
}

int GaussianBlur7x7_u8(const unsigned char* src, unsigned char* dst, int width, int height,
                       int src_stride, int dst_stride, const unsigned short* weights) {
  return vantro::BlurMember("GaussianBlur7x7_u8", {src, dst, width, height, src_stride, dst_stride},
                            weights, 3);
}

int GaussianBlur9x9_u8(const unsigned char* src, unsigned char* dst, int width, int height,
                       int src_stride, int dst_stride, const unsigned short* weights) {
  return vantro::BlurMember("GaussianBlur9x9_u8", {src, dst, width, height, src_stride, dst_stride},
                            weights, 4);
}

int GaussianBlur11x11_u8(const unsigned char* src, unsigned char* dst, int width, int height,
                         int src_stride, int dst_stride, const unsigned short* weights) {
  return vantro::BlurMember("GaussianBlur11x11_u8",
                            {src, dst, width, height, src_stride, dst_stride}, weights, 5);
}

int GaussianBlur13x13_u8(const unsigned char* src, unsigned char* dst, int width, int height,
                         int src_stride, int dst_stride, const unsigned short* weights) {
  return vantro::BlurMember("GaussianBlur13x13_u8",
                            {src, dst, width, height, src_stride, dst_stride}, weights, 6);
}

// Guided filter in single precision at full resolution.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "support/log.h"
#include "support/scratch.h"
#include "vantro/image.h"

namespace vantro {
namespace {

struct PlaneGeometry {
  int width;
  int height;
  int stride;
  int radius;

  uint64_t size() const { return static_cast<uint64_t>(stride) * static_cast<uint64_t>(height); }
};

bool BoxMean(const float* src, float* dst, const PlaneGeometry& g) {
  if (boxfilter_iter_f(nullptr, src, dst, g.width, g.height, g.stride, g.radius) == 0) return true;
  VANTRO_LOGE(kTagVideo, "boxfilter_iter_f is failed!\n");
  return false;
}

// Calls element(i) for every element of a plane.
template <typename Element>
void ForEachElement(const PlaneGeometry& g, const Element& element) {
  for (int y = 0; y < g.height; ++y) {
    const ptrdiff_t first = static_cast<ptrdiff_t>(y) * g.stride;
    for (ptrdiff_t i = first; i < first + g.width; ++i) element(i);
  }
}

// Fits input = a * guide + b over the box around each element and averages both coefficients.
bool MeanCoefficients(const float* guide, const float* input, const PlaneGeometry& g, float eps,
                      float* mean_a, float* mean_b) {
  std::array<HeapBlock<float>, 5> planes;
  for (HeapBlock<float>& plane : planes) plane = AllocFromHeap<float>(g.size());
  if (std::any_of(planes.begin(), planes.end(), [](const auto& plane) { return !plane; })) {
    VANTRO_LOGE(kTagVideo, "malloc is failed %d\n", 2974);
    return false;
  }
  float* const mean_p = planes[0].get();
  float* const mean_i = planes[1].get();
  float* const corr_ip = planes[2].get();
  float* const corr_ii = planes[3].get();
  float* const product = planes[4].get();

  if (!BoxMean(input, mean_p, g) || !BoxMean(guide, mean_i, g)) return false;
  ForEachElement(g, [=](ptrdiff_t i) { product[i] = guide[i] * input[i]; });
  if (!BoxMean(product, corr_ip, g)) return false;
  ForEachElement(g, [=](ptrdiff_t i) { product[i] = guide[i] * guide[i]; });
  if (!BoxMean(product, corr_ii, g)) return false;

  ForEachElement(g, [=](ptrdiff_t i) {
    const float variance = corr_ii[i] - mean_i[i] * mean_i[i];
    const float covariance = corr_ip[i] - mean_i[i] * mean_p[i];
    const float a = covariance / (std::max(variance, 0.0f) + eps);
    mean_a[i] = a;
    mean_b[i] = mean_p[i] - a * mean_i[i];
  });
  return BoxMean(mean_a, mean_a, g) && BoxMean(mean_b, mean_b, g);
}

}  // namespace
}  // namespace vantro

void guidedfilter_f(void* /*context*/, float* output, float* guide, const float* input, int width,
                    int height, int stride, int radius, float eps) {
  using vantro::kTagVideo;
  if (output == nullptr || guide == nullptr || input == nullptr || width < 1 || height < 1 ||
      stride < width || radius < 0) {
    return;
  }
  const vantro::PlaneGeometry geometry = {width, height, stride, radius};
  const auto mean_a = vantro::AllocFromHeap<float>(geometry.size());
  if (!mean_a) {
    VANTRO_LOGE(kTagVideo, "malloc mean_a is failed!\n");
    return;
  }
  const auto mean_b = vantro::AllocFromHeap<float>(geometry.size());
  if (!mean_b) {
    VANTRO_LOGE(kTagVideo, "malloc mean_b is failed!\n");
    return;
  }
  if (!vantro::MeanCoefficients(guide, input, geometry, eps, mean_a.get(), mean_b.get())) {
    VANTRO_LOGE(kTagVideo, "guidedFilter_core_f is failed\n");
    return;
  }
  vantro::ForEachElement(geometry, [&, a = mean_a.get(), b = mean_b.get()](ptrdiff_t i) {
    const float value = guide[i] * a[i] + b[i];
    // The comparison is false for not-a-number.
    output[i] =
        value >= 128.0f ? static_cast<float>(static_cast<int>(std::min(value, 255.0f))) : 0.0f;
  });
}

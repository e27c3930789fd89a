// Guided filter in fixed point: fitted and averaged at half resolution, applied at full resolution.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "image/guided_fixed.h"
#include "support/log.h"
#include "support/scratch.h"
#include "support/timing_line.h"
#include "vantro/image.h"

namespace vantro {
namespace {

enum Status { kOk = 0, kBadParameters = 2000, kStepFailed = 2008, kNoBuffers = -1000 };

constexpr char kFilterName[] = "guided_filter_fast_detail_optm2";
// Sums over the largest box, of 11x11 elements, fit 16 bits.
constexpr int kMaxRadius = 10;

struct FullSize {
  int width;
  int height;
  int stride;

  bool valid() const { return width >= 1 && height >= 1 && stride >= width; }
  uint64_t area() const { return static_cast<uint64_t>(stride) * static_cast<uint64_t>(height); }
};

int Half(int size) {
  return static_cast<int>(static_cast<double>(static_cast<float>(size) * 0.5f) + 0.5);
}

// `eps` as a fraction `quotient / 2^shift`.
struct FixedEps {
  int quotient;
  signed char shift;
};

int TruncateToInt(double value) {
  if (std::isnan(value)) return 0;
  return static_cast<int>(std::clamp<double>(value, INT32_MIN, INT32_MAX));
}

FixedEps ToFixed(float eps) {
  for (int shift = 1; shift <= 25; ++shift) {
    const int quotient = TruncateToInt(std::ldexp(static_cast<double>(eps), shift));
    if (quotient >= 2) return {quotient, static_cast<signed char>(shift)};
  }
  return {TruncateToInt(std::ldexp(static_cast<double>(eps), 25)), 26};
}

// The quotient over 2^shift in units of squared grey values, truncated.
int64_t ToGreyUnits(int quotient, signed char shift) {
  return shift > 62 ? 0 : int64_t{quotient} * 65025 / (int64_t{1} << shift);
}

// Coefficients of the reduced planes: in the caller's work area, or in one of its own.
class CoefficientPlanes {
 public:
  // False when the planes cannot be had.
  bool Take(uint8_t* work_area, const ReducedSize& size) {
    bytes_ = 2 * size.area();
    if (work_area == nullptr) {
      own_ = AllocZeroed<uint8_t>(2 * bytes_);
      work_area = own_.get();
    }
    data_ = work_area;
    return data_ != nullptr;
  }
  Plane16 a() const { return Plane16(data_); }
  Plane16 b() const { return Plane16(data_ + bytes_); }

 private:
  HeapBlock<uint8_t> own_;
  uint8_t* data_ = nullptr;
  uint64_t bytes_ = 0;
};

// Element (x, y) takes the coefficients of the reduced element that covers it.
void Apply(const uint8_t* guide, const FullSize& full, const ReducedSize& reduced,
           const int16_t* mean_a, const int16_t* mean_b, signed char* output) {
  for (int y = 0; y < full.height; ++y) {
    const int64_t reduced_row = int64_t{std::min(y / 2, reduced.height - 1)} * reduced.width;
    const int64_t row = int64_t{y} * full.stride;
    for (int x = 0; x < full.width; ++x) {
      const int64_t element = reduced_row + std::min(x / 2, reduced.width - 1);
      const int32_t q = 255 * mean_b[element] + guide[row + x] * mean_a[element];
      output[row + x] = static_cast<signed char>(std::clamp(q / 1024, -128, 127));
    }
  }
}

int FilterReduced(const uint8_t* guide, const int8_t* input, const ReducedSize& size, int radius,
                  int64_t eps, uint8_t* work_area, const uint8_t* full_guide, const FullSize& full,
                  signed char* output) {
  const int half_radius = (radius + 1) / 2;
  const Moment start = Now();
  CoefficientPlanes fit;
  if (!fit.Take(work_area, size) ||
      !FitCoefficients(guide, input, size, half_radius, eps, fit.a(), fit.b())) {
    VANTRO_LOGE(kTagVideo, "Error in memory allocation");
    VANTRO_LOGE(kTagVideo, "%s Error in GF_meanab_part456", kFilterName);
    return kStepFailed;
  }
  WriteTimingLine("GF_meanab_part456_threadloop", start);

  std::printf("This is GF_meanab_part789_process ,radius is %d\n", radius);
  const auto mean_a = AllocFromHeap<int16_t>(size.area());
  const auto mean_b = AllocFromHeap<int16_t>(size.area());
  const auto column_sums = AllocFromHeap<int32_t>(static_cast<uint64_t>(size.width));
  if (!mean_a || !mean_b || !column_sums) {
    VANTRO_LOGE(kTagVideo, "mean_a_sub or mean_b_sub id malloc failed\n");
    return kStepFailed;
  }
  AverageBoxes(fit.a(), size, half_radius, column_sums.get(), mean_a.get());
  AverageBoxes(fit.b(), size, half_radius, column_sums.get(), mean_b.get());
  Apply(full_guide, full, size, mean_a.get(), mean_b.get(), output);
  return kOk;
}

// Turns between 0..255 and -128..127.
void FlipTopBits(const void* src, void* dst, const FullSize& size) {
  for (int y = 0; y < size.height; ++y) {
    const int64_t row = int64_t{y} * size.stride;
    const auto* const from = static_cast<const uint8_t*>(src) + row;
    auto* const to = static_cast<uint8_t*>(dst) + row;
    for (ptrdiff_t x = 0; x < size.width; ++x) to[x] = static_cast<uint8_t>(from[x] ^ 0x80);
  }
}

}  // namespace
}  // namespace vantro

int guided_filter_fast_detail_optm2(const unsigned char* guide, const signed char* input, int width,
                                    int height, unsigned char radius, int epsQ, signed char shift,
                                    signed char* output, int stride, unsigned char* context) {
  const vantro::FullSize full = {width, height, stride};
  if (guide == nullptr || input == nullptr || output == nullptr || width / 2 < radius ||
      height / 2 < radius || !full.valid() || radius > vantro::kMaxRadius || shift < 0) {
    VANTRO_LOGE(vantro::kTagVideo, "Parameters Error!");
    return vantro::kBadParameters;
  }
  const vantro::ReducedSize reduced = {vantro::Half(width), vantro::Half(height)};
  const auto reduced_guide = vantro::AllocZeroed<uint8_t>(reduced.area());
  const auto reduced_input = vantro::AllocZeroed<uint8_t>(reduced.area());
  if (!reduced_guide || !reduced_input) {
    VANTRO_LOGE(vantro::kTagVideo, "Memory Allocating Error!");
    return vantro::kBadParameters;
  }
  if (!vantro::ReduceNearest(guide, width, height, stride, reduced_guide.get(), reduced.width,
                             reduced.height) ||
      !vantro::ReduceNearest(reinterpret_cast<const uint8_t*>(input), width, height, stride,
                             reduced_input.get(), reduced.width, reduced.height)) {
    return vantro::kStepFailed;
  }
  return vantro::FilterReduced(
      reduced_guide.get(), reinterpret_cast<const int8_t*>(reduced_input.get()), reduced, radius,
      vantro::ToGreyUnits(epsQ, shift), context, guide, full, output);
}

int guide_filter_acc(const unsigned char* guide, const unsigned char* input, int width, int height,
                     unsigned char radius, float eps, unsigned char* output, int stride,
                     unsigned char* context) {
  const vantro::FullSize size = {width, height, stride};
  const bool valid = size.valid() && input != nullptr && output != nullptr;
  // Where there is nothing to convert, the filter is left to refuse it.
  const uint64_t bytes = valid ? size.area() : 1;
  const auto signed_input = vantro::AllocZeroed<signed char>(bytes);
  const auto signed_output = vantro::AllocZeroed<signed char>(bytes);
  if (!signed_input || !signed_output) {
    VANTRO_LOGE(vantro::kTagVideo, "%s malloc buff failed\n", "guide_filter_acc");
    return vantro::kNoBuffers;
  }
  if (valid) vantro::FlipTopBits(input, signed_input.get(), size);
  const vantro::FixedEps fixed = vantro::ToFixed(eps);
  const int result = guided_filter_fast_detail_optm2(
      guide, valid ? signed_input.get() : nullptr, width, height, radius, fixed.quotient,
      fixed.shift, signed_output.get(), stride, context);
  if (result != vantro::kOk) {
    VANTRO_LOGE(vantro::kTagVideo, "guided_filter_fast_detail_optm1  failed\n");
  }
  if (valid) vantro::FlipTopBits(signed_output.get(), output, size);
  return 0;
}

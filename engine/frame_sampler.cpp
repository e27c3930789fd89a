#include "engine/frame_sampler.h"

#include <algorithm>
#include <cmath>

#include "vantro/vantro.h"

namespace vantro::engine {
namespace {

using Span = FrameSampler::Span;

constexpr int kMaxSide = 65536;  // float positions are then good to 1/128 of a pixel
// Row sums have 16 bits: 8 of the pixels, 8 of the weights.
constexpr float kWeightSum = FrameSampler::kMostReduction;

// The pixels of a line of `limit` pixels under sample `index` of `count` that share the stretch
// [origin, origin + extent). A sample is never narrower than a pixel: the mean over one pixel's
// width around a point is the linear interpolation between the two pixels that it touches.
Span MakeSpan(int index, int count, float origin, float extent, int limit) {
  const float pitch = extent / static_cast<float>(count);
  const float length = std::max(pitch, 1.0f);
  const float begin = origin + (static_cast<float>(index) + 0.5f) * pitch - 0.5f * length;
  const float end = begin + length;
  const auto top = static_cast<float>(limit - 1);
  Span span;
  span.first = static_cast<int>(std::clamp(std::floor(begin), 0.0f, top));
  span.last =
      static_cast<int>(std::clamp(std::ceil(end) - 1.0f, static_cast<float>(span.first), top));
  span.length = length;
  span.beyond = end <= 0.0f || begin >= static_cast<float>(limit);
  if (span.first == span.last) {
    span.first_weight = length;
    span.last_weight = 0.0f;
  } else {  // what lies outside the frame counts for the pixel at its edge
    span.first_weight = static_cast<float>(span.first + 1) - begin;
    span.last_weight = end - static_cast<float>(span.last);
  }
  return span;
}

void MakeSpans(int count, float origin, float extent, int limit, std::vector<Span>* spans) {
  spans->resize(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) {
    (*spans)[static_cast<size_t>(i)] = MakeSpan(i, count, origin, extent, limit);
  }
}

void AddRow(const uint8_t* row, uint16_t weight, size_t count, uint16_t* sums) {
  for (size_t i = 0; i < count; ++i) sums[i] = static_cast<uint16_t>(sums[i] + weight * row[i]);
}

// Sums `count` bytes of each row under `span`, weighted. Returns the sum of the weights, which is
// at most 257, so that 255 times it still fits.
float SumRows(const uint8_t* plane, size_t pitch, const Span& span, size_t count, uint16_t* sums) {
  const auto unit = static_cast<uint16_t>(kWeightSum / span.length);
  const auto scaled = [unit](float weight) {
    return static_cast<uint16_t>(std::lround(static_cast<float>(unit) * weight));
  };
  std::fill_n(sums, count, uint16_t{0});
  int total = 0;
  for (int y = span.first; y <= span.last; ++y) {
    const uint16_t weight = y == span.first  ? scaled(span.first_weight)
                            : y == span.last ? scaled(span.last_weight)
                                             : unit;
    AddRow(plane + static_cast<size_t>(y) * pitch, weight, count, sums);
    total += weight;
  }
  return static_cast<float>(total);
}

// The weighted sum under `span`, of every kStep-th element.
template <int kStep>
float SumColumns(const uint16_t* sums, const Span& span) {
  uint32_t inner = 0;
  for (int x = span.first + 1; x < span.last; ++x) inner += sums[x * kStep];
  return static_cast<float>(sums[span.first * kStep]) * span.first_weight +
         static_cast<float>(inner) + static_cast<float>(sums[span.last * kStep]) * span.last_weight;
}

float Clamp01(float value) { return std::clamp(value, 0.0f, 1.0f); }

// One row of samples. Scales divide by the weights of the rows and bring 255 to 1.
template <int kLumaStep, int kChromaStep>
void ConvertSums(const uint16_t* luma, const uint16_t* u, const uint16_t* v, const Span* luma_spans,
                 const Span* chroma_spans, int count, float luma_scale, float chroma_scale,
                 float* rgb) {
  constexpr float kNeutral = 128.0f / 255.0f;
  for (int i = 0; i < count; ++i) {
    const Span& chroma_span = chroma_spans[i];
    const float scale = chroma_scale / chroma_span.length;
    const float y = SumColumns<kLumaStep>(luma, luma_spans[i]) * luma_scale / luma_spans[i].length;
    const float cb = SumColumns<kChromaStep>(u, chroma_span) * scale - kNeutral;
    const float cr = SumColumns<kChromaStep>(v, chroma_span) * scale - kNeutral;
    // ITU-R BT.601, full range, as cameras deliver it.
    rgb[3 * i] = Clamp01(y + 1.402f * cr);
    rgb[3 * i + 1] = Clamp01(y - 0.344136f * cb - 0.714136f * cr);
    rgb[3 * i + 2] = Clamp01(y + 1.772f * cb);
  }
}

}  // namespace

bool FrameView::valid() const {
  return data != nullptr && width >= 2 && width <= kMaxSide && height >= 2 && height <= kMaxSide &&
         stride >= width &&
         (format == VANTRO_FORMAT_NV21 || format == VANTRO_FORMAT_NV12 ||
          format == VANTRO_FORMAT_UYVY);
}

void FrameSampler::Prepare(const FrameView& frame, const Region& region) {
  const bool packed = frame.format == VANTRO_FORMAT_UYVY;
  const int chroma_width = frame.width / 2;
  MakeSpans(rows_, region.top, region.height, frame.height, &luma_rows_);
  MakeSpans(columns_, region.left, region.width, frame.width, &luma_columns_);
  MakeSpans(columns_, region.left / 2, region.width / 2, chroma_width, &chroma_columns_);
  const auto row_bytes = static_cast<size_t>(frame.width);
  if (packed) {
    luma_sums_.resize(2 * row_bytes);
  } else {
    MakeSpans(rows_, region.top / 2, region.height / 2, frame.height / 2, &chroma_rows_);
    luma_sums_.resize(row_bytes);
    chroma_sums_.resize(2 * static_cast<size_t>(chroma_width));
  }
  frame_ = frame;
  region_ = region;
}

void FrameSampler::Sample(const FrameView& frame, const Region& region, float* rgb) {
  if (frame.format != frame_.format || frame.width != frame_.width ||
      frame.height != frame_.height || region != region_) {
    Prepare(frame, region);
  }
  const auto stride = static_cast<size_t>(frame.stride);
  const uint8_t* chroma_plane = frame.data + stride * static_cast<size_t>(frame.height);
  const bool u_first = frame.format != VANTRO_FORMAT_NV21;
  const uint16_t* sums = luma_sums_.data();
  const uint16_t* chroma = chroma_sums_.data();
  for (size_t row = 0; row < luma_rows_.size(); ++row, rgb += 3 * columns_) {
    if (row > 0 && luma_rows_[row].beyond && luma_rows_[row - 1].beyond &&
        luma_rows_[row].first == luma_rows_[row - 1].first) {
      std::copy_n(rgb - 3 * columns_, 3 * columns_, rgb);
      continue;
    }
    if (frame.format == VANTRO_FORMAT_UYVY) {
      const float scale = 1.0f / (255.0f * SumRows(frame.data, 2 * stride, luma_rows_[row],
                                                   luma_sums_.size(), luma_sums_.data()));
      ConvertSums<2, 4>(sums + 1, sums, sums + 2, luma_columns_.data(), chroma_columns_.data(),
                        columns_, scale, scale, rgb);
    } else {
      const float scale = 1.0f / (255.0f * SumRows(frame.data, stride, luma_rows_[row],
                                                   luma_sums_.size(), luma_sums_.data()));
      const float chroma_scale =
          1.0f / (255.0f * SumRows(chroma_plane, stride, chroma_rows_[row], chroma_sums_.size(),
                                   chroma_sums_.data()));
      ConvertSums<1, 2>(sums, chroma + (u_first ? 0 : 1), chroma + (u_first ? 1 : 0),
                        luma_columns_.data(), chroma_columns_.data(), columns_, scale, chroma_scale,
                        rgb);
    }
  }
}

}  // namespace vantro::engine

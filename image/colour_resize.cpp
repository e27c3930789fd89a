// Bilinear resizer of interleaved three-byte colour.

#include <algorithm>
#include <cstdint>

#include "support/log.h"
#include "support/scratch.h"
#include "vantro/image.h"

namespace vantro {
namespace {

constexpr int kChannels = 3;

struct ColumnEntry {
  int32_t index;
  float fraction;
};

ColumnEntry LocateColumn(float scale, int x) {
  const float position = scale * static_cast<float>(x);
  const auto index = static_cast<int64_t>(position);
  return {static_cast<int32_t>(std::min<int64_t>(index, INT32_MAX)),
          position - static_cast<float>(index)};
}

// The two rows that a destination row lies between.
struct RowPair {
  const uint8_t* upper;
  const uint8_t* lower;
  int last_column;
  float fraction;

  uint8_t Sample(const ColumnEntry& column) const {
    const int64_t left = int64_t{std::min(column.index, last_column)} * kChannels;
    const int64_t right = std::min(int64_t{column.index} + 1, int64_t{last_column}) * kChannels;
    const float ax = column.fraction;
    const float ay = fraction;
    const float p00 = upper[left];
    const float p01 = upper[right];
    const float p10 = lower[left];
    const float p11 = lower[right];
    return static_cast<uint8_t>(
        static_cast<int32_t>(ay * ax * p11 + ((1 - ay) * ((1 - ax) * p00) + (1 - ay) * (ax * p01) +
                                              (1 - ax) * (ay * p10))));
  }
};

RowPair LocateRow(const uint8_t* src, int src_width, int src_height, float scale, int y) {
  const float position = scale * static_cast<float>(y);
  const auto index = static_cast<int64_t>(position);
  const int64_t pitch = int64_t{src_width} * kChannels;
  const auto row = [&](int64_t i) { return src + std::min<int64_t>(i, src_height - 1) * pitch; };
  return {row(index), row(index + 1), src_width - 1, position - static_cast<float>(index)};
}

}  // namespace
}  // namespace vantro

void resizeUcharRGB(const unsigned char* src, unsigned char* dst, int srcW, int srcH, int dstW,
                    int dstH) {
  for (int channel = 0; channel < vantro::kChannels; ++channel) {
    resizeUcharRGBChl(src == nullptr ? nullptr : src + channel,
                      dst == nullptr ? nullptr : dst + channel, srcW, srcH, dstW, dstH);
  }
}

void resizeUcharRGBChl(const unsigned char* src, unsigned char* dst, int srcW, int srcH, int dstW,
                       int dstH) {
  if (dstW < 1) {
    VANTRO_LOGW(vantro::kTagPlain, "dstW <= 0");
    return;
  }
  if (src == nullptr || dst == nullptr || srcW < 1 || srcH < 1 || dstH < 1) return;
  const float scale_x = static_cast<float>(srcW) / static_cast<float>(dstW);
  const float scale_y = static_cast<float>(srcH) / static_cast<float>(dstH);
  const auto columns =
      vantro::AllocTracked<vantro::ColumnEntry>(static_cast<uint64_t>(dstW), "resizeUcharChl");
  if (columns) {
    for (int x = 0; x < dstW; ++x)
      columns[static_cast<size_t>(x)] = vantro::LocateColumn(scale_x, x);
  }
  for (int y = 0; y < dstH; ++y) {
    const vantro::RowPair rows = vantro::LocateRow(src, srcW, srcH, scale_y, y);
    unsigned char* const out = dst + int64_t{y} * dstW * vantro::kChannels;
    for (ptrdiff_t x = 0; x < dstW; ++x) {
      out[x * vantro::kChannels] =
          rows.Sample(columns ? columns[static_cast<size_t>(x)]
                              : vantro::LocateColumn(scale_x, static_cast<int>(x)));
    }
  }
}

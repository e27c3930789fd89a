// Bilinear resizers of interleaved three-byte colour.

#include <algorithm>
#include <cstdint>

#include "image/bilinear_sum_kernels.h"
#include "image/row_spread.h"
#include "image/strided_copy.h"
#include "support/log.h"
#include "support/scratch.h"
#include "vantro/image.h"

namespace vantro {
namespace {

constexpr int kChannels = 3;

struct AxisEntry {
  int32_t index;  // may lie behind the last sample
  float fraction;

  int32_t first(int32_t last) const { return std::min(index, last); }
  int32_t second(int32_t last) const { return index < last ? index + 1 : last; }
};

AxisEntry Locate(float scale, int i) {
  const float position = scale * static_cast<float>(i);
  const auto index = static_cast<int64_t>(position);
  return {static_cast<int32_t>(std::min<int64_t>(index, INT32_MAX)),
          position - static_cast<float>(index)};
}

struct ColourResize {
  const uint8_t* src;
  uint8_t* dst;
  int src_width;
  int src_height;
  int dst_width;
  int dst_height;
  int channels;  // from the first on: one, or all, whose samples then follow each other

  float scale_x() const { return static_cast<float>(src_width) / static_cast<float>(dst_width); }
  float scale_y() const { return static_cast<float>(src_height) / static_cast<float>(dst_height); }
  int step() const { return kChannels / channels; }
};

// `column(x)` gives the entry of destination column x.
template <typename Column>
void ResizeStrip(const ColourResize& resize, int64_t first, int count, const Column& column) {
  int32_t left[kStripColumns];
  int32_t right[kStripColumns];
  alignas(64) float left_weight[kStripColumns];
  alignas(64) float right_weight[kStripColumns];
  for (int i = 0; i < count; ++i) {
    const AxisEntry entry = column(static_cast<int>((first + i) / resize.channels));
    const auto channel = static_cast<int>((first + i) % resize.channels);
    left[i] = entry.first(resize.src_width - 1) * resize.channels + channel;
    right[i] = entry.second(resize.src_width - 1) * resize.channels + channel;
    left_weight[i] = 1 - entry.fraction;
    right_weight[i] = entry.fraction;
  }
  const AxisWeights<float> weights = {left_weight, right_weight, count};
  RowSpreader spreader(
      MakeChannelSource(resize.src, resize.step(), int64_t{kChannels} * resize.src_width,
                        resize.src_width * resize.channels),
      {left, right, count});
  const bool left_only = weights.left_only();
  const int last_row = resize.src_height - 1;
  uint8_t packed[kStripColumns];
  uint8_t* dst = resize.dst + first * resize.step();
  for (int y = 0; y < resize.dst_height; ++y, dst += int64_t{kChannels} * resize.dst_width) {
    const AxisEntry row = Locate(resize.scale_y(), y);
    const int32_t upper_row = row.first(last_row);
    const bool upper_only = row.fraction == 0.0f;
    uint8_t* const out = resize.step() == 1 ? dst : packed;
    if (upper_only && left_only) {
      spreader.CopyLeft(upper_row, out);
    } else {
      const auto [upper, lower] =
          spreader.Rows(upper_row, upper_only ? upper_row : row.second(last_row));
      if (upper_only) {
        SumUpperOnly(*upper, weights, 0.0f, out);
      } else {
        SumColour(*upper, *lower, weights, {1 - row.fraction, row.fraction}, out);
      }
    }
    if (out == packed) ScatterStrided(packed, count, resize.step(), dst);
  }
}

// With no channels it takes and releases its table, as it does with any.
void Resize(const ColourResize& resize) {
  if (resize.dst_width < 1) {
    VANTRO_LOGW(kTagPlain, "dstW <= 0");
    return;
  }
  if (resize.src == nullptr || resize.dst == nullptr || resize.src_width < 1 ||
      resize.src_height < 1 || resize.dst_height < 1) {
    return;
  }
  const float scale = resize.scale_x();
  const auto table =
      AllocTracked<AxisEntry>(static_cast<uint64_t>(resize.dst_width), "resizeUcharChl");
  if (resize.channels == 0) return;
  if (table) {
    for (int x = 0; x < resize.dst_width; ++x) table[static_cast<size_t>(x)] = Locate(scale, x);
  }
  const auto column = [&](int x) {
    return table ? table[static_cast<size_t>(x)] : Locate(scale, x);
  };
  const int64_t elements = int64_t{resize.dst_width} * resize.channels;
  for (int64_t first = 0; first < elements; first += kStripColumns) {
    const int64_t count = std::min<int64_t>(kStripColumns, elements - first);
    ResizeStrip(resize, first, static_cast<int>(count), column);
  }
}

}  // namespace
}  // namespace vantro

void resizeUcharRGB(const unsigned char* src, unsigned char* dst, int srcW, int srcH, int dstW,
                    int dstH) {
  // What a call for each channel logs and allocates; the first does the work of all three, unless
  // the samples of a row are more than an index can count.
  const bool together = srcW <= INT32_MAX / vantro::kChannels;
  for (int channel = 0; channel < vantro::kChannels; ++channel) {
    if (!together) {
      resizeUcharRGBChl(src == nullptr ? nullptr : src + channel,
                        dst == nullptr ? nullptr : dst + channel, srcW, srcH, dstW, dstH);
    } else {
      vantro::Resize({src, dst, srcW, srcH, dstW, dstH, channel == 0 ? vantro::kChannels : 0});
    }
  }
}

void resizeUcharRGBChl(const unsigned char* src, unsigned char* dst, int srcW, int srcH, int dstW,
                       int dstH) {
  vantro::Resize({src, dst, srcW, srcH, dstW, dstH, 1});
}

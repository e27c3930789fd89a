// The weighted sum of the bilinear channel resizers.
#ifndef VANTRO_IMAGE_CHANNEL_RESIZE_KERNELS_H_
#define VANTRO_IMAGE_CHANNEL_RESIZE_KERNELS_H_

#include <cstdint>

#include "image/bilinear_tables.h"

namespace vantro {

// How the four samples P of a destination element are summed with the weights (wx0, wx1) of its
// column and (wy0, wy1) of its row. Single precision, where the order decides about the last bit:
//   kGrouped   (wy1*wx1)*P11 + (((wy0*wx0)*P00 + (wy0*wx1)*P01) + (wy1*wx0)*P10)
//   kInOrder   wy0*(wx0*P00) + wy0*(wx1*P01) + wy1*(wx0*P10) + (wy1*wx1)*P11
enum class BilinearSum { kGrouped, kInOrder };

struct BilinearRule {
  BilinearSum sum;
  float bias;  // added before the truncation: 0.5 or 0
};

// One channel of a source image; sizes in bytes.
struct ChannelSource {
  const uint8_t* data;
  int64_t step;       // from one element to the next
  int64_t pitch;      // from one row to the next
  int64_t row_bytes;  // from the first element of a row to the end of the last
};

// Resizes `source` into dst_width * dst_height elements, `dst_step` bytes apart, rows packed.
void ResizeChannel(const ChannelSource& source, const BilinearTables& tables, BilinearRule rule,
                   uint8_t* dst, int dst_width, int dst_height, int64_t dst_step);

}  // namespace vantro

#endif  // VANTRO_IMAGE_CHANNEL_RESIZE_KERNELS_H_

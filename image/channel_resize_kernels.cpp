#include "image/channel_resize_kernels.h"

namespace vantro {

void ResizeChannel(const ChannelSource& source, const BilinearTables& tables, BilinearRule rule,
                   uint8_t* dst, int dst_width, int dst_height, int64_t dst_step) {
  const BilinearAxis& columns = tables.columns();
  const BilinearAxis& rows = tables.rows();
  for (int y = 0; y < dst_height; ++y) {
    const uint8_t* const upper = source.data + rows.first[y] * source.pitch;
    const uint8_t* const lower = source.data + rows.second[y] * source.pitch;
    const float wy0 = rows.first_weight[y];
    const float wy1 = rows.second_weight[y];
    for (int x = 0; x < dst_width; ++x) {
      const int64_t left = columns.first[x] * source.step;
      const int64_t right = columns.second[x] * source.step;
      const float wx0 = columns.first_weight[x];
      const float wx1 = columns.second_weight[x];
      const float p00 = upper[left];
      const float p01 = upper[right];
      const float p10 = lower[left];
      const float p11 = lower[right];
      const float value =
          rule.sum == BilinearSum::kGrouped
              ? wy1 * wx1 * p11 + ((wy0 * wx0 * p00 + wy0 * wx1 * p01) + wy1 * wx0 * p10)
              : wy0 * (wx0 * p00) + wy0 * (wx1 * p01) + wy1 * (wx0 * p10) + wy1 * wx1 * p11;
      dst[(static_cast<int64_t>(y) * dst_width + x) * dst_step] =
          static_cast<uint8_t>(static_cast<int32_t>(value + rule.bias));
    }
  }
}

}  // namespace vantro

#include "app/orientation.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace vantro::app {

// The matrix (rows a b u, c d v, x y w) takes a stored pixel (p, q) to the shown
// (a p + c q + x, b p + d q + y).
Orientation Orientation::OfStream(const AVStream& stream) {
  size_t size = 0;
  const uint8_t* data = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
  if (data == nullptr || size < 9 * sizeof(int32_t)) return {};
  const auto* matrix = reinterpret_cast<const int32_t*>(data);
  const int64_t a = matrix[0];
  const int64_t b = matrix[1];
  const int64_t c = matrix[3];
  const int64_t d = matrix[4];
  if (std::abs(a) >= std::abs(b)) return {.flip_x = a < 0, .flip_y = d < 0};
  return {.swap_axes = true, .flip_x = c < 0, .flip_y = b < 0};
}

void TurnPlane(const Orientation& orientation, const uint8_t* from, int from_stride, int width,
               int height, uint8_t* to, int to_stride) {
  // One step to the right, and one down, in the upright picture, as steps in the stored one.
  const ptrdiff_t column = orientation.swap_axes ? from_stride : 1;
  const ptrdiff_t row = orientation.swap_axes ? 1 : from_stride;
  const int to_width = orientation.swap_axes ? height : width;
  const int to_height = orientation.swap_axes ? width : height;
  const ptrdiff_t step_x = orientation.flip_x ? -column : column;
  const ptrdiff_t step_y = orientation.flip_y ? -row : row;
  const uint8_t* origin = from + (orientation.flip_x ? column * (to_width - 1) : 0) +
                          (orientation.flip_y ? row * (to_height - 1) : 0);
  // In tiles, so that the stored rows that a tile touches stay in the cache.
  constexpr int kTile = 32;
  for (int top = 0; top < to_height; top += kTile) {
    const int bottom = std::min(top + kTile, to_height);
    for (int left = 0; left < to_width; left += kTile) {
      const int right = std::min(left + kTile, to_width);
      for (int y = top; y < bottom; ++y) {
        uint8_t* out = to + static_cast<ptrdiff_t>(y) * to_stride;
        const uint8_t* in = origin + y * step_y;
        for (int x = left; x < right; ++x) out[x] = in[x * step_x];
      }
    }
  }
}

}  // namespace vantro::app

#include "app/photo/thumbnail.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "app/photo/colour.h"

namespace vantro::app {

Picture Thumbnail(const Raster& raster, int most_width, int most_height) {
  const double scale = std::min({1.0, static_cast<double>(most_width) / raster.width,
                                 static_cast<double>(most_height) / raster.height});
  const int width = std::max(1, static_cast<int>(std::lround(raster.width * scale)));
  const int height = std::max(1, static_cast<int>(std::lround(raster.height * scale)));
  Picture small(width, height, {});
  Plane row(3 * raster.width, 1);
  Plane scratch;
  // A row of the small picture takes whole rows and columns of the large one.
  const auto end_of = [](int index, int from, int to) {
    return static_cast<int>(int64_t{index + 1} * from / to);
  };
  std::vector<uint32_t> sums(static_cast<size_t>(width) * 3);
  for (int y = 0, from_y = 0; y < height; ++y) {
    std::ranges::fill(sums, 0);
    const int end_y = end_of(y, raster.height, height);
    const int rows = end_y - from_y;
    for (; from_y < end_y; ++from_y) {
      LoadPixels(raster, from_y, 3, row.row(0), scratch);
      for (int x = 0, from_x = 0; x < width; ++x) {
        for (const int end_x = end_of(x, raster.width, width); from_x < end_x; ++from_x) {
          for (int c = 0; c < 3; ++c) {
            sums[3 * static_cast<size_t>(x) + static_cast<size_t>(c)] += row.row(0)[3 * from_x + c];
          }
        }
      }
    }
    for (int x = 0, from_x = 0; x < width; ++x) {
      const int end_x = end_of(x, raster.width, width);
      const auto count = static_cast<uint32_t>(rows * (end_x - from_x));
      from_x = end_x;
      for (int c = 0; c < 3; ++c) {
        const uint32_t sum = sums[3 * static_cast<size_t>(x) + static_cast<size_t>(c)];
        small.row(y)[3 * x + c] = static_cast<uint8_t>((sum + count / 2) / count);
      }
    }
  }
  return small;
}

}  // namespace vantro::app

// A 0/1 mask of a person: head, shoulders and body, with a few stray islands.
#ifndef VANTRO_BENCH_SUPPORT_SILHOUETTE_H_
#define VANTRO_BENCH_SUPPORT_SILHOUETTE_H_

#include <cmath>
#include <cstdint>
#include <vector>

namespace vantro::bench {

inline std::vector<uint8_t> Silhouette(int width, int height) {
  std::vector<uint8_t> mask(static_cast<size_t>(width) * static_cast<size_t>(height));
  const auto ellipse = [](double x, double y, double cx, double cy, double rx, double ry) {
    const double dx = (x - cx) / rx;
    const double dy = (y - cy) / ry;
    return dx * dx + dy * dy < 1.0;
  };
  for (int row = 0; row < height; ++row) {
    for (int column = 0; column < width; ++column) {
      const double x = (column + 0.5) / width;
      const double y = (row + 0.5) / height;
      const bool person = ellipse(x, y, 0.5, 0.3, 0.13, 0.18) ||
                          ellipse(x, y, 0.5, 0.8 + 0.01 * std::sin(40.0 * x), 0.33, 0.35);
      const bool island = ellipse(x, y, 0.1, 0.1, 0.02, 0.03) ||
                          ellipse(x, y, 0.9, 0.4, 0.01, 0.01) ||
                          ellipse(x, y, 0.85, 0.2, 0.02, 0.01);
      mask[static_cast<size_t>(row) * static_cast<size_t>(width) + static_cast<size_t>(column)] =
          person || island ? 1 : 0;
    }
  }
  return mask;
}

}  // namespace vantro::bench

#endif  // VANTRO_BENCH_SUPPORT_SILHOUETTE_H_

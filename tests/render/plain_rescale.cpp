#include "tests/render/plain_rescale.h"

#include <cmath>
#include <cstdlib>

namespace vantro::test {
namespace {

float Position(int i, int src, int dst) {
  const float ratio = static_cast<float>(src) / static_cast<float>(dst);
  return static_cast<float>((i + 0.5) * static_cast<double>(ratio) - 0.5);
}

int Clamp(int i, int size) { return std::min(std::max(i, 0), size - 1); }

// Source pair and weight of the first of it, in eighths, of the 4x filter.
struct Phase {
  int pair;
  int first_weight;
};

Phase PhaseAt(int i, int size) {
  if (i < 2) return {0, 7};
  if (i > 4 * size - 3) return {size - 2, 1};
  return {(i - 2) / 4, 7 - 2 * ((i - 2) % 4)};
}

}  // namespace

Plane PlainBilinear(const Plane& src, int width, int height) {
  Plane out(width, height);
  for (int r = 0; r < height; ++r) {
    const float fy = Position(r, src.height, height);
    const int y = static_cast<int>(std::floor(fy));
    const float wy = fy - static_cast<float>(y);
    for (int c = 0; c < width; ++c) {
      const float fx = Position(c, src.width, width);
      const int x = static_cast<int>(std::floor(fx));
      const float wx = fx - static_cast<float>(x);
      const auto term = [&](float weight, int row, int column) {
        return weight *
               static_cast<float>(src.At(Clamp(row, src.height), Clamp(column, src.width)));
      };
      float value = term((1.0f - wy) * (1.0f - wx), y, x);
      value = value + term((1.0f - wy) * wx, y, x + 1);
      value = value + term(wy * (1.0f - wx), y + 1, x);
      value = value + term(wy * wx, y + 1, x + 1);
      out.At(r, c) = static_cast<uint8_t>(value);
    }
  }
  return out;
}

Plane PlainNearest(const Plane& src, int width, int height) {
  Plane out(width, height);
  for (int r = 0; r < height; ++r) {
    const float fy = Position(r, src.height, height);
    const int y = std::max(static_cast<int>(fy), 0);
    const float wy = fy - static_cast<float>(y);
    for (int c = 0; c < width; ++c) {
      const float fx = Position(c, src.width, width);
      const int x = std::max(static_cast<int>(fx), 0);
      const float wx = fx - static_cast<float>(x);
      int row = y;
      int column = x;
      if (y >= src.height - 1) {
        if (x < src.width - 1 && wx >= 1.0f - wx) column = x + 1;
      } else if (x >= src.width - 1) {
        if (wy >= 1.0f - wy) row = y + 1;
      } else {
        float best = 1e9f;
        for (int candidate = 0; candidate < 4; ++candidate) {
          const float dy = candidate / 2 == 0 ? wy : 1.0f - wy;
          const float dx = candidate % 2 == 0 ? wx : 1.0f - wx;
          const float dy2 = dy * dy;
          const float dx2 = dx * dx;
          const float distance = dy2 + dx2;
          if (distance < best) {
            best = distance;
            row = y + candidate / 2;
            column = x + candidate % 2;
          }
        }
      }
      out.At(r, c) = static_cast<uint8_t>(src.At(row, column));
    }
  }
  return out;
}

Plane PlainQuadruple(const Plane& src) {
  Plane out(4 * src.width, 4 * src.height);
  for (int r = 0; r < out.height; ++r) {
    const Phase y = PhaseAt(r, src.height);
    for (int c = 0; c < out.width; ++c) {
      const Phase x = PhaseAt(c, src.width);
      int sum = 32;
      for (int row = 0; row < 2; ++row) {
        for (int column = 0; column < 2; ++column) {
          sum += std::abs(8 * row - y.first_weight) * std::abs(8 * column - x.first_weight) *
                 src.At(y.pair + row, x.pair + column);
        }
      }
      out.At(r, c) = static_cast<uint8_t>(sum >> 6);
    }
  }
  return out;
}

Plane PlainX4(const Plane& src) {
  Plane out(2 * src.width, 2 * src.height);
  for (int r = 0; r < out.height; ++r) {
    for (int c = 0; c < out.width; ++c) {
      const int y = r / 2;
      const int x = c / 2;
      const int y2 = r % 2 == 0 ? y - 1 : y + 1;
      const int x2 = c % 2 == 0 ? x - 1 : x + 1;
      const bool edge_y = y2 < 0 || y2 >= src.height;
      const bool edge_x = x2 < 0 || x2 >= src.width;
      int value = 0;
      if (edge_x && edge_y) {
        value = src.At(y, x);
      } else if (edge_y) {
        value = (3 * src.At(y, x) + src.At(y, x2) + 2) >> 2;
      } else if (edge_x) {
        value = (3 * src.At(y, x) + src.At(y2, x) + 2) >> 2;
      } else {
        value =
            (9 * src.At(y, x) + 3 * src.At(y, x2) + 3 * src.At(y2, x) + src.At(y2, x2) + 8) >> 4;
      }
      out.At(r, c) = static_cast<uint8_t>(value);
    }
  }
  return out;
}

Plane PlainX16(const Plane& src) {
  Plane out(4 * src.width, 4 * src.height);
  const int last_row = out.height - 1;
  const int last_column = out.width - 1;
  // Value of a corner-aligned line at destination index i.
  const auto aligned = [](int i, int count, auto sample) {
    const int at = i / 4;
    if (at >= count - 1) return sample(count - 1);
    const double weight = 0.25 * (i % 4);
    return static_cast<int>((1.0 - weight) * sample(at) + weight * sample(at + 1));
  };
  const auto column_line = [&](int column, int i) {
    return static_cast<uint8_t>(
        aligned(i, src.height, [&](int row) { return src.At(row, column); }));
  };
  const auto row_line = [&](int row, int i) {
    return static_cast<uint8_t>(
        aligned(i, src.width, [&](int column) { return src.At(row, column); }));
  };
  for (int r = 0; r <= last_row - 2; ++r) out.At(r, 0) = column_line(0, r);
  for (int r = 0; r <= last_row; ++r) out.At(r, 1) = out.At(r, 0);
  for (int c = 0; c <= last_column - 2; ++c) out.At(0, c) = row_line(0, c);
  for (int c = 0; c <= last_column; ++c) out.At(1, c) = out.At(0, c);
  for (int c = 0; c <= last_column - 2; ++c) out.At(last_row - 1, c) = row_line(src.height - 1, c);
  for (int c = 0; c <= last_column; ++c) out.At(last_row, c) = out.At(last_row - 1, c);
  for (int r = 0; r <= last_row; ++r) out.At(r, last_column - 1) = column_line(src.width - 1, r);
  for (int r = 0; r <= last_row; ++r) out.At(r, last_column) = out.At(r, last_column - 1);
  const Plane inner = PlainQuadruple(src);
  for (int r = 2; r <= last_row - 2; ++r) {
    for (int c = 2; c <= last_column - 2; ++c) {
      out.At(r, c) = static_cast<uint8_t>(inner.At(r, c));
    }
  }
  return out;
}

}  // namespace vantro::test

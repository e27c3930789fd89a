#include "tests/motion/flow_reference.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace vantro::test {
namespace {

using Five = std::array<float, 5>;

size_t Index(int x, int y, int width) {
  return static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x);
}

Five RecordAt(const Floats& values, size_t pixel) {
  Five record;
  std::copy_n(values.begin() + static_cast<ptrdiff_t>(5 * pixel), 5, record.begin());
  return record;
}

void PutRecord(Floats& values, size_t pixel, const Five& record) {
  std::copy(record.begin(), record.end(), values.begin() + static_cast<ptrdiff_t>(5 * pixel));
}

// Weights for reach 7 and sigma 1.5, offsets 0 to 7.
constexpr size_t kReach = 7;
constexpr float kG[] = {0.265962f, 0.212965f, 0.10934f,  0.035994f,
                        0.007597f, 0.001028f, 0.000089f, 0.000005f};
constexpr float kXg[] = {0.0f,      0.212965f, 0.21868f,  0.107982f,
                         0.030389f, 0.005141f, 0.000535f, 0.000035f};
constexpr float kXxg[] = {0.0f,      0.212965f, 0.43736f,  0.323946f,
                          0.121557f, 0.025705f, 0.003212f, 0.000243f};
constexpr float kIg11 = 0.44444892f;
constexpr float kIg03 = -0.22225043f;
constexpr float kIg33 = 0.09877902f;
constexpr float kIg55 = 0.19753471f;

float Attenuation(int x, int y, int width, int height) {
  static constexpr float kTable[] = {0.14f, 0.14f, 0.4472f, 0.4472f, 0.4472f};
  float product = 1;
  for (const int distance : {x, width - 1 - x, y, height - 1 - y}) {
    if (distance < 5) product *= kTable[distance];
  }
  return product;
}

Five TermsOfPixel(const Floats& r0, const Floats& r1, float dx, float dy, int x, int y, int width,
                  int height) {
  const Five first = RecordAt(r0, Index(x, y, width));
  const float fx = static_cast<float>(x) + dx;
  const float fy = static_cast<float>(y) + dy;
  const float left = std::floor(fx);
  const float top = std::floor(fy);
  float r2 = 0, r3 = 0, r4 = first[2], r5 = first[3], r6 = first[4] / 2;
  if (left >= 0 && left < static_cast<float>(width - 1) && top >= 0 &&
      top < static_cast<float>(height - 1)) {
    const float ax = fx - left;
    const float ay = fy - top;
    const int x1 = static_cast<int>(left);
    const int y1 = static_cast<int>(top);
    Five second;
    for (size_t j = 0; j < 5; ++j) {
      second[j] = (1 - ax) * (1 - ay) * RecordAt(r1, Index(x1, y1, width))[j] +
                  ax * (1 - ay) * RecordAt(r1, Index(x1 + 1, y1, width))[j] +
                  (1 - ax) * ay * RecordAt(r1, Index(x1, y1 + 1, width))[j] +
                  ax * ay * RecordAt(r1, Index(x1 + 1, y1 + 1, width))[j];
    }
    r2 = second[0];
    r3 = second[1];
    r4 = (first[2] + second[2]) / 2;
    r5 = (first[3] + second[3]) / 2;
    r6 = (first[4] + second[4]) / 4;
  }
  r2 = (first[0] - r2) / 2 + r4 * dy + r6 * dx;
  r3 = (first[1] - r3) / 2 + r6 * dy + r5 * dx;
  if (x < 5 || y < 5 || x >= width - 5 || y >= height - 5) {
    const float factor = Attenuation(x, y, width, height);
    for (float* r : {&r2, &r3, &r4, &r5, &r6}) *r *= factor;
  }
  return {r4 * r4 + r6 * r6, (r4 + r5) * r6, r5 * r5 + r6 * r6, r4 * r2 + r6 * r3,
          r6 * r2 + r5 * r3};
}

void RefreshTerms(const Floats& r0, const Floats& r1, const Floats& flow, int width, int height,
                  int first_row, int end_row, Floats* terms) {
  for (int y = first_row; y < end_row; ++y) {
    for (int x = 0; x < width; ++x) {
      const size_t pixel = Index(x, y, width);
      PutRecord(*terms, pixel,
                TermsOfPixel(r0, r1, flow[2 * pixel], flow[2 * pixel + 1], x, y, width, height));
    }
  }
}

}  // namespace

Floats ExpandReference(const Floats& image, int width, int height) {
  const auto pixel = [&](int x, int y) {
    return image[Index(std::clamp(x, 0, width - 1), std::clamp(y, 0, height - 1), width)];
  };
  Floats result(5 * image.size());
  for (int y = 0; y < height; ++y) {
    // The three vertical moments of column x; columns beyond the image are its border columns.
    const auto moments = [&](int x) {
      std::array<float, 3> t = {pixel(x, y) * kG[0], 0, 0};
      for (size_t k = 1; k <= kReach; ++k) {
        const float above = pixel(x, y - static_cast<int>(k));
        const float below = pixel(x, y + static_cast<int>(k));
        t[0] += kG[k] * (above + below);
        t[1] += kXg[k] * (below - above);
        t[2] += kXxg[k] * (above + below);
      }
      return t;
    };
    for (int x = 0; x < width; ++x) {
      const std::array<float, 3> centre = moments(x);
      float b1 = centre[0] * kG[0], b3 = centre[1] * kG[0], b5 = centre[2] * kG[0];
      float b2 = 0, b4 = 0, b6 = 0;
      for (size_t k = 1; k <= kReach; ++k) {
        const std::array<float, 3> l = moments(x - static_cast<int>(k));
        const std::array<float, 3> r = moments(x + static_cast<int>(k));
        const float tg = r[0] + l[0];
        b1 = static_cast<float>(double{b1} + double{tg} * double{kG[k]});
        b4 = static_cast<float>(double{b4} + double{tg} * double{kXxg[k]});
        b2 += (r[0] - l[0]) * kXg[k];
        b3 += (r[1] + l[1]) * kG[k];
        b6 += (r[1] - l[1]) * kXg[k];
        b5 += (r[2] + l[2]) * kG[k];
      }
      PutRecord(
          result, Index(x, y, width),
          {b3 * kIg11, b2 * kIg11, b1 * kIg03 + b5 * kIg33, b1 * kIg03 + b4 * kIg33, b6 * kIg55});
    }
  }
  return result;
}

Floats TermsReference(const Floats& r0, const Floats& r1, const Floats& flow, int width,
                      int height) {
  Floats terms(r0.size());
  RefreshTerms(r0, r1, flow, width, height, 0, height, &terms);
  return terms;
}

Floats BoxReference(Floats* terms, int width, int height, int block, const Floats* r0,
                    const Floats* r1) {
  const int m = block / 2;
  const double scale = double{static_cast<float>(1.0 / (block * block))};
  Floats flow(2 * Index(0, height, width));
  std::vector<Five> columns(static_cast<size_t>(width));
  const auto term = [&](int x, int y, size_t j) {
    return (*terms)[5 * Index(x, std::clamp(y, 0, height - 1), width) + j];
  };
  const auto column = [&](int x) {
    return columns[static_cast<size_t>(std::clamp(x, 0, width - 1))];
  };
  for (int x = 0; x < width; ++x) {
    for (size_t j = 0; j < 5; ++j) {
      float& sum = columns[static_cast<size_t>(x)][j];
      sum = term(x, 0, j) * static_cast<float>(m + 2);
      for (int y = 1; y < m; ++y) sum += term(x, y, j);
    }
  }
  int refreshed = 0;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (size_t j = 0; j < 5; ++j) {
        columns[static_cast<size_t>(x)][j] += term(x, y + m, j) - term(x, y - m - 1, j);
      }
    }
    double sums[5];
    for (size_t j = 0; j < 5; ++j) {
      sums[j] = double{column(0)[j] * static_cast<float>(m + 2)};
      for (int x = 1; x < m; ++x) sums[j] += double{column(x)[j]};
    }
    for (int x = 0; x < width; ++x) {
      double a[5];
      for (size_t j = 0; j < 5; ++j) {
        sums[j] += double{column(x + m)[j] - column(x - m - 1)[j]};
        a[j] = sums[j] * scale;
      }
      const double idet = 1.0 / (a[0] * a[2] - a[1] * a[1] + 0.001);
      flow[2 * Index(x, y, width)] = static_cast<float>((a[0] * a[4] - a[1] * a[3]) * idet);
      flow[2 * Index(x, y, width) + 1] = static_cast<float>((a[2] * a[3] - a[1] * a[4]) * idet);
    }
    if (r0 == nullptr) continue;
    const int end = y == height - 1 ? height : y - block;
    if (end == height || end >= refreshed + std::max(1024 / width, block)) {
      RefreshTerms(*r0, *r1, flow, width, height, refreshed, end, terms);
      refreshed = end;
    }
  }
  return flow;
}

}  // namespace vantro::test

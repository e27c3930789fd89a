#include "tests/motion/flow_reference.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "vantro/image.h"
#include "vantro/motion.h"

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

struct Kernel {
  Floats g, xg, xxg;  // offsets 0 to n
  float ig11, ig03, ig33, ig55;
};

Kernel TabulatedKernel() {
  return {{0.265962f, 0.212965f, 0.10934f, 0.035994f, 0.007597f, 0.001028f, 0.000089f, 0.000005f},
          {0.0f, 0.212965f, 0.21868f, 0.107982f, 0.030389f, 0.005141f, 0.000535f, 0.000035f},
          {0.0f, 0.212965f, 0.43736f, 0.323946f, 0.121557f, 0.025705f, 0.003212f, 0.000243f},
          0.44444892f,
          -0.22225043f,
          0.09877902f,
          0.19753471f};
}

Kernel ComputedKernel(int n, double sigma) {
  if (sigma < 1.1920929e-7) sigma = 0.3 * n;
  Floats all;
  float sum = 0;
  for (int x = -n; x <= n; ++x) {
    all.push_back(static_cast<float>(std::exp(-static_cast<double>(x * x) / (2 * sigma * sigma))));
    sum += all.back();
  }
  Kernel kernel{};
  for (float& weight : all) weight /= sum;
  for (int x = 0; x <= n; ++x) {
    const float g = all[static_cast<size_t>(n + x)];
    kernel.g.push_back(g);
    kernel.xg.push_back(static_cast<float>(x) * g);
    kernel.xxg.push_back(static_cast<float>(x * x) * g);
  }
  float G[6][6] = {};
  for (int y = -n; y <= n; ++y) {
    for (int x = -n; x <= n; ++x) {
      const float w = all[static_cast<size_t>(n + y)] * all[static_cast<size_t>(n + x)];
      const float fx = static_cast<float>(x);
      const float fy = static_cast<float>(y);
      G[0][0] += w;
      G[1][1] += w * fx * fx;
      G[3][3] += w * fx * fx * fx * fx;
      G[5][5] += w * fx * fx * fy * fy;
    }
  }
  G[2][2] = G[0][3] = G[0][4] = G[3][0] = G[4][0] = G[1][1];
  G[4][4] = G[3][3];
  G[3][4] = G[4][3] = G[5][5];
  float inverse[6][6] = {};
  getInvMat(G[0], inverse[0], 6);
  kernel.ig11 = inverse[1][1];
  kernel.ig03 = inverse[3][0];
  kernel.ig33 = inverse[3][3];
  kernel.ig55 = inverse[5][5];
  return kernel;
}

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

int RoundUp(float value) { return static_cast<int>(std::floor(value + 0.5f)); }

// The expansion of every level, finest first.
std::vector<Floats> PyramidReference(const std::vector<uint8_t>& image, int width, int height,
                                     const std::vector<float>& scales) {
  std::vector<Floats> pyramid;
  for (const float scale : scales) {
    const int w = RoundUp(static_cast<float>(width) * scale);
    const int h = RoundUp(static_cast<float>(height) * scale);
    const float sigma = (1 / scale - 1) * 0.5f;
    const int size = std::max(RoundUp(sigma * 5) | 1, 3);
    std::vector<uint8_t> level(Index(0, h, w));
    std::vector<uint8_t> blurred(level.size());
    vantro_c::ResizeUchar(image.data(), level.data(), width, height, w, h);
    gaussian_blur(level.data(), blurred.data(), w, h,
                  static_cast<int>(scale * static_cast<float>(size)), scale * sigma, nullptr, 1,
                  nullptr);
    pyramid.push_back(ExpandReference(Floats(blurred.begin(), blurred.end()), w, h, 7, 1.5));
  }
  return pyramid;
}

}  // namespace

Floats ExpandReference(const Floats& image, int width, int height, int n, double sigma) {
  const bool tabulated = n == 7 && std::fabs(sigma - 1.5) < 1.1920929e-7;
  const Kernel kernel = tabulated ? TabulatedKernel() : ComputedKernel(n, sigma);
  const auto pixel = [&](int x, int y) {
    return image[Index(std::clamp(x, 0, width - 1), std::clamp(y, 0, height - 1), width)];
  };
  Floats result(5 * image.size());
  for (int y = 0; y < height; ++y) {
    // The three vertical moments of column x; columns beyond the image are its border columns.
    const auto moments = [&](int x) {
      std::array<float, 3> t = {pixel(x, y) * kernel.g[0], 0, 0};
      for (int k = 1; k <= n; ++k) {
        const size_t i = static_cast<size_t>(k);
        const float above = pixel(x, y - k);
        const float below = pixel(x, y + k);
        t[0] += kernel.g[i] * (above + below);
        t[1] += kernel.xg[i] * (below - above);
        t[2] += kernel.xxg[i] * (above + below);
      }
      return t;
    };
    for (int x = 0; x < width; ++x) {
      const std::array<float, 3> centre = moments(x);
      float b1 = centre[0] * kernel.g[0], b3 = centre[1] * kernel.g[0],
            b5 = centre[2] * kernel.g[0];
      float b2 = 0, b4 = 0, b6 = 0;
      for (int k = 1; k <= n; ++k) {
        const size_t i = static_cast<size_t>(k);
        const std::array<float, 3> l = moments(x - k);
        const std::array<float, 3> r = moments(x + k);
        const float tg = r[0] + l[0];
        b1 = static_cast<float>(double{b1} + double{tg} * double{kernel.g[i]});
        b4 = static_cast<float>(double{b4} + double{tg} * double{kernel.xxg[i]});
        b2 += (r[0] - l[0]) * kernel.xg[i];
        b3 += (r[1] + l[1]) * kernel.g[i];
        b6 += (r[1] - l[1]) * kernel.xg[i];
        b5 += (r[2] + l[2]) * kernel.g[i];
      }
      PutRecord(result, Index(x, y, width),
                {b3 * kernel.ig11, b2 * kernel.ig11, b1 * kernel.ig03 + b5 * kernel.ig33,
                 b1 * kernel.ig03 + b4 * kernel.ig33, b6 * kernel.ig55});
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

FlowPlanes FlowReference(const std::vector<uint8_t>& first, const std::vector<uint8_t>& second,
                         int width, int height, int levels) {
  std::vector<float> scales = {1.0f};
  for (int i = 0; i < levels; ++i) {
    const float next = scales.back() * 0.5f;
    if (next * static_cast<float>(std::min(width, height)) < 32) break;
    scales.push_back(next);
  }
  const std::vector<Floats> r0 = PyramidReference(first, width, height, scales);
  const std::vector<Floats> r1 = PyramidReference(second, width, height, scales);
  Floats flow;
  int last_w = 0, last_h = 0;
  for (size_t k = scales.size(); k-- > 0;) {
    const int w = RoundUp(static_cast<float>(width) * scales[k]);
    const int h = RoundUp(static_cast<float>(height) * scales[k]);
    Floats initial(2 * Index(0, h, w), 0.0f);
    if (last_w != 0) {
      const float sx = static_cast<float>(last_w) / static_cast<float>(w);
      const float sy = static_cast<float>(last_h) / static_cast<float>(h);
      for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
          const size_t from = Index(static_cast<int>(sx * static_cast<float>(x)),
                                    static_cast<int>(sy * static_cast<float>(y)), last_w);
          initial[2 * Index(x, y, w)] = 2 * flow[2 * from];
          initial[2 * Index(x, y, w) + 1] = 2 * flow[2 * from + 1];
        }
      }
    }
    Floats terms = TermsReference(r0[k], r1[k], initial, w, h);
    flow = BoxReference(&terms, w, h, 5);
    last_w = w;
    last_h = h;
  }
  FlowPlanes planes;
  for (size_t i = 0; i < flow.size(); i += 2) {
    planes.dx.push_back(flow[i]);
    planes.dy.push_back(flow[i + 1]);
  }
  return planes;
}

}  // namespace vantro::test

// What the resizers of floats have to give, one element at a time.
#ifndef VANTRO_TESTS_KERNELS_FLOAT_FORMULAS_H_
#define VANTRO_TESTS_KERNELS_FLOAT_FORMULAS_H_

#include "tests/kernels/resize_formulas.h"

namespace vantro::test {

using FloatFormula = float(const Sizes& s, const float* src, int x, int y);

// Position `index` of an axis by repeated single-precision additions.
inline float Accumulated(float step, int index) {
  float position = 0.0f;
  for (int i = 0; i < index; ++i) position += step;
  return position;
}

// Rounded to single precision after each term.
inline float FloatSecure(const Sizes& s, const float* src, int x, int y) {
  const Samples<float> plane = {src, s.src_w, s.src_h, s.src_w};
  const double fx = std::min(double{Ratio(s.src_w, s.dst_w)} * x, s.src_w - 1.0);
  const double fy = std::min(double{Ratio(s.src_h, s.dst_h)} * y, s.src_h - 1.0);
  const auto x0 = static_cast<int>(fx), y0 = static_cast<int>(fy);
  const double ax = fx - x0, ay = fy - y0;
  float sum = 0;
  for (const double term :
       {(1 - ax) * (1 - ay) * plane.At(x0, y0), (1 - ax) * ay * plane.At(x0, y0 + 1),
        ax * (1 - ay) * plane.At(x0 + 1, y0), ax * ay * plane.At(x0 + 1, y0 + 1)}) {
    sum = static_cast<float>(sum + term);
  }
  return sum;
}

inline float FloatBilinear(const Sizes& s, const float* src, int x, int y) {
  const Samples<float> p = {src, s.src_w, s.src_h, s.src_w};
  if (s.halves()) {
    return (p.At(2 * x, 2 * y) + p.At(2 * x + 1, 2 * y) + p.At(2 * x, 2 * y + 1) +
            p.At(2 * x + 1, 2 * y + 1)) *
           0.25f;
  }
  if (s.doubles()) {
    const int c = std::max(0, std::min((x - 1) >> 1, s.src_w - 2));
    const int r = std::max(0, std::min((y - 1) >> 1, s.src_h - 2));
    const float left = x % 2 != 0 ? 0.75f : 0.25f, right = 1.0f - left;
    const float upper = y % 2 != 0 ? 0.75f : 0.25f, lower = 1.0f - upper;
    return p.At(c, r) * upper * left + p.At(c + 1, r) * upper * right +
           p.At(c, r + 1) * lower * left + p.At(c + 1, r + 1) * lower * right;
  }
  const Corners c(Accumulated(Ratio(s.src_w, s.dst_w), x), Accumulated(Ratio(s.src_h, s.dst_h), y),
                  p);
  return c.ay * c.ax * c.p11 + ((1 - c.ax) * (c.ay * c.p10) +
                                ((1 - c.ay) * (c.ax * c.p01) + (1 - c.ay) * (c.p00 * (1 - c.ax))));
}

// Of rows of two a pixel.
inline float FloatNearestPair(const Sizes& s, const float* src, int x, int y) {
  const auto pair = static_cast<int64_t>(Ratio(s.src_w, s.dst_w) * static_cast<float>(x / 2));
  const auto row = static_cast<int64_t>(Ratio(s.src_h, s.dst_h) * static_cast<float>(y));
  return src[2 * (row * s.src_w + pair) + x % 2];
}

inline float Disparity(const Sizes& s, const float* src, float invalid, int x, int y) {
  const auto nearest = [](float step, int i) {
    return static_cast<int>(std::floor(Accumulated(step, i) + 0.5));
  };
  const Samples<float> plane = {src, s.src_w, s.src_h, s.src_w};
  const float sample =
      plane.At(nearest(Ratio(s.src_w, s.dst_w), x), nearest(Ratio(s.src_h, s.dst_h), y));
  return sample - invalid < 0.1 ? invalid : sample * Ratio(s.dst_w, s.src_w);
}

}  // namespace vantro::test

#endif  // VANTRO_TESTS_KERNELS_FLOAT_FORMULAS_H_

// What the resizers and rotations of bytes have to give, one element at a time.
#ifndef VANTRO_TESTS_KERNELS_RESIZE_FORMULAS_H_
#define VANTRO_TESTS_KERNELS_RESIZE_FORMULAS_H_

#include <algorithm>
#include <cmath>

#include "tests/kernels/case.h"

namespace vantro::test {

struct Sizes {
  int src_w, src_h, src_stride, dst_w, dst_h;
  int64_t src() const { return int64_t{src_w} * src_h; }
  int64_t dst() const { return int64_t{dst_w} * dst_h; }
  int64_t src_plane() const { return Case::Plane(src_w, src_h, src_stride); }
  int64_t src_frame() const { return Case::SemiPlanar(src_w, src_h, src_stride); }
  int64_t dst_frame() const { return Case::SemiPlanar(dst_w, dst_h, dst_w); }
  bool halves() const { return src_w == 2 * dst_w && src_h == 2 * dst_h; }
  bool doubles() const { return dst_w == 2 * src_w && dst_h == 2 * src_h; }
};

// A plane, or one channel of some; its last row and column go on beyond it.
template <typename T>
struct Samples {
  const T* data;
  int width, height;
  int64_t pitch;
  int step = 1;

  T At(int64_t x, int64_t y) const {
    return data[std::min<int64_t>(y, height - 1) * pitch + std::min<int64_t>(x, width - 1) * step];
  }
};
using ByteSamples = Samples<uint8_t>;

inline ByteSamples LumaOf(const Sizes& s, const uint8_t* src) {
  return {src, s.src_w, s.src_h, s.src_stride};
}
inline ByteSamples ChromaOf(const Sizes& s, const uint8_t* src, int channel) {
  return {src + int64_t{s.src_stride} * s.src_h + channel, s.src_w / 2, s.src_h / 2, s.src_stride,
          2};
}

inline bool HasChroma(const Sizes& s) { return s.src_w >= 2 && s.src_h >= 2; }

// luma(x, y) above chroma(channel, pair, y).
template <typename Luma, typename Chroma>
int OfFrame(const Sizes& s, int x, int y, Luma luma, Chroma chroma) {
  if (y < s.dst_h) return luma(x, y);
  return HasChroma(s) && x < s.dst_w / 2 * 2 ? chroma(x % 2, x / 2, y - s.dst_h) : kKept;
}

inline int Bilinear(const ByteSamples& src, double fx, double fy, bool truncates_terms = true) {
  fx = std::min(fx, src.width - 1.0);
  fy = std::min(fy, src.height - 1.0);
  const auto x = static_cast<int>(fx), y = static_cast<int>(fy);
  const double ax = fx - x, ay = fy - y;
  double sum = 0;
  for (const double term : {(1 - ax) * (1 - ay) * src.At(x, y), (1 - ax) * ay * src.At(x, y + 1),
                            ax * (1 - ay) * src.At(x + 1, y), ax * ay * src.At(x + 1, y + 1)}) {
    sum += truncates_terms ? std::trunc(term) : term;
  }
  return static_cast<int>(sum);
}

inline float Ratio(int a, int b) { return static_cast<float>(a) / static_cast<float>(b); }

// The four samples around a position, and what it lies behind the first by.
struct Corners {
  float p00, p01, p10, p11, ax, ay;

  template <typename T>
  Corners(float fx, float fy, const Samples<T>& src) {
    const auto x = static_cast<int>(fx), y = static_cast<int>(fy);
    p00 = src.At(x, y), p01 = src.At(x + 1, y), p10 = src.At(x, y + 1), p11 = src.At(x + 1, y + 1);
    ax = fx - static_cast<float>(x), ay = fy - static_cast<float>(y);
  }
};

struct Neighbours {
  int near, far;
  float near_weight, far_weight;

  Neighbours(int src_size, int dst_size, int i) {
    const float position = Ratio(src_size, dst_size) * static_cast<float>(i);
    near = std::clamp(static_cast<int>(position), 0, src_size - 1);
    far = std::clamp(static_cast<int>(position + 1.0f), 0, src_size - 1);
    far_weight = position - static_cast<float>(near);
    near_weight = 1.0f - far_weight;
  }
};

inline double FactorOf(const Sizes& s) { return static_cast<double>(s.src_w) / s.dst_w; }

// A rotated element comes from column k, counted from the last row, and row x of the source.
inline int Counted(const Sizes& s, int y) { return s.dst_h - 1 - y % s.dst_h; }
inline double RotationFactor(const Sizes& s) { return static_cast<double>(s.src_w) / s.dst_h; }

// The pair whose first byte stands at a byte column of a row that counts in half-steps, limited to
// the last pair.
inline int ByAddress(const Sizes& s, const uint8_t* src, int channel, int x, int k) {
  const int step = s.src_w / s.dst_h;
  const int64_t last = int64_t{s.src_h / 2 - 1} * s.src_stride + s.src_w / 2 * 2 - 2;
  const int64_t address = std::min(k * step, s.src_w - 1) + int64_t{step / 2} * s.src_stride * x;
  return ChromaOf(s, src, channel).data[std::min(address, last)];
}

// Bilinear in single precision. The rules differ in the order of the terms and in the last step.
enum class Blend { kPlane, kToPlane, kChannel };

inline int Blended(Blend rule, const ByteSamples& src, int dst_w, int dst_h, int x, int y) {
  const Neighbours column(src.width, dst_w, x), row(src.height, dst_h, y);
  const float p00 = src.At(column.near, row.near), p01 = src.At(column.far, row.near);
  const float p10 = src.At(column.near, row.far), p11 = src.At(column.far, row.far);
  const float wx0 = column.near_weight, wx1 = column.far_weight;
  const float wy0 = row.near_weight, wy1 = row.far_weight;
  float v = wy0 * (wx0 * p00) + wy0 * (wx1 * p01) + wy1 * (wx0 * p10) + wy1 * wx1 * p11;
  if (rule == Blend::kPlane) {
    v = wy1 * wx1 * p11 + ((wy0 * wx0 * p00 + wy0 * wx1 * p01) + wy1 * wx0 * p10);
  }
  // Only the channel form truncates.
  return static_cast<int>(rule == Blend::kChannel ? v : v + 0.5f);
}

// Elements of byte planes, and of semi-planar frames: the rows of the chroma follow those of the
// luma. Negative for an element that keeps its value.
using ByteFormula = int(const Sizes& s, const uint8_t* src, int x, int y);

inline int FourTimes(const Sizes& s, const uint8_t* src, int x, int y) {
  const ByteSamples luma = LumaOf(s, src);
  const auto blend = [&](int column) {
    return (4 - y % 4) * luma.At(column, y / 4) + y % 4 * luma.At(column, y / 4 + 1);
  };
  return ((4 - x % 4) * blend(x / 4) + x % 4 * blend(x / 4 + 1)) / 16;
}

// By one factor for both axes, that of the widths.
inline int PlaneByFactor(const Sizes& s, const uint8_t* src, int x, int y) {
  if (s.dst_w == 4 * s.src_w) return FourTimes(s, src, x, y);
  return Bilinear(LumaOf(s, src), FactorOf(s) * x, FactorOf(s) * y, false);
}

inline int FrameByFactor(const Sizes& s, const uint8_t* src, int x, int y) {
  const double factor = FactorOf(s);
  return OfFrame(
      s, x, y, [&](int a, int b) { return Bilinear(LumaOf(s, src), factor * a, factor * b); },
      [&](int channel, int pair, int b) {
        const auto fy = static_cast<float>(factor * b);
        return Bilinear(ChromaOf(s, src, channel), factor * pair, static_cast<double>(fy));
      });
}

inline int PlaneByStep(const Sizes& s, const uint8_t* src, int x, int y) {
  const int step = s.src_w / s.dst_w;
  return LumaOf(s, src).At(x * step, y * step);
}

inline int FrameByStep(const Sizes& s, const uint8_t* src, int x, int y) {
  const int step = s.src_w / s.dst_w;
  return OfFrame(
      s, x, y, [&](int a, int b) { return PlaneByStep(s, src, a, b); },
      [&](int channel, int pair, int b) {
        return ChromaOf(s, src, channel).At(pair * step, b * step);
      });
}

inline int MeanOf4x4(const Sizes& s, const uint8_t* src, int x, int y) {
  int sum = 0;
  for (int k = 0; k < 16; ++k) sum += LumaOf(s, src).At(4 * x + k % 4, 4 * y + k / 4);
  return sum / 16;
}

// Rows are counted from the first of the chroma.
inline int ChromaMeanOf4x4(const Sizes& s, const uint8_t* src, int x, int y) {
  const ByteSamples chroma = ChromaOf(s, src, x % 2);
  int sum = 0;
  for (int k = 0; k < 16; ++k) sum += chroma.At(x / 2 * 4 + k % 4, 4 * y + k / 4);
  return sum / 16;
}

template <Blend kRule>
int PackedPlane(const Sizes& s, const uint8_t* src, int x, int y) {
  return Blended(kRule, {src, s.src_w, s.src_h, s.src_w}, s.dst_w, s.dst_h, x, y);
}

inline int PlaneDoubled(const Sizes& s, const uint8_t* src, int x, int y) {
  if (!s.doubles()) return PackedPlane<Blend::kToPlane>(s, src, x, y);
  const ByteSamples plane = {src, s.src_w, s.src_h, s.src_w};
  // The last block of a row or column stands for the pair that ends there.
  const int left = std::max(0, std::min(x / 2, s.src_w - 2)), right = left + x % 2;
  const int top = std::max(0, std::min(y / 2, s.src_h - 2)), bottom = top + y % 2;
  return (plane.At(left, top) + plane.At(right, top) + plane.At(left, bottom) +
          plane.At(right, bottom)) /
         4;
}

inline int FrameHalved(const Sizes& s, const uint8_t* src, int x, int y) {
  return OfFrame(
      s, x, y, [&](int a, int b) { return LumaOf(s, src).At(2 * a, 2 * b); },
      [&](int channel, int pair, int b) { return ChromaOf(s, src, channel).At(2 * pair, 2 * b); });
}

inline int FrameByChannels(const Sizes& s, const uint8_t* src, int x, int y) {
  if (s.halves()) return FrameHalved(s, src, x, y);
  if (y < s.dst_h) return Blended(Blend::kChannel, LumaOf(s, src), s.dst_w, s.dst_h, x, y);
  // Chroma has strides of whole pairs on either side.
  const int pairs = s.dst_w / 2, at = (y - s.dst_h) * s.dst_w + x;
  if (!HasChroma(s) || at >= s.dst_h / 2 * 2 * pairs) return kKept;
  ByteSamples chroma = ChromaOf(s, src, at % 2);
  chroma.pitch = s.src_stride / 2 * 2;
  return Blended(Blend::kChannel, chroma, pairs, s.dst_h / 2, at / 2 % pairs, at / 2 / pairs);
}

// A byte of groups of two pixels, U Y V Y.
inline int PackedByChannels(const Sizes& s, const uint8_t* src, int x, int y) {
  constexpr int kHalf[] = {0, 1, 2, 5};
  if (s.halves()) return src[int64_t{4} * s.src_stride * y + x / 4 * 8 + kHalf[x % 4]];
  if (x % 2 == 1) {
    const ByteSamples luma = {src + 1, s.src_w, s.src_h, 2 * s.src_stride, 2};
    return Blended(Blend::kChannel, luma, s.dst_w, s.dst_h, x / 2, y);
  }
  const ByteSamples chroma = {src + x % 4, s.src_w / 2, s.src_h, s.src_stride / 2 * 4, 4};
  return Blended(Blend::kChannel, chroma, s.dst_w / 2, s.dst_h, x / 4, y);
}

// A byte of rows of three a pixel.
inline int Colour(const Sizes& s, const uint8_t* src, int x, int y) {
  const ByteSamples channel = {src + x % 3, s.src_w, s.src_h, 3 * s.src_w, 3};
  const Corners c(Ratio(s.src_w, s.dst_w) * static_cast<float>(x / 3),
                  Ratio(s.src_h, s.dst_h) * static_cast<float>(y), channel);
  return static_cast<int>(c.ay * c.ax * c.p11 +
                          ((1 - c.ay) * ((1 - c.ax) * c.p00) + (1 - c.ay) * (c.ax * c.p01) +
                           (1 - c.ax) * (c.ay * c.p10)));
}

inline int Rotated(const Sizes& s, const uint8_t* src, int x, int y) {
  const double factor = RotationFactor(s);
  return Bilinear(LumaOf(s, src), factor * Counted(s, y), factor * x);
}

inline int RotatedByStep(const Sizes& s, const uint8_t* src, int x, int y) {
  const int step = s.src_w / s.dst_h;
  return LumaOf(s, src).At(Counted(s, y) * step, x * step);
}

// Three planes below each other.
inline int RotatedFrame(const Sizes& s, const uint8_t* src, int x, int y) {
  if (y < s.dst_h) return Rotated(s, src, x, y);
  if (!HasChroma(s)) return kKept;
  const int channel = y / s.dst_h - 1, k = Counted(s, y);
  if (s.src_w % s.dst_h == 0) return ByAddress(s, src, channel, x, k);
  const double half = RotationFactor(s) * 0.5;
  const auto fy = static_cast<float>(half * x);
  return Bilinear(ChromaOf(s, src, channel), half * k, static_cast<double>(fy));
}

inline int RotatedFrameByAddress(const Sizes& s, const uint8_t* src, int x, int y) {
  if (y < s.dst_h) return RotatedByStep(s, src, x, y);
  return HasChroma(s) ? ByAddress(s, src, y / s.dst_h - 1, x, Counted(s, y)) : kKept;
}

inline int RotatedFrameByPairs(const Sizes& s, const uint8_t* src, int x, int y) {
  if (y < s.dst_h) return RotatedByStep(s, src, x, y);
  if (!HasChroma(s)) return kKept;
  const int step = s.src_w / s.dst_h / 2;
  return ChromaOf(s, src, y / s.dst_h - 1).At(Counted(s, y) * step, x * step);
}

}  // namespace vantro::test

#endif  // VANTRO_TESTS_KERNELS_RESIZE_FORMULAS_H_

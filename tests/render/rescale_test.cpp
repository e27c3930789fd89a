// The resizers of masks and grey planes against their formulas a sample at a time.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "tests/image/image_buffers.h"
#include "vantro/render.h"

namespace vantro::test {
namespace {

// A plane with gaps behind its rows, and a row behind it, to stay.
struct Plane {
  int width, height, stride;
  Bytes bytes;

  Plane(Random& random, int columns, int rows)
      : width(columns), height(rows), stride(columns + random.Int(0, 3)) {
    // Extremes show overflows, small values rounding.
    const int kind = random.Int(0, 2);
    bytes = random.Noise(Area(stride, rows + 1));
    for (uint8_t& sample : bytes) {
      if (kind == 1) sample = static_cast<uint8_t>(255 * (sample % 2));
      if (kind == 2) sample %= 3;
    }
  }
  uint8_t* data() { return bytes.data(); }
  // The nearest sample of the plane.
  int At(int row, int column) const {
    return bytes[Index(std::clamp(column, 0, width - 1), std::clamp(row, 0, height - 1), stride)];
  }
};

// What a routine has to make of a destination: a value for each sample, a negative one where it
// stays.
using Formula = std::function<int(int row, int column)>;

// run(data, stride) makes of `before` what the formula says.
template <typename Run>
void Expect(const Plane& before, const Formula& formula, Run run) {
  SCOPED_TRACE(testing::Message() << "to " << before.width << "x" << before.height);
  Bytes expected = before.bytes;
  for (int r = 0; r < before.height; ++r) {
    for (int c = 0; c < before.width; ++c) {
      const int value = formula(r, c);
      if (value >= 0) expected[Index(c, r, before.stride)] = static_cast<uint8_t>(value);
    }
  }
  Bytes after = before.bytes;
  run(after.data(), before.stride);
  EXPECT_TRUE(SamePlanes(after, expected, before.stride));
}

Plane SmallOrWide(Random& random, int highest = 9) {
  // Some are wider than the strips that rows are treated in.
  const int widest[] = {40, 40, 280, random.Int(0, 9) == 0 ? 2100 : 70};
  return Plane(random, random.Int(1, widest[random.Int(0, 3)]), random.Int(1, highest));
}

// A position between samples: the one before it, and how far it lies behind that.
struct Between {
  int at;
  float weight;
  Between(int i, int src, int dst, bool not_negative) {
    const float ratio = static_cast<float>(src) / static_cast<float>(dst);
    const auto position = static_cast<float>((i + 0.5) * static_cast<double>(ratio) - 0.5);
    at = not_negative ? std::max(static_cast<int>(position), 0)
                      : static_cast<int>(std::floor(position));
    weight = position - static_cast<float>(at);
  }
};

int Bilinear(const Plane& src, int width, int height, int r, int c) {
  const Between y(r, src.height, height, false), x(c, src.width, width, false);
  const auto sample = [&](int down, int right) {
    return static_cast<float>(src.At(y.at + down, x.at + right));
  };
  float value = ((1.0f - y.weight) * (1.0f - x.weight)) * sample(0, 0);
  value = value + ((1.0f - y.weight) * x.weight) * sample(0, 1);
  value = value + (y.weight * (1.0f - x.weight)) * sample(1, 0);
  value = value + (y.weight * x.weight) * sample(1, 1);
  return static_cast<int>(value);
}

int Nearest(const Plane& src, int width, int height, int r, int c) {
  const Between y(r, src.height, height, true), x(c, src.width, width, true);
  if (y.at >= src.height - 1) return src.At(y.at, x.at + (x.weight >= 1.0f - x.weight ? 1 : 0));
  if (x.at >= src.width - 1) return src.At(y.at + (y.weight >= 1.0f - y.weight ? 1 : 0), x.at);
  const auto distance = [&](int corner) {
    const float dy = corner / 2 == 0 ? y.weight : 1.0f - y.weight;
    const float dx = corner % 2 == 0 ? x.weight : 1.0f - x.weight;
    const float dy2 = dy * dy, dx2 = dx * dx;
    return dy2 + dx2;
  };
  int best = 0;
  for (const int corner : {1, 2, 3}) best = distance(corner) < distance(best) ? corner : best;
  return src.At(y.at + best / 2, x.at + best % 2);
}

// Source pair of the 4x filter and the weight of its second, in eighths. An axis of one sample
// counts as one where it stands twice.
struct Phase {
  int pair;
  int second_weight;
  Phase(int i, int size) {
    const int inner = std::clamp(i - 2, 0, 4 * std::max(size - 1, 1) - 1);
    pair = inner / 4;
    second_weight = 1 + 2 * (inner % 4);
  }
};

// Two rows with their weights in eighths, blended at a destination column.
int FourfoldColumn(const Plane& src, int c, int row, int upper, int lower) {
  const Phase x(c, src.width);
  const auto blend = [&](int at) { return upper * src.At(row, at) + lower * src.At(row + 1, at); };
  return ((8 - x.second_weight) * blend(x.pair) + x.second_weight * blend(x.pair + 1) + 32) >> 6;
}

int Quadruple(const Plane& src, int r, int c) {
  const Phase y(r, src.height);
  return FourfoldColumn(src, c, y.pair, 8 - y.second_weight, y.second_weight);
}

int DoubleRounded(const Plane& src, int r, int c) {
  const int y2 = r / 2 + (r % 2 == 0 ? -1 : 1);
  const int x2 = c / 2 + (c % 2 == 0 ? -1 : 1);
  // A clamped neighbour is the sample itself: 9 + 3 and 3 + 1 of 16 are 3 and 1 of 4.
  return (9 * src.At(r / 2, c / 2) + 3 * src.At(r / 2, x2) + 3 * src.At(y2, c / 2) +
          src.At(y2, x2) + 8) >>
         4;
}

// Value of a corner-aligned line of samples at destination index i.
template <typename Sample>
int Aligned(int i, int count, Sample sample) {
  const int at = std::min(i / 4, count - 1);
  if (at == count - 1) return sample(at);
  const double weight = 0.25 * (i % 4);
  return static_cast<int>((1.0 - weight) * sample(at) + weight * sample(at + 1));
}

// In the two outermost rows and columns the line that is drawn last counts.
int QuadrupleAligned(const Plane& src, int r, int c) {
  const auto down = [&](int column) {
    return Aligned(r, src.height, [&](int row) { return src.At(row, column); });
  };
  const auto across = [&](int row) {
    return Aligned(c, src.width, [&](int column) { return src.At(row, column); });
  };
  if (c >= 4 * src.width - 2) return down(src.width - 1);
  if (r >= 4 * src.height - 2) return across(src.height - 1);
  if (r < 2) return across(0);
  if (c < 2) return down(0);
  return Quadruple(src, r, c);
}

TEST(Upscale, BilinearAndDoublingWriteTheirRows) {
  Random random(21);
  for (int i = 0; i < 400; ++i) {
    Plane src = SmallOrWide(random, 30);
    // The exact factors 2 and 4 have filters of their own; other sizes are whole multiples, or
    // higher than the rows that are planned at a time.
    const int factor = random.Int(0, 5);
    const int highest = random.Int(0, 39) == 0 ? 1400 : 60;
    const int width = factor > 1 ? factor * src.width : random.Int(1, 600);
    const int height = factor > 1 ? factor * src.height : random.Int(1, highest);
    const int begin = random.Int(-1, height);
    const int end = random.Int(0, height + 1);
    SCOPED_TRACE(testing::Message() << src.width << "x" << src.height);
    const auto formula = [&](int r, int c) {
      return r < begin || r >= end ? -1 : Bilinear(src, width, height, r, c);
    };
    const Plane before(random, width, height);
    for (auto* resize : {&bilinearGrayU8BorderLines, &upScale2x2}) {
      Expect(before, formula, [&](uint8_t* dst, int stride) {
        resize(dst, src.data(), width, height, stride, src.width, src.height, src.stride, begin,
               end);
      });
    }
  }
}

TEST(Upscale, FixedFactorsAndNearest) {
  Random random(22);
  for (int i = 0; i < 200; ++i) {
    Plane src = SmallOrWide(random);
    const int w = src.width, h = src.height;
    SCOPED_TRACE(testing::Message() << w << "x" << h);
    const Plane two(random, 2 * w, 2 * h), four(random, 4 * w, 4 * h);
    Expect(
        four, [&](int r, int c) { return Quadruple(src, r, c); },
        [&](auto* dst, int stride) { upScale4x4(dst, src.data(), w, h, stride, src.stride); });
    Expect(
        four, [&](int r, int c) { return w < 2 || h < 2 ? -1 : QuadrupleAligned(src, r, c); },
        [&](auto* dst, int stride) {
          upscale_x16_blinear(src.data(), dst, w, h, src.stride, stride);
        });
    Expect(
        two, [&](int r, int c) { return DoubleRounded(src, r, c); },
        [&](auto* dst, int stride) {
          upscale_x4_blinear(src.data(), dst, w, h, src.stride, stride);
        });
    // Factors that put positions half-way between samples, and any others.
    const int width = random.Int(0, 1) == 0 ? 2 * w : random.Int(1, 90);
    const int height = random.Int(0, 1) == 0 ? std::max(h / 2, 1) : random.Int(1, 30);
    Expect(
        Plane(random, width, height),
        [&](int r, int c) { return Nearest(src, width, height, r, c); },
        [&](auto* dst, int stride) {
          up_scale_context(src.data(), w, h, src.stride, dst, width, height, stride);
        });
  }
}

TEST(Upscale, FourfoldBorderRowsTakeAnyWeights) {
  Random random(23);
  for (int pair = 0; pair < 81; ++pair) {
    const int upper = pair / 9, lower = pair % 9;
    Plane src(random, random.Int(2, 100), 2);
    const auto formula = [&](int, int c) { return FourfoldColumn(src, c, 0, upper, lower); };
    Expect(Plane(random, 4 * src.width, 2), formula, [&](uint8_t* dst, int stride) {
      upScale4x4BorderRows(dst, dst + stride, src.data(), src.data() + src.stride, src.width, upper,
                           lower);
    });
  }
}

TEST(Downscale, AveragesWholeBlocks) {
  Random random(31);
  for (int i = 0; i < 200; ++i) {
    // What fills no block is left out.
    Plane src(random, random.Int(4, 240), random.Int(4, 20));
    const auto mean = [&](int size, int rounding, int r, int c) {
      int sum = rounding;
      for (int at = 0; at < size * size; ++at) {
        sum += src.At(size * r + at / size, size * c + at % size);
      }
      return sum / (size * size);
    };
    const auto truncated = [&](int r, int c) { return mean(2, 0, r, c); };
    const auto quarter = [&](int r, int c) { return mean(4, 8, r, c); };
    const auto pairs_up = [&](int r, int c) {
      const int top = (src.At(2 * r, 2 * c) + src.At(2 * r, 2 * c + 1) + 1) >> 1;
      const int bottom = (src.At(2 * r + 1, 2 * c) + src.At(2 * r + 1, 2 * c + 1) + 1) >> 1;
      return (top + bottom + 1) >> 1;
    };
    const auto expect_both = [&](int factor, auto* average, auto* down, const Formula& by_average,
                                 const Formula& by_down) {
      const Plane before(random, src.width / factor, src.height / factor);
      Expect(before, by_average, [&](uint8_t* dst, int stride) {
        average(dst, src.data(), before.width, before.height, stride, -1, -1, src.stride);
      });
      Expect(before, by_down, [&](uint8_t* dst, int stride) {
        down(src.data(), dst, src.width, src.height, src.stride, stride);
      });
    };
    expect_both(2, &averageGrayU8Down2x2, &downscale_x4_avg, truncated, pairs_up);
    expect_both(4, &averageGrayU8Down4x4, &downscale_x16_avg, quarter, quarter);
  }
}

TEST(Rescale, NullPointersAndWeightsPastEightDoNothing) {
  Bytes source(16, 1);
  uint8_t* src = source.data();
  Bytes dst(400, 0x5A);
  upScale4x4BorderRows(dst.data(), dst.data(), src, src, 4, 9, 0);
  upScale4x4(nullptr, src, 4, 4, 16, 4);
  upScale2x2(dst.data(), nullptr, 8, 8, 8, 4, 4, 4, 0, 8);
  up_scale_context(src, 4, 4, 4, dst.data(), 0, 8, 8);
  up_scale_context(src, 4, -1, 4, dst.data(), 8, 8, 8);
  EXPECT_EQ(dst, Bytes(400, 0x5A));
}

}  // namespace
}  // namespace vantro::test

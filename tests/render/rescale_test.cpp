// The resizers of masks and grey planes against their formulas a sample at a time.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "tests/image/image_buffers.h"
#include "tests/support/simd_levels.h"
#include "vantro/render.h"

namespace vantro::test {
namespace {

// A plane with gaps behind its rows.
struct Plane {
  int width;
  int height;
  int stride;
  Bytes bytes;

  Plane(Random& random, int columns, int rows)
      : width(columns), height(rows), stride(columns + random.Int(0, 3)) {
    // Extremes show overflows, small values rounding.
    const int kind = random.Int(0, 2);
    bytes = random.Noise(Area(stride, rows + 1));  // a row behind the plane, to stay
    for (uint8_t& sample : bytes) {
      if (kind == 1) sample = static_cast<uint8_t>(255 * (sample % 2));
      if (kind == 2) sample %= 3;
    }
  }
  uint8_t* data() { return bytes.data(); }
  int At(int row, int column) const {
    return bytes[Area(row, stride) + static_cast<size_t>(column)];
  }
  // The nearest sample of the plane.
  int Clamped(int row, int column) const {
    return At(std::clamp(row, 0, height - 1), std::clamp(column, 0, width - 1));
  }
};

// What a routine has to make of a destination: a value for each sample, a negative one where it
// stays.
using Formula = std::function<int(int row, int column)>;

testing::AssertionResult Holds(const Plane& after, const Plane& before, const Formula& formula) {
  Bytes expected = before.bytes;
  for (int r = 0; r < before.height; ++r) {
    for (int c = 0; c < before.width; ++c) {
      const int value = formula(r, c);
      if (value >= 0)
        expected[Area(r, before.stride) + static_cast<size_t>(c)] = static_cast<uint8_t>(value);
    }
  }
  return SamePlanes(after.bytes, expected, before.stride)
         << " (" << before.width << "x" << before.height << ")";
}

Plane SmallOrWide(Random& random, int highest = 9) {
  // Some are wider than the strips that rows are treated in.
  const int widest[] = {40, 40, 280, random.Int(0, 9) == 0 ? 2100 : 70};
  return Plane(random, random.Int(1, widest[random.Int(0, 3)]), random.Int(1, highest));
}

float Position(int i, int src, int dst) {
  const float ratio = static_cast<float>(src) / static_cast<float>(dst);
  return static_cast<float>((i + 0.5) * static_cast<double>(ratio) - 0.5);
}

int Bilinear(const Plane& src, int width, int height, int r, int c) {
  const float fy = Position(r, src.height, height);
  const float fx = Position(c, src.width, width);
  const int y = static_cast<int>(std::floor(fy));
  const int x = static_cast<int>(std::floor(fx));
  const float wy = fy - static_cast<float>(y);
  const float wx = fx - static_cast<float>(x);
  const auto sample = [&](int row, int column) {
    return static_cast<float>(src.Clamped(row, column));
  };
  float value = ((1.0f - wy) * (1.0f - wx)) * sample(y, x);
  value = value + ((1.0f - wy) * wx) * sample(y, x + 1);
  value = value + (wy * (1.0f - wx)) * sample(y + 1, x);
  value = value + (wy * wx) * sample(y + 1, x + 1);
  return static_cast<int>(value);
}

int Nearest(const Plane& src, int width, int height, int r, int c) {
  const float fy = Position(r, src.height, height);
  const float fx = Position(c, src.width, width);
  const int y = std::max(static_cast<int>(fy), 0);
  const int x = std::max(static_cast<int>(fx), 0);
  const float wy = fy - static_cast<float>(y);
  const float wx = fx - static_cast<float>(x);
  if (y >= src.height - 1) {
    return src.At(y, x + (x < src.width - 1 && wx >= 1.0f - wx ? 1 : 0));
  }
  if (x >= src.width - 1) return src.At(y + (wy >= 1.0f - wy ? 1 : 0), x);
  const auto distance = [&](int corner) {
    const float dy = corner / 2 == 0 ? wy : 1.0f - wy;
    const float dx = corner % 2 == 0 ? wx : 1.0f - wx;
    const float dy2 = dy * dy;
    const float dx2 = dx * dx;
    return dy2 + dx2;
  };
  int best = 0;
  for (const int corner : {1, 2, 3}) best = distance(corner) < distance(best) ? corner : best;
  return src.At(y + best / 2, x + best % 2);
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
  const auto blend = [&](int at) {
    return upper * src.Clamped(row, at) + lower * src.Clamped(row + 1, at);
  };
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
  return (9 * src.At(r / 2, c / 2) + 3 * src.Clamped(r / 2, x2) + 3 * src.Clamped(y2, c / 2) +
          src.Clamped(y2, x2) + 8) >>
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
  const int rows = 4 * src.height;
  const int columns = 4 * src.width;
  const auto down = [&](int column) {
    return Aligned(r, src.height, [&](int row) { return src.At(row, column); });
  };
  const auto across = [&](int row) {
    return Aligned(c, src.width, [&](int column) { return src.At(row, column); });
  };
  if (c >= columns - 2) return down(src.width - 1);
  if (r >= rows - 2) return across(src.height - 1);
  if (r < 2) return across(0);
  if (c < 2) return down(0);
  return Quadruple(src, r, c);
}

TEST(Upscale, BilinearAndDoublingWriteTheirRows) {
  AtEverySimdLevel([] {
    Random random(21);
    for (int i = 0; i < 300; ++i) {
      Plane src = SmallOrWide(random, 30);
      // The exact factors 2 and 4 have filters of their own; other sizes are whole multiples, or
      // higher than the rows that are planned at a time.
      const int factor = random.Int(0, 5);
      const int highest = random.Int(0, 39) == 0 ? 1400 : 60;
      const int width = factor > 1 ? factor * src.width : random.Int(1, 600);
      const int height = factor > 1 ? factor * src.height : random.Int(1, highest);
      const int begin = random.Int(-1, height);
      const int end = random.Int(0, height + 1);
      const auto formula = [&](int r, int c) {
        return r < begin || r >= end ? -1 : Bilinear(src, width, height, r, c);
      };
      const Plane before(random, width, height);
      for (auto* resize : {&bilinearGrayU8BorderLines, &upScale2x2}) {
        Plane dst = before;
        resize(dst.data(), src.data(), width, height, dst.stride, src.width, src.height, src.stride,
               begin, end);
        ASSERT_TRUE(Holds(dst, before, formula)) << src.width << "x" << src.height;
      }
    }
  });
}

TEST(Upscale, FixedFactorsAndNearest) {
  Random random(22);
  for (int i = 0; i < 200; ++i) {
    Plane src = SmallOrWide(random);
    SCOPED_TRACE(testing::Message() << src.width << "x" << src.height);
    const Plane four(random, 4 * src.width, 4 * src.height);
    Plane dst = four;
    upScale4x4(dst.data(), src.data(), src.width, src.height, dst.stride, src.stride);
    ASSERT_TRUE(Holds(dst, four, [&](int r, int c) { return Quadruple(src, r, c); }));

    dst = four;
    upscale_x16_blinear(src.data(), dst.data(), src.width, src.height, src.stride, dst.stride);
    const bool too_small = src.width < 2 || src.height < 2;
    ASSERT_TRUE(Holds(dst, four,
                      [&](int r, int c) { return too_small ? -1 : QuadrupleAligned(src, r, c); }));

    const Plane two(random, 2 * src.width, 2 * src.height);
    dst = two;
    upscale_x4_blinear(src.data(), dst.data(), src.width, src.height, src.stride, dst.stride);
    ASSERT_TRUE(Holds(dst, two, [&](int r, int c) { return DoubleRounded(src, r, c); }));

    // Factors that put positions half-way between samples, and any others.
    const int width = random.Int(0, 1) == 0 ? 2 * src.width : random.Int(1, 90);
    const int height = random.Int(0, 1) == 0 ? std::max(src.height / 2, 1) : random.Int(1, 30);
    const Plane any(random, width, height);
    dst = any;
    up_scale_context(src.data(), src.width, src.height, src.stride, dst.data(), width, height,
                     dst.stride);
    ASSERT_TRUE(Holds(dst, any, [&](int r, int c) { return Nearest(src, width, height, r, c); }));
  }
}

TEST(Upscale, FourfoldBorderRowsTakeAnyWeights) {
  Random random(23);
  for (int pair = 0; pair < 81; ++pair) {
    const int upper = pair / 9;
    const int lower = pair % 9;
    Plane src(random, random.Int(2, 100), 2);
    const Plane before(random, 4 * src.width, 2);
    Plane dst = before;
    upScale4x4BorderRows(dst.data(), dst.data() + dst.stride, src.data(), src.data() + src.stride,
                         src.width, upper, lower);
    ASSERT_TRUE(
        Holds(dst, before, [&](int, int c) { return FourfoldColumn(src, c, 0, upper, lower); }));
  }
}

TEST(Downscale, AveragesWholeBlocks) {
  Random random(31);
  for (int i = 0; i < 200; ++i) {
    // What fills no block is left out.
    Plane src(random, random.Int(4, 240), random.Int(4, 20));
    const auto sum = [&](int size, int r, int c) {
      int total = 0;
      for (int at = 0; at < size * size; ++at) {
        total += src.At(size * r + at / size, size * c + at % size);
      }
      return total;
    };
    const auto truncated = [&](int r, int c) { return sum(2, r, c) >> 2; };
    const auto pairs_up = [&](int r, int c) {
      const int top = (src.At(2 * r, 2 * c) + src.At(2 * r, 2 * c + 1) + 1) >> 1;
      const int bottom = (src.At(2 * r + 1, 2 * c) + src.At(2 * r + 1, 2 * c + 1) + 1) >> 1;
      return (top + bottom + 1) >> 1;
    };
    const auto quarter = [&](int r, int c) { return (sum(4, r, c) + 8) >> 4; };

    const Plane half(random, src.width / 2, src.height / 2);
    Plane dst = half;
    averageGrayU8Down2x2(dst.data(), src.data(), half.width, half.height, dst.stride, -1, -1,
                         src.stride);
    ASSERT_TRUE(Holds(dst, half, truncated));
    downscale_x4_avg(src.data(), dst.data(), src.width, src.height, src.stride, dst.stride);
    ASSERT_TRUE(Holds(dst, half, pairs_up));

    const Plane fourth(random, src.width / 4, src.height / 4);
    dst = fourth;
    averageGrayU8Down4x4(dst.data(), src.data(), fourth.width, fourth.height, dst.stride, -1, -1,
                         src.stride);
    ASSERT_TRUE(Holds(dst, fourth, quarter));
    dst = fourth;
    downscale_x16_avg(src.data(), dst.data(), src.width, src.height, src.stride, dst.stride);
    ASSERT_TRUE(Holds(dst, fourth, quarter));
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

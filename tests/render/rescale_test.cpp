// The upscalers against their formulas a sample at a time, at every vector level.
#include <gtest/gtest.h>

#include <limits>

#include "tests/render/guarded_plane.h"
#include "tests/support/simd_levels.h"
#include "vantro/render.h"

namespace vantro::test {
namespace {

constexpr uint8_t kUnwritten = 0x5A;

Plane SmallOrWide(Random& random) {
  // Some are wider than the strips that rows are treated in.
  const int widest[] = {40, 40, 280, random.Int(0, 9) == 0 ? 2100 : 70};
  return RandomPlane(random, random.Int(1, widest[random.Int(0, 3)]), random.Int(1, 9));
}

// Copies the rows begin to end - 1 of `rows` over an unwritten plane.
Plane OnlyRows(const Plane& rows, int begin, int end) {
  Plane out(rows.width, rows.height, kUnwritten);
  for (int r = begin; r < end; ++r) {
    for (int c = 0; c < rows.width; ++c) out.At(r, c) = static_cast<uint8_t>(rows.At(r, c));
  }
  return out;
}

TEST(Upscale, BilinearAndDoublingWriteTheirRows) {
  AtEverySimdLevel([] {
    Random random(21);
    for (int i = 0; i < 300; ++i) {
      const Plane source = SmallOrWide(random);
      // The exact factors 2 and 4 have filters of their own.
      const int factor = 2 * random.Int(0, 2);
      const int width = factor != 0 ? factor * source.width : random.Int(1, 600);
      const int height = factor != 0 ? factor * source.height : random.Int(1, 30);
      const int begin = random.Int(0, height);
      const int end = random.Int(0, height);
      SCOPED_TRACE(testing::Message() << source.width << "x" << source.height << " to " << width
                                      << "x" << height << " rows " << begin << " to " << end);
      const Plane expected = OnlyRows(PlainBilinear(source, width, height), begin, end);
      GuardedPlane src(source, source.width + random.Int(0, 3));
      const int dst_stride = width + random.Int(0, 3);

      GuardedPlane bilinear(Plane(width, height, kUnwritten), dst_stride);
      bilinearGrayU8BorderLines(bilinear.get(), src.get(), width, height, dst_stride, source.width,
                                source.height, src.stride(), begin, end);
      ASSERT_TRUE(bilinear.Holds(expected));
      GuardedPlane doubled(Plane(width, height, kUnwritten), dst_stride);
      upScale2x2(doubled.get(), src.get(), width, height, dst_stride, source.width, source.height,
                 src.stride(), begin, end);
      ASSERT_TRUE(doubled.Holds(expected));
    }
  });
}

TEST(Upscale, DoublingOfACornerTruncates) {
  const Bytes src = {0, 0, 0, 255};
  Bytes dst(16);
  upScale2x2(dst.data(), src.data(), 4, 4, 4, 2, 2, 2, 0, 4);
  EXPECT_EQ(dst, (Bytes{0, 0, 0, 0, 0, 15, 47, 63, 0, 47, 143, 191, 0, 63, 191, 255}));
}

TEST(Upscale, RowRangesAreCutToTheImage) {
  Random random(5);
  const Plane source = RandomPlane(random, 7, 4);
  for (const int width : {14, 13}) {
    const Plane expected = PlainBilinear(source, width, 8);
    GuardedPlane src(source, 7);
    GuardedPlane dst(Plane(width, 8), width);
    upScale2x2(dst.get(), src.get(), width, 8, width, 7, 4, 7, std::numeric_limits<int>::min(),
               std::numeric_limits<int>::max());
    EXPECT_TRUE(dst.Holds(expected));
  }
}

TEST(Upscale, FourfoldFilters) {
  AtEverySimdLevel([] {
    Random random(22);
    for (int i = 0; i < 200; ++i) {
      Plane source = SmallOrWide(random);
      SCOPED_TRACE(testing::Message() << source.width << "x" << source.height);
      GuardedPlane src(source, source.width + random.Int(0, 3));
      const Plane empty(4 * source.width, 4 * source.height, kUnwritten);
      GuardedPlane quadruple(empty, empty.width + random.Int(0, 3));
      upScale4x4(quadruple.get(), src.get(), source.width, source.height, quadruple.stride(),
                 src.stride());
      // A single column or row stands for two equal ones.
      Plane at_least_two(std::max(source.width, 2), std::max(source.height, 2));
      for (int r = 0; r < at_least_two.height; ++r) {
        for (int c = 0; c < at_least_two.width; ++c) {
          at_least_two.At(r, c) = static_cast<uint8_t>(
              source.At(std::min(r, source.height - 1), std::min(c, source.width - 1)));
        }
      }
      const Plane full = PlainQuadruple(at_least_two);
      Plane expected = empty;
      for (int r = 0; r < expected.height; ++r) {
        for (int c = 0; c < expected.width; ++c) {
          expected.At(r, c) = static_cast<uint8_t>(full.At(r, c));
        }
      }
      ASSERT_TRUE(quadruple.Holds(expected));

      GuardedPlane x16(empty, quadruple.stride());
      upscale_x16_blinear(src.get(), x16.get(), source.width, source.height, src.stride(),
                          x16.stride());
      ASSERT_TRUE(x16.Holds(source.width < 2 || source.height < 2 ? empty : PlainX16(source)));

      GuardedPlane x4(Plane(2 * source.width, 2 * source.height), 2 * source.width + 1);
      upscale_x4_blinear(src.get(), x4.get(), source.width, source.height, src.stride(),
                         x4.stride());
      ASSERT_TRUE(x4.Holds(PlainX4(source)));
    }
  });
}

TEST(Upscale, FourfoldBorderRowsTakeAnyWeights) {
  AtEverySimdLevel([] {
    Random random(23);
    for (int pair = 0; pair < 81; ++pair) {
      const int upper_weight = pair / 9;
      const int lower_weight = pair % 9;
      const Plane source = RandomPlane(random, random.Int(2, 100), 2);
      GuardedPlane src(source, source.width);
      GuardedPlane dst(Plane(4 * source.width, 2), 4 * source.width);
      upScale4x4BorderRows(dst.get(), dst.get() + dst.stride(), src.get(), src.get() + src.stride(),
                           source.width, upper_weight, lower_weight);
      Plane expected(4 * source.width, 2);
      for (int c = 0; c < expected.width; ++c) {
        const int at = std::clamp((c - 2) >> 2, 0, source.width - 2);
        const int phase = c < 2 ? 0 : c > expected.width - 3 ? 3 : (c - 2) % 4;
        const auto blend = [&](int column) {
          return upper_weight * source.At(0, column) + lower_weight * source.At(1, column);
        };
        const int value = ((7 - 2 * phase) * blend(at) + (1 + 2 * phase) * blend(at + 1) + 32) >> 6;
        expected.At(0, c) = expected.At(1, c) = static_cast<uint8_t>(value);
      }
      ASSERT_TRUE(dst.Holds(expected)) << upper_weight << " " << lower_weight;
    }
  });
}

TEST(Upscale, NearestTakesTheNearestSample) {
  Random random(24);
  for (int i = 0; i < 300; ++i) {
    const Plane source = SmallOrWide(random);
    // Factors that put positions half-way between samples, and any others.
    const int width = random.Int(0, 1) == 0 ? 2 * source.width : random.Int(1, 90);
    const int height = random.Int(0, 1) == 0 ? std::max(source.height / 2, 1) : random.Int(1, 30);
    GuardedPlane src(source, source.width + random.Int(0, 2));
    GuardedPlane dst(Plane(width, height), width + random.Int(0, 2));
    ASSERT_EQ(up_scale_context(src.get(), source.width, source.height, src.stride(), dst.get(),
                               width, height, dst.stride()),
              src.get());
    ASSERT_TRUE(dst.Holds(PlainNearest(source, width, height)))
        << source.width << "x" << source.height << " to " << width << "x" << height;
  }
}

TEST(Upscale, EmptySizesAndNullPointersDoNothing) {
  Random random(25);
  Plane source = RandomPlane(random, 4, 4);
  uint8_t* src = source.samples.data();
  Bytes dst(400, kUnwritten);
  for (const int bad : {0, -1, std::numeric_limits<int>::min()}) {
    upScale4x4(dst.data(), src, bad, 4, 16, 4);
    upScale4x4(dst.data(), src, 4, bad, 16, 4);
    upscale_x4_blinear(src, dst.data(), bad, 4, 4, 8);
    upscale_x16_blinear(src, dst.data(), 4, bad, 4, 16);
    upScale2x2(dst.data(), src, bad, 8, 8, 4, 4, 4, 0, 8);
    upScale2x2(dst.data(), src, 8, 8, 8, 4, bad, 4, 0, 8);
    bilinearGrayU8BorderLines(dst.data(), src, 8, bad, 8, 4, 4, 4, 0, 8);
    bilinearGrayU8BorderLines(dst.data(), src, 8, 8, 8, bad, 4, 4, 0, 8);
    up_scale_context(src, 4, bad, 4, dst.data(), 8, 8, 8);
    up_scale_context(src, 4, 4, 4, dst.data(), 8, bad, 8);
    up_scale_context(src, 4, 4, 4, dst.data(), bad, 8, 8);
    averageGrayU8Down2x2(dst.data(), src, bad, 2, 2, 0, 0, 4);
    averageGrayU8Down4x4(dst.data(), src, 1, bad, 2, 0, 0, 4);
    downscale_x4_avg(src, dst.data(), 4, bad, 4, 2);
    downscale_x16_avg(src, dst.data(), bad, 4, 4, 2);
    upScale4x4BorderRows(dst.data(), dst.data(), src, src, 4, 9, 0);
    upScale4x4BorderRows(dst.data(), dst.data(), src, src, bad, 8, 0);
  }
  upScale4x4(nullptr, src, 4, 4, 16, 4);
  upScale2x2(dst.data(), nullptr, 8, 8, 8, 4, 4, 4, 0, 8);
  EXPECT_EQ(dst, Bytes(400, kUnwritten));
}

}  // namespace
}  // namespace vantro::test

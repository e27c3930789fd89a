// The box averages against their formulas a block at a time, at every vector level.
#include <gtest/gtest.h>

#include "tests/render/guarded_plane.h"
#include "tests/support/simd_levels.h"
#include "vantro/render.h"

namespace vantro::test {
namespace {

int BlockSum(const Plane& plane, int row, int column, int size) {
  int sum = 0;
  for (int r = 0; r < size; ++r) {
    for (int c = 0; c < size; ++c) sum += plane.At(size * row + r, size * column + c);
  }
  return sum;
}

template <typename Value>
Plane Reduced(const Plane& source, int size, Value value) {
  Plane out(source.width / size, source.height / size);
  for (int r = 0; r < out.height; ++r) {
    for (int c = 0; c < out.width; ++c) out.At(r, c) = static_cast<uint8_t>(value(r, c));
  }
  return out;
}

TEST(Downscale, AveragesBlocks) {
  AtEverySimdLevel([] {
    Random random(31);
    for (int i = 0; i < 200; ++i) {
      const Plane source = RandomPlane(random, 4 * random.Int(1, 60), 4 * random.Int(1, 5));
      GuardedPlane src(source, source.width + random.Int(0, 3));
      const Plane truncated =
          Reduced(source, 2, [&](int r, int c) { return BlockSum(source, r, c, 2) >> 2; });
      const Plane rounded_up = Reduced(source, 2, [&](int r, int c) {
        const int top = (source.At(2 * r, 2 * c) + source.At(2 * r, 2 * c + 1) + 1) >> 1;
        const int bottom = (source.At(2 * r + 1, 2 * c) + source.At(2 * r + 1, 2 * c + 1) + 1) >> 1;
        return (top + bottom + 1) >> 1;
      });
      const Plane quarter =
          Reduced(source, 4, [&](int r, int c) { return (BlockSum(source, r, c, 4) + 8) >> 4; });

      const int half_stride = truncated.width + random.Int(0, 3);
      GuardedPlane half(truncated, half_stride);
      std::fill_n(half.get(), truncated.width, uint8_t{0});
      averageGrayU8Down2x2(half.get(), src.get(), truncated.width, truncated.height, half_stride,
                           -1, -1, src.stride());
      ASSERT_TRUE(half.Holds(truncated));

      GuardedPlane half_up(Plane(truncated.width, truncated.height), half_stride);
      downscale_x4_avg(src.get(), half_up.get(), source.width, source.height, src.stride(),
                       half_stride);
      ASSERT_TRUE(half_up.Holds(rounded_up));

      const int quarter_stride = quarter.width + random.Int(0, 3);
      GuardedPlane fourth(Plane(quarter.width, quarter.height), quarter_stride);
      averageGrayU8Down4x4(fourth.get(), src.get(), quarter.width, quarter.height, quarter_stride,
                           -1, -1, src.stride());
      ASSERT_TRUE(fourth.Holds(quarter));

      GuardedPlane x16(Plane(quarter.width, quarter.height), quarter_stride);
      downscale_x16_avg(src.get(), x16.get(), source.width, source.height, src.stride(),
                        quarter_stride);
      ASSERT_TRUE(x16.Holds(quarter));
    }
  });
}

TEST(Downscale, LeavesOutWhatFillsNoBlock) {
  Random random(32);
  const Plane source = RandomPlane(random, 11, 7);
  GuardedPlane src(source, 11);
  Bytes half(5 * 3);
  downscale_x4_avg(src.get(), half.data(), 11, 7, 11, 5);
  const int top = (source.At(4, 8) + source.At(4, 9) + 1) >> 1;
  const int bottom = (source.At(5, 8) + source.At(5, 9) + 1) >> 1;
  EXPECT_EQ(half.back(), (top + bottom + 1) >> 1);
  Bytes quarter(2);
  downscale_x16_avg(src.get(), quarter.data(), 11, 7, 11, 2);
  EXPECT_EQ(quarter[1], (BlockSum(source, 0, 1, 4) + 8) >> 4);
}

}  // namespace
}  // namespace vantro::test

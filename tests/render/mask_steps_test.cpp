// What mask steps do at their edges, and the memory they take; kernel_levels_test holds their
// samples against formulas.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "tests/image/image_buffers.h"
#include "tests/support/tracking_pool.h"
#include "vantro/render.h"
#include "vantro/tracked_alloc.h"

namespace vantro::test {
namespace {

TEST(Morphology, LeavesTheImageWithoutMemoryOrWithoutRoom) {
  constexpr int kMin = std::numeric_limits<int>::min(), kMax = std::numeric_limits<int>::max();
  TrackingPool pool;
  fmalloc = pool.get()->alloc;
  ffree = pool.get()->free;
  const Bytes image = {0, 7, 0, 7, 0, 7, 0, 7, 0, 7, 0, 7};
  Bytes treated = image;
  const auto expect_left = [&](int width, int height, int radius) {
    erosion(treated.data(), width, height, radius);
    dilation(treated.data(), width, height, radius);
    EXPECT_EQ(treated, image) << width << "x" << height << " radius " << radius;
  };
  expect_left(4, 3, 2);
  EXPECT_THAT(pool.events, testing::ElementsAre("+Vantro:12", "-Vantro", "+Vantro:12", "-Vantro"));
  for (const int radius : {kMin, -1, kMax}) expect_left(4, 3, radius);
  expect_left(6, 2, 1);
  expect_left(2, 6, 1);
  expect_left(0, 3, 0);
  expect_left(-4, -3, 0);
  fmalloc = nullptr;
  expect_left(4, 3, 0);
  ffree = nullptr;
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
  preProcessMask(dst.data(), src, 2, 0, 5);
  preProcessMask(dst.data(), src, -1, 4, 5);
  // A box without columns.
  EXPECT_EQ(getYcomponent(dst.data(), src, 4, 4, -1, -1, {0, 3, 2, 1, 0}, 0), dst.data());
  EXPECT_EQ(dst, Bytes(400, 0x5A));
}

}  // namespace
}  // namespace vantro::test

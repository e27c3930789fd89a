// Erosion and dilation against a search of every square.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "tests/image/image_buffers.h"
#include "tests/support/tracking_pool.h"
#include "vantro/render.h"
#include "vantro/tracked_alloc.h"

namespace vantro::test {
namespace {

class Morphology : public testing::Test {
 protected:
  Morphology() {
    fmalloc = pool_.get()->alloc;
    ffree = pool_.get()->free;
  }
  ~Morphology() override { fmalloc = nullptr, ffree = nullptr; }
  TrackingPool pool_;
};

Bytes PlainWindow(const Bytes& image, int width, int height, int radius, bool erode) {
  Bytes out = image;
  const int side = 2 * radius + 1;
  for (int y = radius; y < height - radius; ++y) {
    for (int x = radius; x < width - radius; ++x) {
      int set = 0;
      for (int k = 0; k < side * side; ++k) {
        set += image[Index(x - radius + k % side, y - radius + k / side, width)] != 0;
      }
      out[Index(x, y, width)] = erode ? set == side * side : set > 0;
    }
  }
  return out;
}

TEST_F(Morphology, EqualsTheSearchOfEverySquare) {
  Random random(41);
  for (int i = 0; i < 300; ++i) {
    const int width = random.Int(1, 150), height = random.Int(1, 40);
    const int radius = random.Int(0, random.Int(0, 1) == 0 ? 3 : 25);
    const int rare_per_mille = random.Int(0, 60);
    const bool mostly_set = random.Int(0, 1) == 0;
    Bytes image(Area(width, height));
    for (uint8_t& sample : image) {
      const bool set = (random.Int(0, 999) < rare_per_mille) != mostly_set;
      sample = set ? static_cast<uint8_t>(random.Int(1, 255)) : 0;
    }
    for (const bool erode : {false, true}) {
      Bytes treated = image;
      (erode ? erosion : dilation)(treated.data(), width, height, radius);
      ASSERT_TRUE(SamePlanes(treated, PlainWindow(image, width, height, radius, erode), width))
          << width << "x" << height << " radius " << radius;
      ASSERT_THAT(pool_.events,
                  testing::ElementsAre("+Vantro:" + std::to_string(image.size()), "-Vantro"));
      pool_.events.clear();
    }
  }
}

TEST_F(Morphology, LeavesTheImageWithoutMemoryOrWithoutRoom) {
  constexpr int kMin = std::numeric_limits<int>::min(), kMax = std::numeric_limits<int>::max();
  const Bytes image = {0, 7, 0, 7, 0, 7, 0, 7, 0, 7, 0, 7};
  Bytes treated = image;
  const auto expect_left = [&](int width, int height, int radius) {
    erosion(treated.data(), width, height, radius);
    dilation(treated.data(), width, height, radius);
    EXPECT_EQ(treated, image) << width << "x" << height << " radius " << radius;
  };
  for (const int radius : {kMin, -1, 2, kMax}) expect_left(4, 3, radius);
  expect_left(6, 2, 1);
  expect_left(2, 6, 1);
  expect_left(0, 3, 0);
  expect_left(-4, -3, 0);
  fmalloc = nullptr;
  expect_left(4, 3, 0);
}

}  // namespace
}  // namespace vantro::test

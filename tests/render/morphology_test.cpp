// Erosion and dilation against a search of every square.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

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
  for (int y = radius; y < height - radius; ++y) {
    for (int x = radius; x < width - radius; ++x) {
      int set = 0;
      for (int dy = -radius; dy <= radius; ++dy) {
        for (int dx = -radius; dx <= radius; ++dx) {
          set += image[Area(y + dy, width) + static_cast<size_t>(x + dx)] != 0;
        }
      }
      const int all = (2 * radius + 1) * (2 * radius + 1);
      out[Area(y, width) + static_cast<size_t>(x)] = erode ? set == all : set > 0;
    }
  }
  return out;
}

TEST_F(Morphology, EqualsTheSearchOfEverySquare) {
  Random random(41);
  for (int i = 0; i < 300; ++i) {
    const int width = random.Int(1, 150);
    const int height = random.Int(1, 40);
    const int radius = random.Int(0, random.Int(0, 1) == 0 ? 3 : 25);
    const int rare_per_mille = random.Int(0, 60);
    const bool mostly_set = random.Int(0, 1) == 0;
    Bytes image(Area(width, height));
    for (uint8_t& sample : image) {
      const bool set = (random.Int(0, 999) < rare_per_mille) != mostly_set;
      sample = set ? static_cast<uint8_t>(random.Int(1, 255)) : 0;
    }
    for (const bool erode : {false, true}) {
      Guarded<uint8_t> guarded(image);
      (erode ? erosion : dilation)(guarded.get(), width, height, radius);
      ASSERT_TRUE(
          SamePlanes(guarded.values(), PlainWindow(image, width, height, radius, erode), width))
          << width << "x" << height << " radius " << radius;
      ASSERT_EQ(pool_.events.size(), 2u);
      ASSERT_EQ(pool_.events[0], "+Vantro:" + testing::PrintToString(image.size()));
      pool_.events.clear();
    }
  }
}

TEST_F(Morphology, LeavesTheImageWithoutMemoryOrWithoutRoom) {
  const Bytes image = {0, 7, 0, 7, 0, 7, 0, 7, 0, 7, 0, 7};
  Bytes treated = image;
  const auto both = [&](int width, int height, int radius) {
    erosion(treated.data(), width, height, radius);
    dilation(treated.data(), width, height, radius);
    return treated == image;
  };
  EXPECT_TRUE(both(6, 2, 1));
  EXPECT_TRUE(both(2, 6, 1));
  EXPECT_TRUE(both(4, 3, std::numeric_limits<int>::max()));
  EXPECT_TRUE(both(4, 3, -1));
  EXPECT_TRUE(both(4, 3, std::numeric_limits<int>::min()));
  EXPECT_TRUE(both(0, 3, 0));
  EXPECT_TRUE(both(-4, -3, 0));
  pool_.FailAt(pool_.allocations(), true);
  EXPECT_TRUE(both(4, 3, 0));
  fmalloc = nullptr;
  EXPECT_TRUE(both(4, 3, 0));
}

}  // namespace
}  // namespace vantro::test

// From a probability map to boxes and a mask.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "engine/crop_box.h"
#include "engine/mask_writer.h"
#include "engine/person_finder.h"
#include "engine/probability_map.h"

namespace vantro::test {
namespace {

using engine::Bounds;
using engine::CropFollower;
using engine::PersonFinder;
using engine::ProbabilityMap;
using engine::Region;

constexpr int kSide = 256;

using Person = std::function<bool(float x, float y)>;

// A map whose samples are persons where `person` says so of their place in the frame.
struct Map {
  std::vector<float> values;
  ProbabilityMap map;

  Map(const Region& region, const Person& person)
      : values(kSide * kSide), map{values.data(), kSide, kSide, region} {
    for (int i = 0; i < kSide * kSide; ++i) {
      const float x = region.left + (static_cast<float>(i % kSide) + 0.5f) * map.column_pitch();
      const float y = region.top + (static_cast<float>(i / kSide) + 0.5f) * map.row_pitch();
      values[static_cast<size_t>(i)] = person(x, y) ? 0.9f : 0.1f;
    }
  }
};

bool InEllipse(float x, float y, float cx, float cy, float rx, float ry) {
  return (x - cx) * (x - cx) / (rx * rx) + (y - cy) * (y - cy) / (ry * ry) < 1;
}

TEST(PersonFinder, FindsBoundsWithoutSpecks) {
  const Region letterbox{0, -420, 1920, 1920};  // a 1920x1080 frame
  PersonFinder finder(kSide, kSide);
  const auto expect = [&](const Person& person, const Bounds& bounds, float error) {
    const std::optional<Bounds> found = finder.Find(Map(letterbox, person).map, 1920, 1080);
    ASSERT_TRUE(found);
    EXPECT_NEAR(found->left, bounds.left, error);
    EXPECT_NEAR(found->top, bounds.top, error);
    EXPECT_NEAR(found->right, bounds.right, error);
    EXPECT_NEAR(found->bottom, bounds.bottom, error);
  };
  const Person two_persons = [](float x, float y) {
    return InEllipse(x, y, 900, 600, 200, 300) || InEllipse(x, y, 1500, 700, 90, 150) ||
           InEllipse(x, y, 100, 100, 30, 30) ||  // a speck
           y < -100;                             // beyond the frame
  };
  const Person everywhere = [](float, float) { return true; };
  expect(two_persons, {700, 300, 1590, 900}, 7.5f);
  expect(everywhere, {0, 0, 1920, 1080}, 0);
  // Nobody: nothing at all, only beyond the frame, or too small to be anybody.
  for (const Person& nobody :
       {Person([](float, float) { return false; }),
        Person([](float, float y) { return y < -1 || y > 1081; }),
        Person([](float x, float y) { return InEllipse(x, y, 960, 540, 40, 40); })}) {
    EXPECT_FALSE(finder.Find(Map(letterbox, nobody).map, 1920, 1080));
  }
  // A frame so narrow that no sample lies in it.
  EXPECT_FALSE(finder.Find(Map({0, -16382.5f, 32767, 32767}, everywhere).map, 32767, 2));
}

void ExpectGoodCrop(const Bounds& person, const CROP_BOX& crop, int width, int height) {
  const auto check = [](float from, float to, int first, int last, int limit) {
    const int length = last - first + 1;
    ASSERT_GE(first, 0);
    ASSERT_LT(last, limit);
    ASSERT_EQ(first % 2, 0);
    ASSERT_GE(length, 2);
    const int usable = limit / 2 * 2;  // an odd last pixel has no chroma of its own
    if (length != usable) {
      ASSERT_EQ(length % 4, 0);
    }
    ASSERT_TRUE(static_cast<float>(first) <= from);
    ASSERT_TRUE(static_cast<float>(last + 1) >= std::min(to, static_cast<float>(usable)));
    // Not larger than a margin and the alignment make it.
    ASSERT_LE(static_cast<float>(length), (to - from) * 1.25f + 8);
  };
  check(person.left, person.right, crop.crop_left, crop.crop_right, width);
  check(person.top, person.bottom, crop.crop_top, crop.crop_bottom, height);
}

TEST(CropBox, HoldsThePersonInsideTheFrame) {
  std::mt19937 random(1);
  for (int i = 0; i < 20000; ++i) {
    const int width = 2 + static_cast<int>(random() % (i % 2 == 0 ? 40 : 4000));
    const int height = 2 + static_cast<int>(random() % (i % 3 == 0 ? 40 : 4000));
    const auto range = [&](int limit, float* from, float* to) {
      std::uniform_real_distribution<float> place(0.0f, static_cast<float>(limit));
      *from = random() % 5 == 0 ? 0.0f : place(random);
      *to = random() % 5 == 0 ? static_cast<float>(limit) : place(random);
      if (*from > *to) std::swap(*from, *to);
    };
    Bounds person;
    range(width, &person.left, &person.right);
    range(height, &person.top, &person.bottom);
    CROP_BOX crop{0, 0, 0, 0, 2};
    engine::SetCropBox(person, width, height, &crop);
    ASSERT_NO_FATAL_FAILURE(ExpectGoodCrop(person, crop, width, height))
        << width << "x" << height << ": " << person.left << ".." << person.right << " by "
        << person.top << ".." << person.bottom;
    ASSERT_EQ(crop.box_mode, 2);

    CROP_BOX tight{0, 0, 0, 0, 5};
    engine::SetTightBox(person, width, height, &tight);
    ASSERT_EQ(tight.box_mode, 5);
    ASSERT_TRUE(0 <= tight.crop_left && tight.crop_left <= tight.crop_right &&
                tight.crop_right < width && 0 <= tight.crop_top &&
                tight.crop_top <= tight.crop_bottom && tight.crop_bottom < height);
    ASSERT_NEAR(static_cast<float>(tight.crop_left), person.left, 1);
    ASSERT_NEAR(static_cast<float>(tight.crop_bottom), person.bottom, 1);
  }
}

// Nothing of a person who walks across the frame is cut off, though the box stays while it can.
TEST(CropFollower, StaysUntilThePersonLeaves) {
  CropFollower follower;
  CROP_BOX crop{};
  int moves = 0;
  for (int i = 0; i < 400; ++i) {
    const auto step = static_cast<float>(i);
    const Bounds person{400 + 390 * std::sin(step / 60), 200 + 190 * std::cos(step / 40),
                        800 + 390 * std::sin(step / 60), 500 + 190 * std::cos(step / 40)};
    const CROP_BOX last = crop;
    follower.Follow(person, 1280, 720, &crop);
    moves += crop.crop_left != last.crop_left || crop.crop_top != last.crop_top;
    ASSERT_LE(static_cast<float>(crop.crop_left), person.left);
    ASSERT_LE(static_cast<float>(crop.crop_top), person.top);
    ASSERT_GE(static_cast<float>(crop.crop_right + 1), person.right);
    ASSERT_GE(static_cast<float>(crop.crop_bottom + 1), person.bottom);
  }
  EXPECT_LT(moves, 400 / 4);
  // Somebody far smaller gets a box of their own size.
  const Bounds small{150, 300, 250, 420};
  follower.Follow(small, 1280, 720, &crop);
  ExpectGoodCrop(small, crop, 1280, 720);
}

TEST(MaskWriter, StretchesTheMaskOverTheBox) {
  const Region region{-100, 0, 1200, 1200};
  const auto person = [](float x, float y) { return InEllipse(x, y, 500, 400, 180, 260); };
  const Map map(region, person);
  const CROP_BOX crop{100, 699, 260, 751, 2};
  std::vector<uint8_t> mask(256 * 256, 0xEE);
  engine::WriteMask(map.map, crop, mask.data());
  int wrong = 0;
  int inside = 0;
  EXPECT_LE(*std::ranges::max_element(mask), 1);
  for (int i = 0; i < 256 * 256; ++i) {
    const bool expected = person(260 + (static_cast<float>(i % 256) + 0.5f) * 492 / 256,
                                 100 + (static_cast<float>(i / 256) + 0.5f) * 600 / 256);
    inside += expected;
    wrong += mask[static_cast<size_t>(i)] != (expected ? 1 : 0);
  }
  // Only samples at the edge may differ: the map's samples are over two of the mask's wide.
  EXPECT_GT(inside, 20000);
  EXPECT_LT(wrong, 400);
}

}  // namespace
}  // namespace vantro::test

// The labeller by runs against one that looks at every pixel: labels, region numbers and the whole
// union-find table, at every vector level.
#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <vector>

#include "tests/mask/random_masks.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/simd_levels.h"

namespace vantro::test {
namespace {

struct PixelLabeller {
  std::vector<int> parent;
  std::vector<int> final_number;

  int New() {
    parent.push_back(static_cast<int>(parent.size()));
    final_number.push_back(0);
    return parent.back();
  }
  int& Parent(int label) { return parent[static_cast<size_t>(label)]; }
  int Root(int label) {
    for (; Parent(label) != label; label = Parent(label)) Parent(label) = Parent(Parent(label));
    return label;
  }
  void Merge(int a, int b) {
    const int root_a = Root(a);
    const int root_b = Root(b);
    if (root_a == root_b) return;
    Root(b);
    Root(a);
    Parent(root_a) = root_b;
  }
  std::vector<int> Label(const Bytes& mask, int width, int height) {
    std::vector<int> labels(mask.size());
    for (int i = 0; i < width * height; ++i) {
      const auto at = static_cast<size_t>(i);
      const bool left = i % width > 0 && mask[at] == mask[at - 1];
      const bool up = i >= width && mask[at] == mask[at - static_cast<size_t>(width)];
      const auto above = at - static_cast<size_t>(width);
      if (left && up) Merge(labels[at - 1], labels[above]);
      labels[at] = left ? labels[at - 1] : up ? labels[above] : New();
    }
    return labels;
  }
  int Number(std::vector<int>* labels) {
    int regions = 0;
    for (size_t i = 0; i < parent.size(); ++i) {
      if (parent[i] == static_cast<int>(i)) final_number[i] = regions++;
    }
    for (int& label : *labels) label = final_number[static_cast<size_t>(Root(label))];
    return regions;
  }
};

void ExpectSameTable(const Labeller& labeller, size_t first_entries,
                     const PixelLabeller& expected) {
  ASSERT_EQ(labeller.count, static_cast<int>(expected.parent.size()));
  // A table that starts with a power of two goes on to the next that is large enough.
  ASSERT_EQ(static_cast<size_t>(labeller.capacity),
            std::max(first_entries, std::bit_ceil(expected.parent.size())));
  for (size_t i = 0; i < expected.parent.size(); ++i) {
    ASSERT_EQ(labeller.table[i].label, static_cast<int>(i));
    ASSERT_EQ(labeller.table[i].parent, expected.parent[i]) << "entry " << i;
    ASSERT_EQ(labeller.table[i].region, expected.final_number[i]) << "entry " << i;
  }
}

void CheckMask(const Bytes& mask, int width, int height) {
  SCOPED_TRACE(testing::Message() << width << "x" << height);
  Guarded<uint8_t> guarded_mask(mask);
  PixelLabeller expected;
  std::vector<int> expected_labels = expected.Label(mask, width, height);

  Labeller first_pass(1);
  Guarded<int> labels(std::vector<int>(mask.size(), -1));
  ASSERT_EQ(first_pass.labelImage(guarded_mask.get(), labels.get(), width, height), 0);
  ASSERT_TRUE(SamePlanes(labels.values(), expected_labels, width));
  ExpectSameTable(first_pass, 1, expected);

  Labeller both(128);
  Guarded<int> regions(std::vector<int>(mask.size(), -1));
  const int expected_regions = expected.Number(&expected_labels);
  ASSERT_EQ(both.connected(guarded_mask.get(), regions.get(), width, height), expected_regions);
  ASSERT_TRUE(SamePlanes(regions.values(), expected_labels, width));
  ExpectSameTable(both, 128, expected);
}

TEST(Labelling, EqualsThePixelwiseLabeller) {
  AtEverySimdLevel([] {
    Random random(7);
    for (int i = 0; i < 300; ++i) {
      const int width = random.Int(1, random.Int(0, 9) == 0 ? 300 : 70);
      const int height = random.Int(1, 40);
      CheckMask(RandomMask(random, width, height, random.Int(0, 1) == 0 ? 2 : 256), width, height);
    }
    // Rows that end with, just behind or just before a word of 64 columns.
    for (const int width : {1, 63, 64, 65, 128, 129, 1000}) {
      for (int i = 0; i < 20; ++i) CheckMask(RandomMask(random, width, 60, 2), width, 60);
    }
  });
}

TEST(Labelling, MergesTowardsTheSecondSet) {
  Labeller labeller(2);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(labeller.newLabel(), i);
  EXPECT_EQ(labeller.merge(0, 1), 0);
  EXPECT_EQ(labeller.table[0].parent, 1);
  EXPECT_EQ(labeller.merge(2, 3), 0);
  EXPECT_EQ(labeller.merge(0, 2), 0);
  EXPECT_EQ(labeller.table[1].parent, 3);
  EXPECT_EQ(labeller.merge(3, 0), 1);
  EXPECT_EQ(labeller.merge(-1, 0), -2007);
  EXPECT_EQ(labeller.merge(0, std::numeric_limits<int>::max()), -2007);
}

TEST(Labelling, RefusesWhatItCannotLabel) {
  Bytes mask = {1, 0, 1, 0};
  std::vector<int> labels(4, -5);
  Labeller labeller(2);
  EXPECT_EQ(labeller.connected(mask.data(), labels.data(), 0, 4), 0);
  EXPECT_EQ(labeller.connected(mask.data(), labels.data(), 4, -1), 0);
  EXPECT_EQ(labeller.labelImage(mask.data(), labels.data(), -3, -3), 0);
  EXPECT_EQ(labels, std::vector<int>(4, -5));
  EXPECT_EQ(labeller.connected(nullptr, labels.data(), 4, 1), -2007);
  EXPECT_EQ(labeller.labelImage(mask.data(), nullptr, 4, 1), -2007);

  // The third label needs a table that is not to be had; what was labelled stands.
  {
    const FailingMalloc no_table(0, true);
    EXPECT_EQ(labeller.labelImage(mask.data(), labels.data(), 4, 1), -2007);
    EXPECT_EQ(labels, (std::vector<int>{0, 1, -5, -5}));
    EXPECT_EQ(labeller.count, 2);
    EXPECT_EQ(labeller.connected(mask.data(), labels.data(), 4, 1), -2007);
  }

  Labeller none(1);
  none.capacity = 0;
  EXPECT_LT(none.newLabel(), 0);
}

}  // namespace
}  // namespace vantro::test

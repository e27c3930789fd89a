// The labeller by runs against one that looks at every pixel: labels, region numbers and the whole
// union-find table.
#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <vector>

#include "tests/mask/random_masks.h"
#include "tests/support/failing_malloc.h"

namespace vantro::test {
namespace {

// Merges towards the second of two sets, with the paths that are looked at halved.
struct PixelLabeller {
  std::vector<int> parent;

  int& Parent(int label) { return parent[static_cast<size_t>(label)]; }
  int New() {
    parent.push_back(static_cast<int>(parent.size()));
    return parent.back();
  }
  int Root(int label) {
    for (; Parent(label) != label; label = Parent(label)) Parent(label) = Parent(Parent(label));
    return label;
  }
  std::vector<int> Label(const Bytes& mask, int width) {
    std::vector<int> labels(mask.size());
    for (size_t at = 0; at < mask.size(); ++at) {
      const size_t above = at - static_cast<size_t>(width);
      const bool left = at % static_cast<size_t>(width) > 0 && mask[at] == mask[at - 1];
      const bool up = at >= static_cast<size_t>(width) && mask[at] == mask[above];
      if (left && up) {
        const int a = Root(labels[at - 1]), b = Root(labels[above]);
        if (a != b) Root(labels[above]), Root(labels[at - 1]), Parent(a) = b;
      }
      labels[at] = left ? labels[at - 1] : up ? labels[above] : New();
    }
    return labels;
  }
  // The number of each root in the order of the labels, and the number of roots behind them.
  std::vector<int> Regions() const {
    std::vector<int> regions(parent.size() + 1);
    for (size_t i = 0; i < parent.size(); ++i) {
      if (parent[i] == static_cast<int>(i)) regions[i] = regions.back()++;
    }
    return regions;
  }
};

void ExpectSameTable(const Labeller& labeller, size_t first_entries, const std::vector<int>& parent,
                     const std::vector<int>& regions) {
  ASSERT_EQ(labeller.count, static_cast<int>(parent.size()));
  // A table that starts with a power of two goes on to the next that is large enough.
  ASSERT_EQ(static_cast<size_t>(labeller.capacity),
            std::max(first_entries, std::bit_ceil(parent.size())));
  for (size_t i = 0; i < parent.size(); ++i) {
    ASSERT_EQ(labeller.table[i].label, static_cast<int>(i));
    ASSERT_EQ(labeller.table[i].parent, parent[i]) << "entry " << i;
    ASSERT_EQ(labeller.table[i].region, regions[i]) << "entry " << i;
  }
}

void CheckMask(Bytes mask, int width, int height) {
  SCOPED_TRACE(testing::Message() << width << "x" << height);
  PixelLabeller expected;
  std::vector<int> expected_labels = expected.Label(mask, width);
  std::vector<int> labels(mask.size(), -1);
  Labeller first_pass(1);
  ASSERT_EQ(first_pass.labelImage(mask.data(), labels.data(), width, height), 0);
  ASSERT_TRUE(SamePlanes(labels, expected_labels, width));
  ExpectSameTable(first_pass, 1, expected.parent, std::vector<int>(expected.parent.size(), 0));

  Labeller both(128);
  const std::vector<int> regions = expected.Regions();
  for (int& label : expected_labels) label = regions[static_cast<size_t>(expected.Root(label))];
  ASSERT_EQ(both.connected(mask.data(), labels.data(), width, height), regions.back());
  ASSERT_TRUE(SamePlanes(labels, expected_labels, width));
  ExpectSameTable(both, 128, expected.parent, regions);
}

TEST(Labelling, EqualsThePixelwiseLabeller) {
  Random random(7);
  for (int i = 0; i < 500; ++i) {
    const int width = random.Int(1, random.Int(0, 9) == 0 ? 300 : 70);
    const int height = random.Int(1, 40);
    CheckMask(RandomMask(random, width, height, random.Int(0, 1) == 0 ? 2 : 256), width, height);
  }
  // Rows that end with, just behind or just before a word of 64 columns.
  for (const int width : {1, 63, 64, 65, 128, 129, 1000}) {
    for (int i = 0; i < 20; ++i) CheckMask(RandomMask(random, width, 60, 2), width, 60);
  }
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
  }

  Labeller none(1);
  none.capacity = 0;
  EXPECT_LT(none.newLabel(), 0);
}

}  // namespace
}  // namespace vantro::test

// Both region filters, their steps and their failures.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/mask/random_masks.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/log_capture.h"
#include "tests/support/tracking_pool.h"
#include "vantro/algo_context.h"
#include "vantro/tracked_alloc.h"

namespace vantro::test {
namespace {

using ::testing::ElementsAre;

// A random mask and its regions.
struct Regions {
  int width, height;
  Bytes mask;
  std::vector<int> numbers;
  int count;

  explicit Regions(Random& random)
      : width(random.Int(1, 90)),
        height(random.Int(1, 60)),
        mask(RandomMask(random, width, height, 3)),
        numbers(mask.size()),
        count(Labeller(128).connected(mask.data(), numbers.data(), width, height)) {}

  // The mask with the regions alone for which keep(region) holds.
  template <typename Keep>
  Bytes Filtered(Keep keep) const {
    Bytes out = mask;
    for (size_t i = 0; i < mask.size(); ++i) {
      if (!keep(static_cast<size_t>(numbers[i]))) out[i] = 0;
    }
    return out;
  }
};

// The context and the hooks point at a tracking pool.
class RegionFilter : public testing::Test {
 protected:
  RegionFilter() {
    algo_.pool = pool_.get();
    fmalloc = pool_.get()->alloc;
    ffree = pool_.get()->free;
  }
  ~RegionFilter() override { fmalloc = nullptr, ffree = nullptr; }
  TrackingPool pool_;
  AlgoCxt algo_{};
};

TEST_F(RegionFilter, ClearsRegionsBelowThePercentage) {
  Random random(11);
  for (int i = 0; i < 150; ++i) {
    const Regions regions(random);
    const int percent = random.Int(0, 3) == 0 ? random.Int(-10, 120) : random.Int(0, 8);
    std::vector<int> area(static_cast<size_t>(regions.count));
    for (const int region : regions.numbers) ++area[static_cast<size_t>(region)];
    const int threshold = regions.width * regions.height * percent / 100;
    Bytes mask = regions.mask;
    ASSERT_EQ(connectionFilter(&algo_, mask.data(), regions.width, regions.height, percent), 0);
    ASSERT_EQ(mask, regions.Filtered([&](size_t r) { return area[r] >= threshold; }));
    ASSERT_THAT(pool_.events, ElementsAre("+result:" + std::to_string(4 * mask.size()), "-result"));
    pool_.events.clear();
  }
}

TEST_F(RegionFilter, KeepsARegionOfExactlyTheThreshold) {
  for (const int pixels : {4, 5}) {
    Bytes mask(100, 0);
    std::fill_n(mask.begin() + 20, pixels, uint8_t{1});
    EXPECT_EQ(connectionFilter(&algo_, mask.data(), 10, 10, 5), 0);
    EXPECT_EQ(std::count(mask.begin(), mask.end(), 1), pixels == 5 ? 5 : 0);
  }
  // The product wraps in 32 bits: 100 * 42949673 is 4 more than 2^32.
  Bytes mask(100, 1);
  mask[0] = 0;
  EXPECT_EQ(connectionFilter(&algo_, mask.data(), 10, 10, 42949673), 0);
  EXPECT_EQ(std::count(mask.begin(), mask.end(), 1), 99);
}

TEST_F(RegionFilter, ReportsFailuresAndLeavesTheMask) {
  const Bytes mask = {1, 0, 1, 0, 1, 0, 1, 0};
  Bytes filtered = mask;
  LogCapture log;
  EXPECT_EQ(connectionFilter(&algo_, filtered.data(), 0, 8, 5), -2006);
  EXPECT_EQ(connectionFilter(&algo_, filtered.data(), 8, -1, 5), -2006);
  EXPECT_EQ(connectionFilter(nullptr, filtered.data(), 8, 1, 5), -2007);
  EXPECT_EQ(pool_.allocations(), 0);
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(filtered, mask);
}

TEST_F(RegionFilter, KeepsRegionsThatTouchTheGuide) {
  Random random(13);
  for (int i = 0; i < 100; ++i) {
    const Regions regions(random);
    Bytes mask = regions.mask;
    Bytes guide(mask.size());
    for (uint8_t& byte : guide) byte = random.Int(0, 50) == 0 ? random.Byte() : 0;
    std::vector<int> touched(static_cast<size_t>(regions.count));
    for (size_t p = 0; p < mask.size(); ++p) {
      touched[static_cast<size_t>(regions.numbers[p])] |= guide[p];
    }
    LogCapture log;
    ASSERT_EQ(
        connectionFilterGuide(nullptr, mask.data(), guide.data(), regions.width, regions.height),
        0);
    ASSERT_EQ(mask, regions.Filtered([&](size_t r) { return touched[r] != 0; }));
    ASSERT_THAT(log.timing_labels(), ElementsAre("connNum_", "JudgeArea_", "getMaskbyBase_"));
    const std::string line =
        "[vantro]connectionFilterGuide connected_field=" + std::to_string(regions.count);
    ASSERT_THAT(log.lines(), ElementsAre(LogLine{4, "VANTRO", line}));
    ASSERT_THAT(pool_.events, ElementsAre("+Vantro:" + std::to_string(4 * mask.size()), "-Vantro"));
    pool_.events.clear();
  }
}

TEST_F(RegionFilter, GuidedReportsFailuresAndLeavesTheMask) {
  Bytes mask = {1, 0};
  Bytes guide = {0, 0};
  const auto filter = [&](int width, int height) {
    return connectionFilterGuide(nullptr, mask.data(), guide.data(), width, height);
  };
  EXPECT_EQ(filter(0, 1), -2006);
  EXPECT_EQ(filter(2, -1), -2006);
  EXPECT_EQ(connectionFilterGuide(nullptr, mask.data(), nullptr, 2, 1), -2007);
  pool_.FailAt(0);
  EXPECT_EQ(filter(2, 1), 2000);
  for (const int request : {1, 2}) {  // the table, the flags
    const FailingMalloc heap(request);
    EXPECT_EQ(filter(2, 1), 2000);
  }
  fmalloc = nullptr;
  EXPECT_EQ(filter(2, 1), 2000);
  EXPECT_EQ(mask, (Bytes{1, 0}));
}

TEST(RegionSteps, StopAtALabelThatIsNoRegion) {
  std::vector<int> labels = {0, 0, 1, 2, 1};
  Bytes guide = {4, 1, 8, 1, 1};
  std::vector<int> area(2, 10);
  std::vector<int> flags(2, 0);
  LogCapture log;
  EXPECT_EQ(calArea(labels.data(), 5, 1, 2, area.data()), -2007);
  EXPECT_EQ(JudgeArea(labels.data(), guide.data(), 5, 1, 2, flags.data()), -2007);
  EXPECT_THAT(area, ElementsAre(12, 11));
  EXPECT_THAT(flags, ElementsAre(5, 8));
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLine{6, "VANTRO", "enter JudgeArea ,line : 66    AREA ERROR"}));
  labels[3] = -1;
  EXPECT_EQ(calArea(labels.data(), 5, 1, 2, area.data()), -2007);
  EXPECT_EQ(calArea(labels.data(), 0, 1, 2, area.data()), 0);
  EXPECT_EQ(JudgeArea(labels.data(), guide.data(), 5, -1, 2, flags.data()), 0);
}

}  // namespace
}  // namespace vantro::test

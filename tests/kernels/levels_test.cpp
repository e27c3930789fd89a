// Every operation gives at the baseline what its formula says, gives the same bytes at every vector
// level of this processor, and touches nothing that it was not given.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/simd_level.h"
#include "tests/kernels/operations.h"

namespace vantro::test {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr uint32_t kCases = 60;
#else
constexpr uint32_t kCases = 400;
#endif

class Levels : public ::testing::TestWithParam<Operation> {
 protected:
  void TearDown() override { ForceSimdLevel(DetectSimdLevel()); }
};

std::vector<std::vector<uint8_t>> OutcomeAt(int level, uint32_t seed, std::string* notes) {
  ForceSimdLevel(static_cast<SimdLevel>(level));
  Case c(seed);
  if (level == 0) c.CheckFormulas();
  Levels::GetParam().call(c);
  EXPECT_TRUE(c.guards_intact()) << c.notes();
  EXPECT_EQ(c.Difference(), "") << "seed " << seed << ", sizes " << c.notes();
  *notes = c.notes();
  return c.Outcome();
}

TEST_P(Levels, GiveTheBaselinesBytes) {
  const int best = static_cast<int>(DetectSimdLevel());
  std::string notes;
  for (uint32_t seed = 0; seed < kCases; ++seed) {
    const auto expected = OutcomeAt(0, seed, &notes);
    if (HasFailure()) return;
    for (int level = 1; level <= best; ++level) {
      const auto outcome = OutcomeAt(level, seed, &notes);
      ASSERT_EQ(outcome.size(), expected.size());
      for (size_t buffer = 0; buffer < outcome.size(); ++buffer) {
        const auto& have = outcome[buffer];
        const auto& want = expected[buffer];
        const auto [at, other] = std::mismatch(have.begin(), have.end(), want.begin(), want.end());
        if (at == have.end() && other == want.end()) continue;
        FAIL() << SimdLevelName(static_cast<SimdLevel>(level)) << ", seed " << seed << ", sizes "
               << notes << ": buffer " << buffer << " of " << have.size() << " bytes differs at "
               << at - have.begin();
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Operations, Levels, ::testing::ValuesIn(AllOperations()),
                         [](const auto& operation) { return std::string(operation.param.name); });

}  // namespace
}  // namespace vantro::test

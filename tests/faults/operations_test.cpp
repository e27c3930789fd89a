// Every request for memory of every operation fails in turn, once and from then on: nothing leaks,
// what the operation answers and what it leaves behind is what its documentation says, and the
// next call works.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <string>

#include "tests/faults/failing_memory.h"
#include "tests/kernels/operations.h"
#include "tests/support/log_capture.h"

namespace vantro::test {
namespace {

using Outcome = std::vector<std::vector<uint8_t>>;

// What an operation does without memory.
struct Failure {
  std::set<int64_t> codes;  // what it may return; 0 where it returns nothing
  bool untouched;           // whether its buffers are as they were: some have a part done, or use
                            // them to work in
  const char* line;         // part of a log line that tells; null: none is promised
};

const Failure kUnblurred = {{-1}, true, "malloc failed!"};
const Failure kUnfinishedFrame = {{0}, false, "malloc error!"};  // whole channels are missing
const Failure kUnresized = {{0}, true, "malloc error!"};
const Failure kNoFlow = {{-1}, true, nullptr};

const std::map<std::string, Failure> kFailures = {
    {"ResizeUchar", kUnresized},
    {"ResizeUchar_C", kUnresized},
    {"ResizeUchar_upScale2x2", kUnresized},
    {"ResizeUcharChl", kUnresized},
    {"ResizeUYVYtoYChl", kUnresized},
    {"ResizeUYVYtoY", kUnresized},
    {"ResizeNV12toY", kUnresized},
    {"ResizeUcharNV21", kUnfinishedFrame},
    {"ResizeUcharNV12", kUnfinishedFrame},
    {"ResizeUcharUYVY", kUnfinishedFrame},
    {"resizeUcharRGB", {{0}, true, nullptr}},
    {"resizeUcharRGBChl", {{0}, true, nullptr}},
    {"guide_filter_acc", {{0, -1000}, false, "failed"}},  // 0: the filter refused, all is 128
    {"guided_filter_fast_detail_optm2", {{2000, 2008}, true, "r"}},
    {"guidedfilter_f", {{0}, true, "failed"}},
    {"boxfilter_iter_f", {{1}, true, nullptr}},
    // 0: the mask could not be stretched, which is logged alone.
    {"VantroObject", {{-1, 0}, false, nullptr}},
    {"erosion", {{0}, true, nullptr}},
    {"dilation", {{0}, true, nullptr}},
    {"opticalFKPolyExp", {{-1}, true, nullptr}},
    {"CompareOpticalFlow", {{-1, 0, 1}, true, nullptr}},  // 0, 1: from an image that is not blurred
    {"doOpticalFlow", {{-1, 0}, false, nullptr}},
    {"gaussian_blur", {{-1}, true, "gaussian_blur error!"}},
    {"GaussianBlur3x3_u8", kUnblurred},
    {"GaussianBlur5x5_u8", kUnblurred},
    {"GaussianBlur7x7_u8", kUnblurred},
    {"GaussianBlur9x9_u8", kUnblurred},
    {"GaussianBlur11x11_u8", kUnblurred},
    {"GaussianBlur13x13_u8", kUnblurred},
    {"GetFlashFlag", {{0, 3}, false, nullptr}},  // the flag: no flash is found
    {"connected", {{-2007}, false, nullptr}},
    {"connectionFilter", {{2000, -2005}, true, "r"}},
};

int64_t LastResult(const Outcome& outcome) {
  int64_t result = 0;
  const std::vector<uint8_t>& bytes = outcome.back();
  if (bytes.size() >= sizeof(result)) {
    std::memcpy(&result, bytes.data() + bytes.size() - sizeof(result), sizeof(result));
  }
  return result;
}

bool Logged(const LogCapture& log, const char* part) {
  const std::vector<LogLine> lines = log.lines();
  return std::any_of(lines.begin(), lines.end(), [&](const LogLine& line) {
    return line.level >= 4 && line.text.find(part) != std::string::npos;
  });
}

TEST(FailingMemory, LeavesEveryOperationWhole) {
  std::set<std::string> allocating;
  for (const Operation& operation : AllOperations()) {
    for (uint32_t seed = 0; seed < 12; ++seed) {
      SCOPED_TRACE(std::string(operation.name) + ", seed " + std::to_string(seed));
      Outcome expected;
      int requests = 0;
      {
        Case c(seed);
        const FailingMemory memory;
        operation.call(c);
        requests = memory.requests();
        EXPECT_EQ(memory.live(), 0);
        expected = c.Outcome();
      }
      if (requests > 0) allocating.insert(operation.name);
      for (int at = 0; at < requests; ++at) {
        for (const auto mode : {FailingMemory::kOnce, FailingMemory::kFromThenOn}) {
          Case c(seed);
          const LogCapture log;
          Outcome before;
          {
            FailingMemory memory(mode, at);
            memory.OnFirstRequest([&] { before = c.Outcome(); });
            operation.call(c);
            EXPECT_EQ(memory.live(), 0) << "request " << at;
          }
          EXPECT_TRUE(c.guards_intact());
          const Outcome outcome = c.Outcome();
          if (outcome == expected) continue;  // a way without the block
          const auto found = kFailures.find(operation.name);
          ASSERT_NE(found, kFailures.end());
          const Failure& failure = found->second;
          EXPECT_TRUE(failure.codes.contains(LastResult(outcome))) << LastResult(outcome);
          if (failure.untouched) {
            EXPECT_TRUE(std::equal(outcome.begin(), outcome.end() - 1, before.begin()));
          }
          if (failure.line != nullptr) {
            EXPECT_TRUE(Logged(log, failure.line));
          }
        }
      }
      Case again(seed);
      operation.call(again);
      EXPECT_EQ(again.Outcome(), expected) << "the next call";
    }
  }
  for (const auto& [name, failure] : kFailures) {
    EXPECT_TRUE(allocating.contains(name)) << name << " asks for no memory";
  }
}

}  // namespace
}  // namespace vantro::test

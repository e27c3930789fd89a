// Every request for memory of every operation fails in turn, once and from then on: nothing leaks,
// what the operation answers, logs and leaves behind is what its documentation says, and the next
// call works.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <string>

#include "tests/kernels/operations.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/log_capture.h"

namespace vantro::test {
namespace {

using Bytes = std::vector<uint8_t>;
using Outcome = std::vector<Bytes>;  // every buffer that could be written, then the results

// What an operation leaves in its buffers.
enum class Left {
  kAll,         // as it was
  kSome,        // each byte as it was, or as it would be with memory: whole channels are missing
  kNeutral,     // every byte as it was, or 128
  kMask,        // the mask, which is the first buffer, as it was; anything in the others
  kMotionSlot,  // as with memory, but for the one slot of the motion ring that this frame writes
  kField,       // a field of another image
};

// One way to fail. An operation without a row gives the same result without the block.
struct Failure {
  std::vector<int64_t> codes;  // everything that the operation answers
  Left left;
  std::vector<std::string> lines;  // errors that are logged; parts of them
};

const std::vector<Failure> kUnblurred = {
    {{-1}, Left::kAll, {"[VANTRO] puc_buff malloc failed!\n"}}};
const std::vector<Failure> kUnfinished = {{{}, Left::kSome, {"ResizeUcharChl 795 malloc error!"}}};
const std::vector<Failure> kPlainUnresized = {{{}, Left::kAll, {"ResizeUchar 253 malloc error!"}}};
const std::vector<Failure> kLumaUnresized = {
    {{}, Left::kAll, {"ResizeUYVYtoYChl 416 malloc error!"}}};
const std::vector<Failure> kUntouched = {{{}, Left::kAll, {}}};

const std::map<std::string, std::vector<Failure>> kFailures = {
    {"ResizeUchar", {{{}, Left::kAll, {"Resize 595 malloc error!"}}}},
    {"ResizeUchar_C", kPlainUnresized},
    {"ResizeUchar_upScale2x2", kPlainUnresized},
    {"ResizeUcharChl", {{{}, Left::kAll, {"ResizeUcharChl 795 malloc error!"}}}},
    {"ResizeUYVYtoYChl", kLumaUnresized},
    {"ResizeUYVYtoY", kLumaUnresized},
    {"ResizeNV12toY", kLumaUnresized},
    {"ResizeUcharNV21", kUnfinished},
    {"ResizeUcharNV12", kUnfinished},
    {"ResizeUcharUYVY", kUnfinished},
    {"guide_filter_acc",
     {{{-1000}, Left::kAll, {"guide_filter_acc malloc buff failed\n"}},
      {{0}, Left::kNeutral, {"guided_filter_fast_detail_optm1  failed\n"}}}},
    {"guided_filter_fast_detail_optm2",
     {{{2000}, Left::kAll, {"Memory Allocating Error!"}},
      {{2008}, Left::kAll, {"NNeighbor2() malloc failed!", "NNeighbor Error!"}},
      {{2008},
       Left::kAll,
       {"Error in memory allocation",
        "guided_filter_fast_detail_optm2 Error in GF_meanab_part456"}},
      {{2008}, Left::kAll, {"mean_a_sub or mean_b_sub id malloc failed\n"}}}},
    {"guidedfilter_f",
     {{{}, Left::kAll, {"malloc mean_a is failed!\n"}},
      {{}, Left::kAll, {"malloc mean_b is failed!\n"}},
      {{}, Left::kAll, {"malloc is failed 2974\n", "guidedFilter_core_f is failed\n"}},
      {{}, Left::kAll, {"boxfilter_iter_f is failed!\n", "guidedFilter_core_f is failed\n"}}}},
    {"boxfilter_iter_f", {{{1}, Left::kAll, {}}}},
    {"VantroObject", {{{-1}, Left::kAll, {}}, {{-1}, Left::kAll, {"Resize 595 malloc error!"}}}},
    {"erosion", kUntouched},
    {"dilation", kUntouched},
    {"opticalFKPolyExp", {{{-1}, Left::kAll, {}}}},
    {"CompareOpticalFlow",
     {{{-1}, Left::kAll, {"Malloc OF_Handler Failed!", "opticalFlow_Init Failed!"}},
      {{-1}, Left::kAll, {"Malloc Buffer Failed!!", "opticalFlow_Init Failed!"}},
      {{-1}, Left::kAll, {"ResizeUchar 253 malloc error!", "build Frame pyramid Failed"}},
      {{-1}, Left::kAll, {"ResizeUchar 253 malloc error!", "doOpticalFlow Failed!"}},
      {{-1}, Left::kAll, {"doOpticalFlow_global_t Failed!"}},
      {{-1}, Left::kAll, {"doOpticalFlow_local_t Failed!"}},
      // An image that is not blurred for want of memory is expanded as it is.
      {{0}, Left::kAll, {"gaussian_blur error!"}},
      {{1}, Left::kAll, {"gaussian_blur error!"}}}},
    {"doOpticalFlow",  // creation, first image, second image
     {{{-1}, Left::kAll, {"Malloc OF_Handler Failed!"}},
      {{-1}, Left::kAll, {"Malloc Buffer Failed!!"}},
      {{0, -1, -1}, Left::kField, {"ResizeUchar 253 malloc error!"}},
      {{0, 0, -1}, Left::kField, {"ResizeUchar 253 malloc error!", "build OF Pyramid Failed!"}},
      {{0, 0, 0}, Left::kField, {"gaussian_blur error!"}}}},
    {"gaussian_blur",
     {{{-1}, Left::kAll, {"[VANTRO] cf Malloc failed!\n", "[VANTRO] gaussian_blur error!!!\n"}},
      {{-1},
       Left::kAll,
       {"[VANTRO] puc_buff malloc failed!\n", "[VANTRO] gaussian_blur error!, k_length["}}}},
    {"GaussianBlur3x3_u8", kUnblurred},
    {"GaussianBlur5x5_u8", kUnblurred},
    {"GaussianBlur7x7_u8", kUnblurred},
    {"GaussianBlur9x9_u8", kUnblurred},
    {"GaussianBlur11x11_u8", kUnblurred},
    {"GaussianBlur13x13_u8", kUnblurred},
    {"GetFlashFlag",  // the result and the flag
     {{{-1, 3}, Left::kAll, {"y_down or lastY_down is error!\n"}},
      {{-1, 3}, Left::kAll, {"ResizeUYVYtoYChl 416 malloc error!"}},
      {{0, 3}, Left::kMotionSlot, {"Failed"}},
      {{0, 0}, Left::kMotionSlot, {"Failed"}},
      {{0, 3}, Left::kMotionSlot, {"gaussian_blur error!"}},
      {{0, 0}, Left::kMotionSlot, {"gaussian_blur error!"}}}},
    {"connected", {{{-2007}, Left::kMask, {}}}},
    {"connectionFilter", {{{2000}, Left::kAll, {"result is malloc failed\n"}}}},
};

std::vector<int64_t> Results(const Outcome& outcome) {
  std::vector<int64_t> results(outcome.back().size() / sizeof(int64_t));
  if (!results.empty()) std::memcpy(results.data(), outcome.back().data(), outcome.back().size());
  return results;
}

// True if each byte is one of the two others' there, or `fill`.
bool IsMixedFrom(const Bytes& bytes, const Bytes& a, const Bytes& b, int fill) {
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (bytes[i] != a[i] && bytes[i] != b[i] && bytes[i] != fill) return false;
  }
  return true;
}

// Slots of the motion ring that hold something else.
int OtherSlots(const Bytes& ring, const Bytes& expected) {
  int count = 0;
  for (size_t i = 0; i < ring.size(); i += sizeof(int32_t)) {
    count += std::memcmp(&ring[i], &expected[i], sizeof(int32_t)) == 0 ? 0 : 1;
  }
  return count;
}

bool LeftIn(Left left, const Outcome& outcome, const Outcome& before, const Outcome& expected) {
  constexpr size_t kMotionRing = 2;  // behind the mask and the flash ring
  for (size_t i = 0; i + 1 < outcome.size(); ++i) {
    const bool as_before = outcome[i] == before[i];
    switch (left) {
      case Left::kAll:
        if (!as_before) return false;
        break;
      case Left::kSome:
        if (!IsMixedFrom(outcome[i], before[i], expected[i], -1)) return false;
        break;
      case Left::kNeutral:
        if (!IsMixedFrom(outcome[i], before[i], before[i], 128)) return false;
        break;
      case Left::kMask:
        if (i == 0 && !as_before) return false;
        break;
      case Left::kMotionSlot:
        if (i != kMotionRing && outcome[i] != expected[i]) return false;
        if (i == kMotionRing && OtherSlots(outcome[i], expected[i]) != 1) return false;
        break;
      case Left::kField:
        break;
    }
  }
  return true;
}

bool Logged(const std::vector<LogLine>& log, const std::string& part) {
  return std::any_of(log.begin(), log.end(), [&](const LogLine& line) {
    return line.level == 6 && line.text.find(part) != std::string::npos;
  });
}

class FaultyOperation : public ::testing::TestWithParam<Operation> {};

TEST_P(FaultyOperation, FailsAsDocumented) {
  const Operation& operation = GetParam();
  const auto found = kFailures.find(operation.name);
  bool failed = false;
  for (uint32_t seed = 0; seed < 12; ++seed) {
    Outcome expected;
    int requests = 0;
    {
      Case c(seed);
      const FailingMalloc memory;
      operation.call(c);
      requests = static_cast<int>(memory.sizes().size());
      EXPECT_EQ(memory.live(), 0);
      expected = c.Outcome();
    }
    for (int at = 0; at < requests; ++at) {
      for (const bool from_then_on : {false, true}) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", request " + std::to_string(at));
        Case c(seed);
        const LogCapture log;
        Outcome before;
        {
          FailingMalloc memory(at, from_then_on);
          memory.OnFirstRequest([&] { before = c.Outcome(); });
          operation.call(c);
          EXPECT_EQ(memory.live(), 0);
        }
        EXPECT_TRUE(c.guards_intact());
        const Outcome outcome = c.Outcome();
        if (outcome == expected) continue;  // a way without the block
        failed = true;
        ASSERT_NE(found, kFailures.end());
        const std::vector<LogLine> lines = log.lines();
        const auto is_this = [&](const Failure& failure) {
          return failure.codes == Results(outcome) &&
                 LeftIn(failure.left, outcome, before, expected) &&
                 std::all_of(failure.lines.begin(), failure.lines.end(),
                             [&](const std::string& line) { return Logged(lines, line); });
        };
        EXPECT_TRUE(std::any_of(found->second.begin(), found->second.end(), is_this))
            << ::testing::PrintToString(Results(outcome)) << ::testing::PrintToString(lines);
      }
    }
    Case again(seed);
    operation.call(again);
    EXPECT_EQ(again.Outcome(), expected) << "the next call";
  }
  EXPECT_EQ(failed, found != kFailures.end()) << "a row without a failure";
}

INSTANTIATE_TEST_SUITE_P(All, FaultyOperation, ::testing::ValuesIn(AllOperations()),
                         [](const auto& operation) { return std::string(operation.param.name); });

}  // namespace
}  // namespace vantro::test

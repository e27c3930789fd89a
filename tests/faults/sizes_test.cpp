// Sizes at the ends of what an int holds, beyond those that the fuzzers draw: where they ask for
// more memory than 32 bits count, the operation refuses.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <climits>
#include <utility>
#include <vector>

#include "tests/support/log_capture.h"
#include "tests/support/tracking_pool.h"
#include "vantro/algo_context.h"
#include "vantro/diagnostics.h"
#include "vantro/image.h"
#include "vantro/mask.h"
#include "vantro/motion.h"
#include "vantro/render.h"
#include "vantro/tracked_alloc.h"

namespace vantro::test {
namespace {

class HostileSizes : public ::testing::Test {
 protected:
  HostileSizes() { fmalloc = pool_.get()->alloc, ffree = pool_.get()->free; }
  ~HostileSizes() override { fmalloc = nullptr, ffree = nullptr; }

  TrackingPool pool_;
  LogCapture log_;
};

// The steps that no fuzzer calls. At these addresses there is nothing to read or write.
TEST_F(HostileSizes, NothingToDoTouchesNothing) {
  auto* const bytes = reinterpret_cast<uint8_t*>(8);
  auto* const floats = reinterpret_cast<float*>(8);
  auto* const ints = reinterpret_cast<int*>(8);
  for (const int none : {INT_MIN, INT_MIN + 1, -65536, -1, 0}) {
    for (const int other : {INT_MIN, -1, 0, 1, 17, INT_MAX}) {
      for (const auto& [width, height] : {std::pair{none, other}, {other, none}}) {
        __convertToFloat(bytes, floats, width, height);
        __pointMulit(floats, 2.0f, width, height);
        transpose(reinterpret_cast<double*>(8), width, height);
        resizeUcharRGBChl(bytes, bytes, 8, 8, width, height);
        resizeUcharRGBChl(bytes, bytes, width, height, 8, 8);
      }
      upScale4x4BorderRows(bytes, bytes, bytes, bytes, none, 1, 1);
      getMaskBase_part(bytes, ints, none, 0, other, ints);
    }
  }
}

TEST_F(HostileSizes, ScratchMemoryPast32BitsIsRefused) {
  constexpr int kSide = 65536;
  uint8_t byte = 7;
  float number = 7;
  const unsigned short weights[13] = {};
  EXPECT_EQ(GaussianBlur3x3_u8(&byte, &byte, kSide, kSide, kSide, kSide, weights), -1);
  EXPECT_EQ(GaussianBlur13x13_u8(&byte, &byte, INT_MAX, INT_MAX, INT_MAX, INT_MAX, weights), -1);
  EXPECT_EQ(getInvMat(&number, &number, 46341), -1);
  EXPECT_EQ(CompareOpticalFlow(&byte, &byte, 0, kSide, kSide, 0, 0, 0, 1, 1), -1);
  ME_Handler* flow = reinterpret_cast<ME_Handler*>(&number);
  EXPECT_EQ(opticalFlow_Init(&flow, 4, 0.5f, INT_MAX, INT_MAX), -1);
  EXPECT_EQ(flow, nullptr);
  erosion(&byte, kSide, kSide, 1);
  dilation(&byte, INT_MAX, INT_MAX, 1);
  EXPECT_EQ(connectionFilterGuide(nullptr, &byte, &byte, kSide, kSide), 2000);
  EXPECT_EQ(save_bmp_file("/no such folder/file", &byte, kSide, kSide, 3, 0), -1);
  EXPECT_EQ(byte, 7);

  // A mask of that size counts as empty.
  uint8_t subject = 1, type = 0;
  int answer = -1;
  EXPECT_EQ(CheckMask(&subject, kSide, kSide, &answer), 0);
  EXPECT_EQ(answer, 0);
  EXPECT_EQ(PreserveObjMask(&subject, 46341, 46341, 3, &answer), 0);
  EXPECT_EQ(ComputeMaskArea(&subject, kSide, kSide, kSide, kSide), 0);
  AlgoCxt cxt = {};
  EXPECT_EQ(GetSubject(&cxt, &subject, kSide, kSide, &type), 0);
  Vantro_t record = {};
  record.width = record.height = 8;
  record.mask = &subject;
  record.maskw = record.maskh = 46341;
  EXPECT_EQ(GetROI(&cxt, record, &answer), 0);
  EXPECT_EQ(answer, 4);
  EXPECT_EQ(cxt.roi_state, 4);
  EXPECT_EQ(subject, 1);

  // The total of what was asked for stays where it is when it is full.
  for (int i = 0; i < 3; ++i) __Free(__Malloc(INT_MAX, "large"), "large");
  log_.clear();
  showMemTotal(1);
  EXPECT_TRUE(log_.contains("frame: 1  mem use: 2147483647"));
}

TEST_F(HostileSizes, AColourRowMayHaveMoreSamplesThanAnIntCounts) {
  constexpr int kWidth = 1 << 30;
  constexpr size_t kBytes = size_t{3} * kWidth, kLastSampled = kBytes / 4 * 3;
  void* const pages = mmap(nullptr, kBytes, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(pages, MAP_FAILED);
  auto* const src = static_cast<uint8_t*>(pages);
  ASSERT_EQ(mprotect(src + kLastSampled, 4096, PROT_READ | PROT_WRITE), 0);
  for (const size_t i : {0u, 1u, 2u}) src[kLastSampled + i] = static_cast<uint8_t>(i + 1);
  std::vector<uint8_t> dst(12, 7);
  resizeUcharRGB(src, dst.data(), kWidth, 1, 4, 1);
  EXPECT_EQ(dst, (std::vector<uint8_t>{0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3}));
  munmap(pages, kBytes);
}

}  // namespace
}  // namespace vantro::test

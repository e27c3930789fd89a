// Whole handles when something fails: memory at any request of opening, frames and photos; the disk
// under the dumps; and calls that come in the wrong order.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "tests/support/engine_fixture.h"
#include "tests/support/failing_malloc.h"
#include "vantro/vantro.h"

namespace {
int dumps = 0;
}  // namespace

extern "C" {
// The folder of the dumps lies on a full disk.
std::FILE* __real_fopen(const char* path, const char* mode);
std::FILE* __wrap_fopen(const char* path, const char* mode) {
  const bool dump = std::string(path).find("/data/vendor/camera/img/") == 0;
  if (dump) ++dumps;
  return __real_fopen(dump ? "/dev/full" : path, mode);
}
}

namespace vantro::test {
namespace {

constexpr int kWidth = 96;
constexpr int kHeight = 64;
constexpr size_t kFrameBytes = kWidth * kHeight * 3 / 2;

Vantro_t Record(std::vector<uint8_t>& frame, std::vector<uint8_t>* last) {
  Vantro_t record = {};
  record.yuv = frame.data();
  record.last_yuv = last == nullptr ? nullptr : last->data();
  record.width = record.stride = kWidth;
  record.height = kHeight;
  return record;
}

// What a run over a handle's life gave.
struct Trace {
  std::vector<int32_t> codes;  // of opening and of each frame
  std::vector<std::vector<uint8_t>> pictures;
  bool operator==(const Trace&) const = default;
};

// Opens, renders a few frames with the first of them again after a reset, closes.
Trace RunVideo(MemPool* pool) {
  Trace trace;
  void* handle = nullptr;
  trace.codes.push_back(Vantro_Init(&handle, "", pool));
  std::vector<uint8_t> frames[2];
  frames[1].assign(kFrameBytes, 9);
  for (int i = 0; i < 6; ++i) {
    frames[i % 2].assign(kFrameBytes, static_cast<uint8_t>(40 * i));
    Vantro_t record = Record(frames[i % 2], &frames[1 - i % 2]);
    record.reset_flag = i == 3;
    trace.codes.push_back(Vantro_Process(handle, &record, nullptr));
    trace.pictures.push_back(frames[1 - i % 2]);
  }
  Vantro_Deinit(&handle);
  EXPECT_EQ(handle, nullptr);
  return trace;
}

Trace RunPhoto(MemPool* pool) {
  Trace trace;
  void* handle = nullptr;
  trace.codes.push_back(VantroPhoto_Init(&handle, "", pool));
  for (const uint8_t luma : {uint8_t{50}, uint8_t{140}}) {
    std::vector<uint8_t> frame(kFrameBytes, luma);
    Vantro_t record = Record(frame, nullptr);
    trace.codes.push_back(VantroPhoto_Process(handle, &record, nullptr));
    trace.pictures.push_back(frame);
  }
  VantroPhoto_Deinit(&handle);
  EXPECT_EQ(handle, nullptr);
  return trace;
}

// Both families. There is nobody in bright frames.
class Handles : public EngineFixture,
                public ::testing::WithParamInterface<Trace (*)(MemPool* pool)> {
 protected:
  void SetUp() override {
    EngineFixture::SetUp();
    script().process = [](const SegmentCall& call) {
      const int32_t code = SegmentEllipse(call, 64, 48);
      if (call.frame[0] > 100) std::fill_n(call.mask_out, 64 * 48, uint8_t{0});
      return code;
    };
  }
  Trace Run() { return GetParam()(pool_.get()); }
};

TEST_P(Handles, SurviveEveryFailedRequest) {
  Trace expected;
  int requests = 0;
  {
    const FailingMalloc memory;
    expected = Run();
    requests = static_cast<int>(memory.sizes().size());
    EXPECT_EQ(memory.live(), 0);
  }
  EXPECT_EQ(expected.codes, std::vector<int32_t>(expected.codes.size(), 0));
  ASSERT_GT(requests, 10);
  bool without_threads = false;
  for (int at = 0; at < requests; ++at) {
    for (const bool from_then_on : {false, true}) {
      SCOPED_TRACE("request " + std::to_string(at));
      log_.clear();
      std::vector<int32_t> codes;
      {
        const FailingMalloc memory(at, from_then_on);
        codes = Run().codes;
        EXPECT_EQ(memory.live(), 0);
      }
      const bool opened = codes[0] == 0;
      if (!opened) {  // every frame is refused
        const bool no_threads = log_.contains("[vantro] Vantro_Init cxt_ptr->th_pool err!");
        const bool input = no_threads || log_.contains("[vantro] Vantro_Init cxt_ptr->box err!") ||
                           log_.contains("[vantro] Vantro_Init cxt_ptr->box_vantro err!");
        without_threads |= no_threads;
        EXPECT_EQ(codes[0], input ? VANTRO_ERR_INPUT : VANTRO_ERR_OPEN);
      }
      EXPECT_EQ(log_.contains("Vantro_Init cxt malloc fail!!"), at == 0);
      for (size_t i = 1; i < codes.size(); ++i) {
        if (opened && codes[i] == 0) continue;
        EXPECT_EQ(codes[i], opened ? VANTRO_ERR_FAILED : VANTRO_ERR_INPUT);
        EXPECT_EQ(log_.contains("cxt_ptr->firstFrameIdxTempYuv Malloc is failed\n"), opened);
      }
    }
    ASSERT_EQ(Run(), expected);
  }
  EXPECT_EQ(without_threads, GetParam() == &RunVideo) << "photos need no threads";
}

TEST_P(Handles, DumpsOntoAFullDiskChangeNothing) {
  dumps = 0;
  const Trace expected = Run();
  EXPECT_EQ(dumps, 0);
  for (const char* family : {"Vantro", "VantroPhoto"}) {
    Properties()[std::string("vendor.qz") + family + ".isDumpImg"] = "1";
  }
  const auto before = OpenFiles();
  // Without a failed request first, then with each of them.
  for (int at = -1, requests = 0; at < requests; ++at) {
    const FailingMalloc memory(at);
    const Trace trace = Run();
    EXPECT_EQ(memory.live(), 0);
    EXPECT_EQ(OpenFiles(), before);
    if (at >= 0) continue;
    EXPECT_EQ(trace, expected);
    EXPECT_GE(dumps, 3);  // mask, frame before and after
    requests = static_cast<int>(memory.sizes().size());
  }
}

INSTANTIATE_TEST_SUITE_P(Families, Handles, ::testing::Values(&RunVideo, &RunPhoto),
                         [](const auto& test) { return test.index == 0 ? "Video" : "Photo"; });

using HandleCalls = EngineFixture;

// Bad records are the hostile host's in tests/endurance.
TEST_F(HandleCalls, WrongHandlesAreRefused) {
  std::vector<uint8_t> frame(kFrameBytes, 77);
  std::vector<uint8_t> last(kFrameBytes, 78);
  Vantro_t video_frame = Record(frame, &last);
  Vantro_t photo_frame = Record(frame, nullptr);
  std::vector<uint64_t> block(512, 0x0101010101010101);
  void* const no_handle = block.data();
  void* video = nullptr;
  void* photo = nullptr;
  ASSERT_EQ(Vantro_Init(&video, "", pool_.get()), 0);
  ASSERT_EQ(VantroPhoto_Init(&photo, "", pool_.get()), 0);
  for (void* handle : {no_handle, photo, static_cast<void*>(nullptr)}) {
    EXPECT_EQ(Vantro_Process(handle, &video_frame, nullptr), VANTRO_ERR_INPUT);
  }
  for (void* handle : {no_handle, video, static_cast<void*>(nullptr)}) {
    EXPECT_EQ(VantroPhoto_Process(handle, &photo_frame, nullptr), VANTRO_ERR_INPUT);
  }
  EXPECT_EQ(Vantro_Process(video, nullptr, nullptr), VANTRO_ERR_INPUT);
  EXPECT_EQ(VantroPhoto_Process(photo, nullptr, nullptr), VANTRO_ERR_INPUT);
  EXPECT_EQ(frame, std::vector<uint8_t>(kFrameBytes, 77));
  EXPECT_EQ(last, std::vector<uint8_t>(kFrameBytes, 78));
  void* handle = no_handle;
  Vantro_Deinit(&handle);
  VantroPhoto_Deinit(&handle);
  EXPECT_EQ(handle, no_handle);
  for (int times = 0; times < 2; ++times) {
    Vantro_Deinit(&video);
    VantroPhoto_Deinit(&photo);
    EXPECT_EQ(video, nullptr);
    EXPECT_EQ(photo, nullptr);
  }
}

}  // namespace
}  // namespace vantro::test

// Whole handles when something fails: memory at any request of opening, frames and photos; the
// worker's thread; and calls that come in the wrong order.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>
#include <string>
#include <vector>

#include "tests/faults/failing_memory.h"
#include "tests/support/engine_fixture.h"
#include "vantro/vantro.h"

namespace {
bool no_threads = false;
}

extern "C" {
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*routine)(void*), void* argument);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*routine)(void*), void* argument) {
  return no_threads ? EAGAIN : __real_pthread_create(thread, attributes, routine, argument);
}
}

namespace vantro::test {
namespace {

constexpr int kWidth = 96;
constexpr int kHeight = 64;
constexpr size_t kFrameBytes = kWidth * kHeight * 3 / 2;

class Handles : public EngineFixture {
 protected:
  static Vantro_t Record(std::vector<uint8_t>& frame, std::vector<uint8_t>* last) {
    Vantro_t record = {};
    record.yuv = frame.data();
    record.last_yuv = last == nullptr ? nullptr : last->data();
    record.width = record.stride = kWidth;
    record.height = kHeight;
    return record;
  }

  // Opens, renders a few frames with the first of them again after a reset, closes. Adds the result
  // of every call to `codes` and, where `pictures` is given, the rendered frames.
  static void Video(std::vector<int32_t>* codes, std::vector<std::vector<uint8_t>>* pictures) {
    void* handle = nullptr;
    codes->push_back(Vantro_Init(&handle, "", FailingMemory::Pool()));
    std::vector<uint8_t> frames[2];
    for (int i = 0; i < 6; ++i) {
      frames[i % 2].assign(kFrameBytes, static_cast<uint8_t>(40 * i));
      if (i == 0) frames[1].assign(kFrameBytes, 9);
      Vantro_t record = Record(frames[i % 2], &frames[1 - i % 2]);
      record.reset_flag = i == 3;
      codes->push_back(Vantro_Process(handle, &record, nullptr));
      if (pictures != nullptr) pictures->push_back(frames[1 - i % 2]);
    }
    Vantro_Deinit(&handle);
    EXPECT_EQ(handle, nullptr);
  }

  static void Photo(std::vector<int32_t>* codes, std::vector<std::vector<uint8_t>>* pictures) {
    void* handle = nullptr;
    codes->push_back(VantroPhoto_Init(&handle, "", FailingMemory::Pool()));
    for (int i = 0; i < 2; ++i) {
      std::vector<uint8_t> frame(kFrameBytes, static_cast<uint8_t>(90 * i + 50));
      const Vantro_t record = Record(frame, nullptr);
      Vantro_t copy = record;
      codes->push_back(VantroPhoto_Process(handle, &copy, nullptr));
      if (pictures != nullptr) pictures->push_back(frame);
    }
    VantroPhoto_Deinit(&handle);
    EXPECT_EQ(handle, nullptr);
  }
};

// How an Init tells what it could not have.
struct Refusal {
  int32_t code;
  const char* line;
};

constexpr Refusal kRefusals[] = {
    {VANTRO_ERR_OPEN, "Vantro_Init cxt malloc fail!!"},
    {VANTRO_ERR_INPUT, "[vantro] Vantro_Init cxt_ptr->box err!"},
    {VANTRO_ERR_INPUT, "[vantro] Vantro_Init cxt_ptr->box_vantro err!"},
    {VANTRO_ERR_INPUT, "[vantro] Vantro_Init cxt_ptr->th_pool err!"},
    {VANTRO_ERR_OPEN, "cxt_ptr->algoInterface is malloc failed!\n"},
    {VANTRO_ERR_OPEN, "cxt_ptr->algoInterface  ERROR\n"},
    {VANTRO_ERR_OPEN, "cxt_ptr->mask is malloc failed\n"},
    {VANTRO_ERR_OPEN, "cxt_ptr->mask error!\n"},
    {VANTRO_ERR_OPEN, "cxt_ptr->lastMask error!\n"},
    {VANTRO_ERR_OPEN, "cxt_ptr->move_flag is malloc failed\n"},
};

// Exactly one of the lines was logged, and the code is its; or none, for the algorithm context.
bool IsDocumented(int32_t code, const LogCapture& log) {
  int logged = 0;
  bool matches = code == VANTRO_ERR_OPEN;
  for (const Refusal& refusal : kRefusals) {
    if (!log.contains(refusal.line)) continue;
    ++logged;
    matches = code == refusal.code;
  }
  return matches && logged <= 1;
}

using Run = void (*)(std::vector<int32_t>*, std::vector<std::vector<uint8_t>>*);

void FailEveryRequest(Run run, LogCapture& log) {
  std::vector<int32_t> codes;
  std::vector<std::vector<uint8_t>> expected;
  int requests = 0;
  {
    const FailingMemory memory;
    run(&codes, &expected);
    requests = memory.requests();
    EXPECT_EQ(memory.live(), 0);
  }
  EXPECT_EQ(codes, std::vector<int32_t>(codes.size(), 0));
  ASSERT_GT(requests, 10);
  for (int at = 0; at < requests; ++at) {
    for (const auto mode : {FailingMemory::kOnce, FailingMemory::kFromThenOn}) {
      SCOPED_TRACE("request " + std::to_string(at));
      log.clear();
      std::vector<int32_t> failed;
      {
        const FailingMemory memory(mode, at);
        run(&failed, nullptr);
        EXPECT_EQ(memory.live(), 0);
      }
      if (failed[0] != 0) {  // not opened: every frame is refused
        EXPECT_TRUE(IsDocumented(failed[0], log)) << failed[0];
        for (size_t i = 1; i < failed.size(); ++i) EXPECT_EQ(failed[i], VANTRO_ERR_INPUT);
        continue;
      }
      for (size_t i = 1; i < failed.size(); ++i) {
        EXPECT_TRUE(failed[i] == 0 || failed[i] == VANTRO_ERR_FAILED) << failed[i];
        if (failed[i] == VANTRO_ERR_FAILED) {
          EXPECT_TRUE(log.contains("cxt_ptr->firstFrameIdxTempYuv Malloc is failed\n"));
        }
      }
    }
    log.clear();
    std::vector<std::vector<uint8_t>> pictures;
    std::vector<int32_t> again;
    run(&again, &pictures);
    ASSERT_EQ(again, codes);
    ASSERT_EQ(pictures, expected);
  }
}

TEST_F(Handles, VideoSurvivesEveryFailedRequest) { FailEveryRequest(&Video, log_); }
TEST_F(Handles, PhotoSurvivesEveryFailedRequest) { FailEveryRequest(&Photo, log_); }

TEST_F(Handles, VideoDoesNotOpenWithoutAThread) {
  void* handle = &handle;
  no_threads = true;
  EXPECT_EQ(Vantro_Init(&handle, "", pool_.get()), VANTRO_ERR_INPUT);
  no_threads = false;
  EXPECT_EQ(handle, nullptr);
  EXPECT_TRUE(log_.contains("[vantro] Vantro_Init cxt_ptr->th_pool err!"));
}

TEST_F(Handles, CallsInTheWrongOrderAreRefused) {
  std::vector<uint8_t> frame(kFrameBytes, 77);
  std::vector<uint8_t> last(kFrameBytes, 78);
  Vantro_t video_frame = Record(frame, &last);
  Vantro_t photo_frame = Record(frame, nullptr);
  EXPECT_EQ(Vantro_Process(nullptr, &video_frame, nullptr), VANTRO_ERR_INPUT);
  EXPECT_EQ(VantroPhoto_Process(nullptr, &photo_frame, nullptr), VANTRO_ERR_INPUT);

  void* video = nullptr;
  void* photo = nullptr;
  ASSERT_EQ(Vantro_Init(&video, "", pool_.get()), 0);
  ASSERT_EQ(VantroPhoto_Init(&photo, "", pool_.get()), 0);
  // A handle of the other family, and each family's record in the other's call.
  EXPECT_EQ(Vantro_Process(photo, &video_frame, nullptr), VANTRO_ERR_INPUT);
  EXPECT_EQ(VantroPhoto_Process(video, &photo_frame, nullptr), VANTRO_ERR_INPUT);
  EXPECT_EQ(Vantro_Process(video, &photo_frame, nullptr), VANTRO_ERR_INPUT);
  EXPECT_EQ(VantroPhoto_Process(photo, &video_frame, nullptr), VANTRO_ERR_INPUT);
  EXPECT_EQ(Vantro_Process(video, nullptr, nullptr), VANTRO_ERR_INPUT);
  EXPECT_EQ(VantroPhoto_Process(photo, nullptr, nullptr), VANTRO_ERR_INPUT);
  EXPECT_EQ(frame, std::vector<uint8_t>(kFrameBytes, 77));
  EXPECT_EQ(last, std::vector<uint8_t>(kFrameBytes, 78));

  // Refusals in the middle of a sequence, with a segmentation outstanding, change nothing in it.
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(Vantro_Process(video, &video_frame, nullptr), 0);
    EXPECT_EQ(Vantro_Process(video, &photo_frame, nullptr), VANTRO_ERR_INPUT);
  }
  EXPECT_EQ(VantroPhoto_Process(photo, &photo_frame, nullptr), 0);

  Vantro_Deinit(&video);
  VantroPhoto_Deinit(&photo);
  EXPECT_EQ(video, nullptr);
  EXPECT_EQ(photo, nullptr);
  Vantro_Deinit(&video);
  VantroPhoto_Deinit(&photo);
  EXPECT_EQ(Vantro_Process(video, &video_frame, nullptr), VANTRO_ERR_INPUT);
  EXPECT_EQ(VantroPhoto_Process(photo, &photo_frame, nullptr), VANTRO_ERR_INPUT);
}

TEST_F(Handles, MemoryThatIsNoHandleIsRefused) {
  std::vector<uint64_t> block(512, 0x0101010101010101);
  std::vector<uint8_t> frame(kFrameBytes, 77);
  Vantro_t record = Record(frame, &frame);
  EXPECT_EQ(Vantro_Process(block.data(), &record, nullptr), VANTRO_ERR_INPUT);
  void* handle = block.data();
  Vantro_Deinit(&handle);
  EXPECT_EQ(handle, block.data());
}

}  // namespace
}  // namespace vantro::test

// Vantro_Process: random sequences against a plain, single-threaded telling of the same road, and
// the corners of the handle's state.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "tests/support/engine_fixture.h"
#include "tests/support/hostile_host.h"
#include "vantro/algo_context.h"
#include "vantro/mask.h"
#include "vantro/motion.h"
#include "vantro/render.h"
#include "vantro/vantro.h"

namespace vantro::test {
namespace {

using ::testing::ElementsAre;

constexpr int kMaskW = 40;
constexpr int kMaskH = 30;
constexpr size_t kLargestFrame = 129 * 120 * 2;

size_t FrameSize(const Vantro_t& frame) { return static_cast<size_t>(DescribedBytes(frame)); }

// An answer that depends on every byte of the frame and on every argument, so that a wrong frame, a
// wrong geometry or a wrong buffer shows in the picture.
int32_t Segment(SegmentCall call) {
  Vantro_t described = {};
  described.stride = call.stride;
  described.height = call.height;
  described.yuv_format = call.yuv_format;
  uint32_t seed = static_cast<uint32_t>(call.width * 31 + call.seg_param_a * 7 +
                                        call.seg_param_b * 3 + call.seg_mode);
  const size_t bytes = call.yuv_format == 3 ? 0 : FrameSize(described);
  for (size_t i = 0; i < bytes; ++i) seed = seed * 16777619u ^ call.frame[i];
  call.seg_param_a = static_cast<int32_t>(seed);
  return HostileSegment(call, kMaskW, kMaskH);
}

// The road of a frame without threads: segmentation happens where its result is first needed.
class VideoModel {
 public:
  explicit VideoModel(MemPool* pool) : pool_(pool) {
    ParamBlock params = {};
    params.tuning.area_ratio = 0.005f;
    algo_ = BuildAlgoCxt(&params, pool);
    box_.box_mode = box_vantro_.box_mode = 2;
  }
  ~VideoModel() { pool_->free(algo_, "init_cxt", 0); }

  // `last` is the model's own copy of the buffer behind the record's last_yuv. True for the first
  // frame of a sequence.
  bool Feed(const Vantro_t& record, std::vector<uint8_t>& last) {
    // More bytes than the buffer of the frame before is sure to have.
    const bool grows = index_ >= 1 && record.yuv_format != 3 && FrameSize(record) > last_size_;
    last_size_ = FrameSize(record);
    if (record.reset_flag == 1 || grows) {
      index_ = 0;
      algo_->roi_state = 0;
    }
    if (index_ >= 2) TakeMask();
    ++index_;
    Vantro_t frame = record;
    frame.crop_param = box_vantro_;
    const CROP_BOX engine_box = box_;
    frame.mask = finished_.data();
    frame.maskw = kMaskW;
    frame.maskh = kMaskH;
    if (index_ == 1) {
      // The copy of an unknown format has the size of the one before.
      if (record.yuv_format != 3) copied_ = FrameSize(record);
      last_size_ = std::min(copied_, last_size_);
      first_.assign(record.yuv, record.yuv + last_size_);
      pending_rect_ =
          Rect_t{0, 0, record.height, record.width, pending_rect_.aux0, pending_rect_.aux1};
      frame.rect = pending_rect_;
      frame.last_yuv = last.data();
      Grayeffect_firstframeIdx(algo_, frame);
      RunSegmentation(record, first_.data());
      TakeMask();
      return true;
    }
    frame.rect = finished_rect_;
    frame.yuv = index_ == 2 ? first_.data() : last.data();
    Render(record, frame, engine_box, last);
    if (index_ == 2) std::copy(first_.begin(), first_.end(), last.begin());
    pending_rect_ = EvenRect(record);
    RunSegmentation(record, record.yuv);
    return false;
  }

 private:
  void TakeMask() {
    std::swap(pending_, finished_);
    finished_rect_ = pending_rect_;
  }

  void RunSegmentation(const Vantro_t& record, uint8_t* frame) {
    Vantro_t copy = record;
    Segment({frame, record.yuv_format, record.width, record.height, record.stride,
             record.seg_param_a, pending_.data(), &box_, &box_vantro_, record.seg_param_b,
             copy.seg_output, 0});
  }

  void Render(const Vantro_t& record, const Vantro_t& frame, const CROP_BOX& engine_box,
              std::vector<uint8_t>& last) {
    int flag = 4;
    GetROI(algo_, frame, &flag);
    if (flag != 3) {
      move_[(index_ + 1) % 10] = 0;
      flash_[index_ % 10] = 1;
      area_[index_ % 10] = 0;
      Grayeffect(algo_, frame);
      return;
    }
    connectionFilter(algo_, finished_.data(), kMaskW, kMaskH, 5);
    OpticalFlow flow = {record.yuv,
                        last.data(),
                        record.yuv_format,
                        index_,
                        record.height,
                        record.width,
                        record.stride,
                        kMaskW,
                        kMaskH,
                        finished_.data(),
                        flash_,
                        move_,
                        area_,
                        frame.crop_param,
                        engine_box};
    GetFlashFlag(algo_, flow, &flag);
    if (flag != 0) {
      VantroObject(algo_, 0, 0, 0, frame);
    } else {
      Grayeffect(algo_, frame);
    }
  }

  static Rect_t EvenRect(const Vantro_t& record) {
    Rect_t r = record.rect;
    if (r.x < 0 || r.y < 0 || r.width < 1 || r.height < 1 || r.x + r.width > record.width ||
        r.y + r.height > record.height) {
      r = {0, 0, record.height, record.width, r.aux0, r.aux1};
    }
    if (record.yuv_format == 0 || record.yuv_format == 4) {
      r.x &= ~1;
      r.width = (r.width + 1) & ~1;
      if (r.x + r.width > record.width) (r.x >= 2 ? r.x : r.width) -= 2;
    }
    if (record.yuv_format == 0) {
      r.y &= ~1;
      r.height = (r.height + 1) & ~1;
      if (r.y + r.height > record.height) (r.y >= 2 ? r.y : r.height) -= 2;
    }
    return r;
  }

  MemPool* pool_;
  AlgoCxt* algo_ = nullptr;
  int index_ = 0;
  CROP_BOX box_ = {};
  CROP_BOX box_vantro_ = {};
  std::vector<uint8_t> pending_ = std::vector<uint8_t>(kMaskW * kMaskH);
  std::vector<uint8_t> finished_ = std::vector<uint8_t>(kMaskW * kMaskH);
  Rect_t pending_rect_ = {};
  Rect_t finished_rect_ = {};
  std::vector<uint8_t> first_;
  size_t copied_ = 0;
  size_t last_size_ = 0;
  int flash_[10] = {};
  int move_[10] = {};
  int area_[10] = {};
};

class Video : public EngineFixture {
 protected:
  void SetUp() override {
    EngineFixture::SetUp();
    script().mask_width = kMaskW;
    script().mask_height = kMaskH;
    ASSERT_EQ(Vantro_Init(&handle_, "", pool_.get()), 0);
  }
  void TearDown() override {
    Vantro_Deinit(&handle_);
    EngineFixture::TearDown();
  }

  static Vantro_t Record(uint8_t format, int width, int height, int stride) {
    Vantro_t record = {};
    record.yuv_format = format;
    record.width = width;
    record.height = height;
    record.stride = stride;
    record.rect = {0, 0, height, width, 0, 0};
    return record;
  }
  std::vector<uint8_t> RandomBytes(size_t size) {
    std::vector<uint8_t> bytes(size);
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random_());
    return bytes;
  }
  int Random(int low, int high) { return std::uniform_int_distribution(low, high)(random_); }

  // Calls Vantro_Process on a copy of the record and checks that the copy is left alone.
  int32_t Process(Vantro_t record, std::vector<uint8_t>& yuv, std::vector<uint8_t>& last) {
    record.yuv = yuv.data();
    record.last_yuv = last.data();
    const Vantro_t before = record;
    const int32_t code = Vantro_Process(handle_, &record, &result_);
    EXPECT_EQ(std::memcmp(&before, &record, sizeof(record)), 0);
    return code;
  }

  void* handle_ = nullptr;
  VantroResult result_ = {};
  std::mt19937 random_{20190301};
};

// Sizes, strides and formats change on the way, with a reset and without one.
TEST_F(Video, RandomSequencesMatchThePlainRoad) {
  script().process = Segment;
  constexpr uint8_t kFormats[] = {0, 1, 4, 0, 1, 4, 3};
  for (int sequence = 0; sequence < 36; ++sequence) {
    SCOPED_TRACE(testing::Message() << "sequence " << sequence);
    // The rings outlive a reset, so handle and model start over together.
    Vantro_Deinit(&handle_);
    ASSERT_EQ(Vantro_Init(&handle_, "", pool_.get()), 0);
    VideoModel model(pool_.get());
    Vantro_t record = {};
    std::vector<uint8_t> last = RandomBytes(kLargestFrame);
    for (int frame = 0; frame < 20; ++frame) {
      if (frame == 0 || Random(0, 6) == 0) {
        const int most = Random(0, 1) == 0 ? 7 : 120;
        const int width = Random(2, most);
        record = Record(kFormats[Random(0, 6)], width, Random(2, most), width + Random(0, 9));
      }
      record.reset_flag = Random(0, 9) == 0 ? 1 : 0;
      record.seg_param_a = Random(0, 3);
      record.seg_param_b = Random(0, 3);
      // Many end where the frame does.
      const int x = Random(-1, record.width), y = Random(-1, record.height);
      const int w = Random(0, 1) == 0 ? record.width - x : Random(0, record.width);
      const int h = Random(0, 1) == 0 ? record.height - y : Random(0, record.height);
      record.rect = {x, y, h, w, frame, -frame};
      std::vector<uint8_t> yuv = RandomBytes(kLargestFrame);
      std::vector<uint8_t> expected_last = last;
      const std::vector<uint8_t> yuv_before = yuv;
      result_ = {5, 6, 7};
      ASSERT_EQ(Process(record, yuv, last), 0);
      record.yuv = yuv.data();
      const bool first = model.Feed(record, expected_last);
      ASSERT_TRUE(last == expected_last) << "frame " << frame;
      ASSERT_TRUE(yuv == yuv_before) << "frame " << frame;
      ASSERT_EQ(result_.result0 + result_.result1 + result_.result2, first ? 18 : -3);
      last.swap(yuv);  // the newest frame is rendered by the next call
    }
    Vantro_Deinit(&handle_);  // the worker may still read the newest frame
  }
}

// What else is refused, the hostile host of tests/endurance tries.
TEST_F(Video, TellsWhatItRefuses) {
  std::vector<uint8_t> last(96);
  Vantro_t record = Record(0, 8, 8, 8);
  record.last_yuv = last.data();
  log_.clear();
  EXPECT_EQ(Vantro_Process(handle_, &record, &result_), -2001);
  char pointers[100];
  std::snprintf(pointers, sizeof(pointers), "p_kc_para->yuv is [(nil)],p_kc_para->last_yuv is [%p]",
                static_cast<void*>(last.data()));
  EXPECT_THAT(LinesButOfThreads(),
              ElementsAre(LogLine{6, "QZA_MVANTRO", "input data is error!!!\n"},
                          LogLine{6, "QZA_MVANTRO", pointers}));
  EXPECT_EQ(script().processes, 0);
}

TEST_F(Video, RecoversFromAMissingFirstFrameCopy) {
  const Vantro_t record = Record(0, 16, 16, 16);
  std::vector<uint8_t> a = RandomBytes(FrameSize(record));
  std::vector<uint8_t> b = RandomBytes(FrameSize(record));
  const size_t held = pool_.live();
  pool_.FailAt(pool_.allocations());
  EXPECT_EQ(Process(record, a, b), -1);
  EXPECT_TRUE(log_.contains("cxt_ptr->firstFrameIdxTempYuv Malloc is failed\n"));
  pool_.FailAt(-1);
  result_ = {9, 9, 9};
  EXPECT_EQ(Process(record, a, b), 0);
  EXPECT_EQ(result_.result0, 9) << "the call after a failure is a first frame again";
  EXPECT_EQ(pool_.live(), held + 1);
  EXPECT_EQ(Process(record, b, a), 0);
  EXPECT_EQ(pool_.live(), held) << "the copy is not held past the second frame";
  EXPECT_EQ(result_.result0, -1);
}

TEST_F(Video, TimingLinesComeInOrder) {
  Vantro_Deinit(&handle_);
  Properties()["vendor.qzVantro.printlog"] = "1";
  ASSERT_EQ(Vantro_Init(&handle_, "", pool_.get()), 0);
  // Somebody is in the first two frames. Decided by the worker, which runs while the test goes on.
  script().process = [frame = 0](const SegmentCall& call) mutable {
    if (++frame <= 2) return SegmentEllipse(call, kMaskW, kMaskH);
    std::memset(call.mask_out, 0, kMaskW * kMaskH);
    return 0;
  };
  const Vantro_t record = Record(0, 240, 180, 240);
  std::vector<uint8_t> frames[4];
  for (auto& frame : frames) frame = RandomBytes(FrameSize(record));
  Process(record, frames[0], frames[3]);
  EXPECT_THAT(log_.timing_labels(), ElementsAre());
  Process(record, frames[1], frames[0]);
  log_.clear();
  Process(record, frames[2], frames[1]);
  EXPECT_THAT(
      log_.timing_labels(),
      ElementsAre("CLEAN", "GetROI_", "connectionFilter_", "OpticalFlow_", "up_scale_context_1_2x2",
                  "up_scale_context_2_2x2", "Grayeffect_Alpha_YUV_", "VantroObject_",
                  "FLAG_23_TIME", "Vantro_Seg_Aftre_PROCESS", "Vantro_Seg_Aftre_1",
                  "Vantro_Seg_Aftre", "Vantro_Process_"));
  log_.clear();
  Process(record, frames[3], frames[2]);
  EXPECT_THAT(log_.timing_labels(),
              ElementsAre("CLEAN", "GetROI_", "Grayeffect_", "Vantro_Seg_Aftre_PROCESS",
                          "Vantro_Seg_Aftre_1", "Vantro_Seg_Aftre", "Vantro_Process_"));
  EXPECT_TRUE(log_.contains("[vantro] grey the image flag = 4"));
}

}  // namespace
}  // namespace vantro::test

// The scene check of a video handle: its three rings, and when it takes the colour away.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

#include "tests/image/image_buffers.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/log_capture.h"
#include "tests/support/tracking_pool.h"
#include "vantro/algo_context.h"
#include "vantro/motion.h"

namespace vantro::test {
namespace {

using Ring = std::array<int32_t, 10>;
constexpr int kMin = std::numeric_limits<int>::min();
constexpr int kMax = std::numeric_limits<int>::max();

// Frames of 60x40 pixels with a mask of 10x10 that covers a box of 100 pixels: the area is the
// number of subject pixels in the mask.
class FlashFlag : public testing::Test {
 protected:
  static constexpr int kWidth = 60;
  static constexpr int kHeight = 40;

  FlashFlag() {
    cxt_.pool = pool_.get();
    cxt_.roi_state = 3;
  }

  void Paint(Bytes& frame, double shift) {
    frame.assign(Area(2 * stride_, 2 * kHeight), 77);
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        const size_t at = format_ == VANTRO_FORMAT_UYVY
                              ? Area(2 * stride_, y) + static_cast<size_t>(2 * x + 1)
                              : Area(stride_, y) + static_cast<size_t>(x);
        frame[at] =
            static_cast<uint8_t>(128 + 90 * std::sin((x - shift) / 4.0) * std::cos(y / 5.0));
      }
    }
  }

  // One frame with `subject` mask pixels set; `moves` shows a scene that went sideways.
  int Step(int frame, int subject, bool moves = false) {
    Paint(current_, moves ? 5.0 : 0.0);
    Paint(last_, 0.0);
    mask_.assign(100, 0);
    std::fill_n(mask_.begin(), subject, uint8_t{1});
    // Only ones are subject, and only those inside the mask's size.
    mask_.insert(mask_.end(), {1, 1, 1});
    for (size_t i = static_cast<size_t>(subject); i < 100; i += 7) mask_[i] = 200;
    OpticalFlow record = {};
    record.yuv = current_.data();
    record.last_yuv = last_.data();
    record.yuv_format = format_;
    record.frameIdx = frame;
    record.height = kHeight;
    record.width = kWidth;
    record.stride = stride_;
    record.mask_width = record.mask_height = 10;
    record.mask = mask_.data();
    record.flash_flag = flash_.data();
    record.move_flag = move_.data();
    record.area = area_.data();
    record.crop_param = {20, 29, 10, 19, 2};
    record.engine_box = engine_box_;
    flag_ = 3;
    return GetFlashFlag(&cxt_, record, &flag_);
  }

  TrackingPool pool_;
  AlgoCxt cxt_ = {};
  uint8_t format_ = VANTRO_FORMAT_NV21;
  int stride_ = 64;
  CROP_BOX engine_box_ = {0, kHeight - 1, 0, kWidth - 1, 2};
  Bytes current_, last_, mask_;
  Ring flash_ = {}, move_ = {}, area_ = {};
  int flag_ = 0;
};

TEST_F(FlashFlag, WritesOneSlotOfEachRing) {
  area_.fill(-5);
  move_.fill(-5);
  move_[7] = 0;
  area_[6] = 80;
  Ring area = area_, move = move_, flash = {};
  EXPECT_EQ(Step(127, 10), 0);
  area[7] = 10;
  move[8] = 0;
  flash[7] = 1;
  EXPECT_EQ(area_, area);
  EXPECT_EQ(move_, move);
  EXPECT_EQ(flash_, flash);
  EXPECT_EQ(flag_, 3);
  EXPECT_EQ(cxt_.roi_state, 3);
  EXPECT_THAT(pool_.events,
              testing::ElementsAre("+y_down:10000", "+lastY_down:10000", "-y_down", "-lastY_down"));
}

TEST_F(FlashFlag, JumpsPastOnePerCentAndAThirdAndNotAtThem) {
  struct Case {
    int before, now;
    bool flash;
  };
  // One per cent of the frame is 24.
  constexpr Case kCases[] = {{0, 24, false},  {0, 25, true},  {25, 0, true},   {24, 0, false},
                             {90, 60, false}, {90, 59, true}, {60, 90, false}, {59, 90, true}};
  for (const Case& c : kCases) {
    area_[3] = c.before;
    flash_.fill(0);
    EXPECT_EQ(Step(4, c.now), 0);
    EXPECT_EQ(flash_[4], c.flash ? 1 : 0) << c.before << " to " << c.now;
  }
}

TEST_F(FlashFlag, MotionHidesTheFlashOfTheNextFrame) {
  for (const int format : {VANTRO_FORMAT_NV21, VANTRO_FORMAT_UYVY}) {
    format_ = static_cast<uint8_t>(format);
    for (const int stride : {60, 61, 75}) {
      stride_ = stride;
      SCOPED_TRACE(testing::Message() << format << " stride " << stride);
      Step(10, 80, true);
      EXPECT_EQ(move_[1], 1);
      Step(11, 10);
      EXPECT_EQ(move_[2], 0);
      EXPECT_EQ(flash_[1], 0);
      Step(12, 80);
      EXPECT_EQ(flash_[2], 1);
    }
  }
}

TEST_F(FlashFlag, FourFlashesOfTenTakeTheColourUntilTheyAreOverwritten) {
  for (int frame = 1; frame <= 16; ++frame) {
    // Flashes at the frames 2 to 5.
    const int subject = frame <= 5 ? (frame % 2 == 0 ? 90 : 10) : 10;
    if (frame == 1) area_[0] = 10;
    cxt_.roi_state = 3;
    Step(frame, subject);
    const bool taken = frame >= 5 && frame <= 11;
    EXPECT_EQ(flag_, taken ? 0 : 3) << frame;
    EXPECT_EQ(cxt_.roi_state, taken ? 0 : 3) << frame;
  }
}

TEST_F(FlashFlag, RefusedFormatsChangeNothing) {
  flash_.fill(1);
  const Ring flash = flash_, move = move_, area = area_;
  const LogCapture log;
  for (const int format : {1, 2, 5, 255}) {
    format_ = static_cast<uint8_t>(format);
    EXPECT_EQ(Step(3, 50), -1);
  }
  EXPECT_EQ(log.lines(),
            std::vector<LogLine>(4, {6, "QZA_MVANTRO", "not support this format!!\n"}));
  EXPECT_EQ(flash_, flash);
  EXPECT_EQ(move_, move);
  EXPECT_EQ(area_, area);
  EXPECT_EQ(flag_, 3);
}

TEST_F(FlashFlag, HidesTheNextFlashWithoutMemoryToCompare) {
  for (int request = 2; move_[5] != -1; ++request) {  // behind the blocks of the pool
    const FailingMalloc heap(request);
    ASSERT_LE(Step(4, 0), 0);
    ASSERT_LT(request, 20);
  }
  EXPECT_EQ(Step(5, 90), 0);
  EXPECT_EQ(flash_[5], 0);
}

TEST_F(FlashFlag, EstimatesAnAreaFromAnyCropBoxAndMaskSize) {
  Bytes frame(Area(64, 64), 50), mask(16, 1);
  OpticalFlow record = {};
  record.yuv = record.last_yuv = frame.data();
  record.frameIdx = 1;
  record.height = record.width = record.stride = 40;
  record.flash_flag = flash_.data();
  record.move_flag = move_.data();
  record.area = area_.data();
  EXPECT_EQ(GetFlashFlag(nullptr, record, &flag_), -1);
  struct Case {
    CROP_BOX box;
    int mask_width, mask_height;
    int area;
  };
  for (const Case& c :
       {Case{{0, 9, 0, 9, 2}, 4, 4, 100},
        // 7 * 11 / 3 in single precision, times 3, cut.
        Case{{0, 6, 0, 10, 2}, 3, 1, static_cast<int>(77.0f / 3.0f * 3.0f)},
        Case{{9, 0, 0, 9, 2}, 4, 4, -80}, Case{{kMin, kMax, kMin, kMax, 2}, 4, 4, kMax},
        Case{{kMin, kMax, kMax, kMin, 2}, 4, 4, kMin}, Case{{0, 9, 0, 9, 2}, 0, 4, 0},
        Case{{0, 9, 0, 9, 2}, -4, 4, 0}, Case{{0, 9, 0, 9, 2}, -4, -4, 0},
        Case{{0, 9, 0, 9, 2}, kMax, kMax, 0}}) {
    record.crop_param = c.box;
    record.engine_box = c.box;  // of any values
    record.mask_width = c.mask_width;
    record.mask_height = c.mask_height;
    record.mask = mask.data();
    EXPECT_EQ(GetFlashFlag(&cxt_, record, &flag_), 0);
    EXPECT_EQ(area_[1], c.area);
    EXPECT_EQ(move_[2], 0);
    record.mask = nullptr;
    EXPECT_EQ(GetFlashFlag(&cxt_, record, &flag_), 0);
    EXPECT_EQ(area_[1], 0);
  }
}

}  // namespace
}  // namespace vantro::test

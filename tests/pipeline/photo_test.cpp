// VantroPhoto_Process: two passes of the engine, one picture in place.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "tests/support/engine_fixture.h"
#include "tests/support/guarded_buffer.h"
#include "vantro/vantro.h"

namespace vantro::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;

class Photo : public EngineFixture {
 protected:
  void SetUp() override {
    EngineFixture::SetUp();
    Open();
  }
  void TearDown() override {
    VantroPhoto_Deinit(&handle_);
    EngineFixture::TearDown();
  }
  void Open() { ASSERT_EQ(VantroPhoto_Init(&handle_, "", pool_.get()), 0); }

  // A picture of constant luma and colour.
  static Vantro_t Picture(GuardedBuffer& bytes, uint8_t format, int width, int height) {
    std::memset(bytes.data(), 77, bytes.size());
    Vantro_t record = {};
    record.yuv = bytes.data();
    record.yuv_format = format;
    record.width = width;
    record.height = height;
    record.stride = width;
    return record;
  }

  void* handle_ = nullptr;
};

TEST_F(Photo, KeepsTheColourOfTheSubjectAlone) {
  GuardedBuffer bytes(320 * 240 * 3 / 2);
  Vantro_t record = Picture(bytes, 0, 320, 240);
  record.rect = {5, 5, 3, 3, 0, 0};             // has no effect on a photo
  record.crop_param = {9000, -4, 70000, 3, 1};  // nor has this
  std::vector<int32_t> modes;
  script().process = [&](const SegmentCall& call) {
    if (call.seg_mode == 0) {
      EXPECT_EQ(call.box->box_mode, 2);
    }
    EXPECT_EQ(call.frame, bytes.data());
    modes.push_back(call.seg_mode);
    call.box->box_mode = 99;  // set again before every photo
    return SegmentEllipse(call, 64, 48);
  };
  VantroResult result = {};
  for (int photo = 0; photo < 2; ++photo) {
    std::memset(bytes.data(), 77, bytes.size());
    ASSERT_EQ(VantroPhoto_Process(handle_, &record, &result), 0);
    const uint8_t* chroma = bytes.data() + 320 * 240;
    EXPECT_EQ(chroma[60 * 320 + 160], 77) << "centre of the ellipse";
    EXPECT_EQ(chroma[60 * 320 + 84], 128) << "in the box, outside the ellipse";
    EXPECT_EQ(chroma[0], 128);
    EXPECT_EQ(chroma[120 * 320 - 1], 128);
    EXPECT_EQ(bytes[0], 67) << "(77 - 25) * 245 / 205 + 5";
    EXPECT_EQ(bytes[120 * 320 + 160], 67);
  }
  EXPECT_THAT(modes, ElementsAre(0, 2, 0, 2));
  EXPECT_EQ(result.result1, -1);
  EXPECT_TRUE(log_.contains("flag is [3]\n"));
  EXPECT_THAT(log_.timing_labels(), ElementsAre("Photo_Seg_process", "Photo_Seg_process"));
}

TEST_F(Photo, GreysAPictureWithoutASubject) {
  for (const uint8_t format : {uint8_t{0}, uint8_t{1}, uint8_t{4}}) {
    // Odd sizes too: the chroma plane of 5 rows has 2, and nothing behind it is touched.
    GuardedBuffer bytes(format == 4 ? 7 * 5 * 2 : 7 * 5 + 7 * 2);
    Vantro_t record = Picture(bytes, format, 7, 5);
    record.mask = bytes.data();
    script().process = [](const SegmentCall& call) {
      const uint8_t* working_copy = call.seg_output - offsetof(Vantro_t, seg_output);
      const uint8_t no_pointer[sizeof(uint8_t*)] = {};
      EXPECT_EQ(std::memcmp(working_copy + offsetof(Vantro_t, mask), no_pointer, 8), 0);
      std::memset(call.mask_out, 0, 64 * 48);
      return 0;
    };
    Vantro_t copy = record;
    EXPECT_EQ(VantroPhoto_Process(handle_, &copy, nullptr), 0);
    EXPECT_EQ(std::memcmp(&copy, &record, sizeof(copy)), 0);
    EXPECT_TRUE(log_.contains("flag is [4]\n"));
    EXPECT_TRUE(bytes.front_intact());
    const size_t luma = format == 4 ? 1 : 0;
    EXPECT_EQ(bytes[luma], 67);
    EXPECT_EQ(bytes[format == 4 ? 0 : 7 * 5], 128);
  }
}

TEST_F(Photo, FailedSegmentationLeavesThePicture) {
  GuardedBuffer bytes(16 * 16 * 3 / 2);
  Vantro_t record = Picture(bytes, 0, 16, 16);
  const std::vector<uint8_t> before(bytes.data(), bytes.data() + bytes.size());
  for (const int32_t failing_mode : {0, 2}) {
    int calls = 0;
    script().process = [&](const SegmentCall& call) {
      ++calls;
      return call.seg_mode == failing_mode ? 3 : SegmentEllipse(call, 64, 48);
    };
    VantroResult result = {4, 4, 4};
    EXPECT_EQ(VantroPhoto_Process(handle_, &record, &result), -1);
    EXPECT_EQ(calls, failing_mode == 0 ? 1 : 2);
    EXPECT_EQ(result.result0, 4);
    EXPECT_EQ(std::memcmp(before.data(), bytes.data(), before.size()), 0);
  }
  EXPECT_TRUE(log_.contains("LINK_SegPlimra_Process is error!\n"));
}

TEST_F(Photo, LogsEveryStepWithTheSwitchOn) {
  VantroPhoto_Deinit(&handle_);
  Properties()["vendor.qzVantroPhoto.printlog"] = "1";
  log_.clear();
  Open();
  const std::string photo = "QZA_VANTRO_PHOTO";
  GuardedBuffer bytes(64 * 64 * 3 / 2);
  Vantro_t record = Picture(bytes, 1, 64, 64);
  log_.clear();
  EXPECT_EQ(VantroPhoto_Process(handle_, &record, nullptr), 0);
  EXPECT_THAT(
      log_.timing_labels(),
      ElementsAre("Photo_Seg_process", "Photo_GetROI", "connectionFilter_", "up_scale_context_1",
                  "Grayeffect_Alpha_YUV_", "VantroObject_", "FLAG_23_TIME", "Photo_process"));
  const LogLine sizes{6, photo, "maskw is [64],maskh is [48]\n"};
  const LogLine box{6, photo,
                    "crop_left is [16],crop_top is [16],crop_bottom is [47],crop_right is [47]\n"};
  EXPECT_THAT(log_.lines(), testing::AllOf(Contains(sizes), Contains(box)));
}

}  // namespace
}  // namespace vantro::test

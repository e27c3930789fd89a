// The allocations, log lines and failures of the grey effect and the compositing stage;
// kernel_levels_test holds their pictures against formulas.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "tests/image/image_buffers.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/log_capture.h"
#include "tests/support/tracking_pool.h"
#include "vantro/algo_context.h"
#include "vantro/render.h"

namespace vantro::test {
namespace {

using ::testing::ElementsAre;

// A frame with a subject, and what the stage is called with.
class Scene {
 public:
  Scene(int size, int mask_size, const CROP_BOX& box)
      : mask_(Area(mask_size, mask_size), 1), frame_(Area(size, size + size / 2), 77) {
    record.yuv = frame_.data();
    record.width = record.height = record.stride = size;
    record.rect = {0, 0, size, size, 0, 0};
    record.crop_param = box;
    record.mask = mask_.data();
    record.maskw = record.maskh = mask_size;
    cxt.pool = pool.get();
  }

  int Render(int printlog = 0, int dump = 0, int is_photo = 0) {
    return VantroObject(&cxt, printlog, dump, is_photo, record);
  }
  bool untouched() const {
    return std::count(frame_.begin(), frame_.end(), 77) == std::ssize(frame_);
  }

  TrackingPool pool;
  AlgoCxt cxt{};
  Vantro_t record{};

 private:
  Bytes mask_;
  Bytes frame_;
};

TEST(GrayEffect, OfTheFirstFrameLeavesALine) {
  AlgoCxt cxt{};
  LogCapture log;
  EXPECT_EQ(Grayeffect_firstframeIdx(&cxt, Vantro_t{}), 0);
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLine{4, "QZA_MVANTRO", "This is Grayeffect_firstframeIdx \n"}));
}

TEST(Compositing, ChoosesThePathByTheSizes) {
  using Names = std::vector<std::string>;
  const struct {
    int mask_size, crop_width, crop_height;
    std::string maskup, reduced;  // bytes of each block, none for a resize in one step
    std::string filter;
  } kCases[] = {{16, 128, 128, "16385", "1024", "4x4"},
                {32, 128, 128, "16385", "4096", "2x2"},
                {16, 126, 128, "16129", "4032", "2x2"},
                {16, 128, 127, "16257", "", ""},
                {64, 128, 128, "16385", "", ""}};
  for (const auto& path : kCases) {
    const CROP_BOX box{2, 1 + path.crop_height, 4, 3 + path.crop_width, 0};
    Scene scene(140, path.mask_size, box);
    LogCapture log;
    EXPECT_EQ(scene.Render(7, 0, 0), 0);
    Names labels = {"up_scale_context_1", "Grayeffect_Alpha_YUV_"};
    Names events = {"+cxt->maskup:" + path.maskup, "-cxt->maskup"};
    if (!path.filter.empty()) {
      labels[0] += "_" + path.filter;
      labels.insert(labels.begin() + 1, "up_scale_context_2_" + path.filter);
      const std::string name = "crop_mask_d" + path.filter;
      events.insert(events.begin() + 1, {"+" + name + ":" + path.reduced, "-" + name});
    }
    EXPECT_EQ(log.timing_labels(), labels);
    EXPECT_EQ(scene.pool.events, events);
    EXPECT_EQ(scene.cxt.print_log, 7);
  }
}

TEST(Compositing, LogsSizesByTheSwitches) {
  Scene scene(40, 50, CROP_BOX{10, 30, 5, 17, 0});
  const std::string sizes = "cxt->maskupheight is [21],cxt->maskupwidth is [13]\n";
  const LogLine photo{6, "QZA_VANTRO_PHOTO", sizes};
  LogCapture log;
  scene.Render(0, 0, 0);
  EXPECT_THAT(log.lines(), ElementsAre());
  scene.Render(0, 0, 1);
  EXPECT_THAT(log.lines(), ElementsAre(photo));
  EXPECT_THAT(log.timing_labels(), ElementsAre());
  log.clear();
  scene.Render(1, 0, 1);
  EXPECT_THAT(
      log.lines(),
      ElementsAre(LogLine{4, "QZA_MVANTRO", sizes}, photo,
                  LogLine{4, "QZA_MVANTRO",
                          "kc_para.crop_param.crop_bottom is [30],kc_para.crop_param.crop_top is "
                          "[10],kc_para.crop_param.crop_right is [17],kc_para.crop_param.crop_left"
                          "[5]\n"},
                  LogLine{4, "QZA_MVANTRO", "ROI__\n"}));
}

TEST(Compositing, RefusesBadInput) {
  Scene scene(40, 8, CROP_BOX{0, 39, 0, 39, 0});
  const LogCapture log;
  EXPECT_EQ(VantroObject(nullptr, 1, 1, 1, scene.record), -2006);
  std::vector<Vantro_t> bad;
  const std::pair<int32_t Vantro_t::*, int32_t> kFields[] = {
      {&Vantro_t::width, 0},  {&Vantro_t::width, 41},  {&Vantro_t::width, -40},
      {&Vantro_t::height, 0}, {&Vantro_t::height, 41}, {&Vantro_t::maskw, 0},
      {&Vantro_t::maskh, 0},  {&Vantro_t::maskh, -8}};
  for (const auto& [field, value] : kFields) bad.emplace_back(scene.record).*field = value;
  bad.emplace_back(scene.record).mask = nullptr;
  constexpr int kLowest = std::numeric_limits<int>::min();
  constexpr int kHighest = std::numeric_limits<int>::max();
  const CROP_BOX kBoxes[] = {{0, 39, -1, 39, 0}, {-1, 39, 0, 39, 0}, {0, 39, 0, 40, 0},
                             {0, 40, 0, 39, 0},  {0, 39, 39, 38, 0}, {kHighest, kLowest, 0, 39, 0}};
  for (const CROP_BOX& box : kBoxes) bad.emplace_back(scene.record).crop_param = box;
  for (const Vantro_t& record : bad) {
    scene.record = record;
    EXPECT_EQ(scene.Render(1, 1, 1), -2006) << testing::PrintToString(record);
  }
  EXPECT_EQ(scene.cxt.print_log, 0);
  EXPECT_EQ(scene.cxt.maskupwidth, 0);
  EXPECT_TRUE(scene.untouched());
  EXPECT_EQ(scene.pool.allocations(), 0);
  EXPECT_THAT(log.lines(), ElementsAre());
}

TEST(Compositing, GivesUpWithoutMemoryForTheDump) {
  Scene scene(64, 64, CROP_BOX{0, 63, 0, 63, 0});
  const FailingMalloc heap(3);  // behind the pool's block and the two tables of the resize
  LogCapture log;
  EXPECT_EQ(scene.Render(0, 1, 0), -1);
  EXPECT_THAT(log.lines(), ElementsAre(LogLine{4, "QZA_MVANTRO", "A is malloc failed! \n"}));
  EXPECT_TRUE(scene.untouched());
  EXPECT_EQ(scene.cxt.maskup, nullptr);
}

}  // namespace
}  // namespace vantro::test

// The compositing stage against its steps done one after another on the whole frame; its
// allocations, log lines and failures.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "tests/render/plain_frames.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/log_capture.h"
#include "tests/support/tracking_pool.h"
#include "vantro/image.h"
#include "vantro/render.h"

namespace vantro::test {
namespace {

using ::testing::ElementsAre;

// A frame with a subject, and what the stage is called with.
class Scene {
 public:
  Scene(Random& random, int width, int height, int format, int mask_size, const CROP_BOX& box)
      : picture_{format, height, width + 2, random.Noise(FrameSize(format, width + 2, height))},
        mask_(Area(mask_size, mask_size)),
        frame_(picture_.bytes) {
    for (uint8_t& sample : mask_) sample = random.Byte() % 2;
    record.yuv = frame_.data();
    record.yuv_format = static_cast<uint8_t>(format);
    record.width = width;
    record.height = height;
    record.stride = width + 2;
    record.rect = {0, 0, height, width, 0, 0};
    record.crop_param = box;
    record.mask = mask_.data();
    record.maskw = record.maskh = mask_size;
    cxt.pool = pool.get();
  }

  int Render(int printlog = 0, int dump = 0, int is_photo = 0) {
    return VantroObject(&cxt, printlog, dump, is_photo, record);
  }
  const Bytes& rendered() const { return frame_; }

  Bytes Expected() const {
    const CROP_BOX& box = record.crop_param;
    const int width = box.crop_right - box.crop_left + 1;
    const Bytes crop = CropMask(width, box.crop_bottom - box.crop_top + 1);
    return picture_.Effect(cxt.contrastTable, record.rect, true, [&](int64_t r, int64_t c) {
      return Contains(box, r, c) && crop[Index(c - box.crop_left, r - box.crop_top, width)];
    });
  }

  TrackingPool pool;
  AlgoCxt cxt = BuiltInContext();
  Vantro_t record{};

 private:
  Bytes CropMask(int width, int height) const {
    const auto fits = [&](int factor) {
      return record.maskw < width / factor && record.maskh < height / factor &&
             width % factor == 0 && height % factor == 0;
    };
    const int factor = fits(4) ? 4 : fits(2) ? 2 : 1;
    const int w = width / factor;
    const int h = height / factor;
    Bytes reduced(Area(w, h));
    ResizeUchar(mask_.data(), reduced.data(), record.maskw, record.maskh, w, h);
    Bytes out(Area(width, height));
    if (factor == 4) upScale4x4(out.data(), reduced.data(), w, h, width, w);
    if (factor == 2) {
      upScale2x2(out.data(), reduced.data(), width, height, width, w, h, w, 0, height);
    }
    return factor == 1 ? reduced : out;
  }

  Picture picture_;
  Bytes mask_;
  Bytes frame_;
};

TEST(Compositing, KeepsTheSubjectsChroma) {
  Random random(51);
  for (int i = 0; i < 400; ++i) {
    const int width = 2 * random.Int(2, i % 20 == 0 ? 400 : 80);
    const int height = 2 * random.Int(2, i % 20 == 0 ? 400 : 60);
    CROP_BOX box{};
    box.crop_left = random.Int(0, width - 4);
    box.crop_right = random.Int(box.crop_left, width - 1);
    box.crop_top = random.Int(0, height - 4);
    box.crop_bottom = random.Int(box.crop_top, height - 1);
    // Widths and heights that the fixed filters take are rare among random ones.
    if (random.Int(0, 1) == 0) {
      box.crop_right = box.crop_left + (width - box.crop_left) / 4 * 4 - 1;
      box.crop_bottom = box.crop_top + (height - box.crop_top) / 4 * 4 - 1;
    }
    constexpr int kFormats[] = {0, 1, 4, 3};
    Scene scene(random, width, height, kFormats[random.Int(0, 3)], random.Int(1, 20), box);
    scene.record.rect = RandomRect(random, width, height);
    const bool in_steps = random.Int(0, 3) == 0;  // the log switch is on
    ASSERT_EQ(scene.Render(in_steps), 0);
    ASSERT_TRUE(SamePlanes(scene.rendered(), scene.Expected(), width + 2));
    ASSERT_EQ(scene.cxt.maskup, nullptr);
    ASSERT_EQ(scene.cxt.maskupwidth, box.crop_right - box.crop_left + 1);
    ASSERT_EQ(scene.cxt.maskupheight, box.crop_bottom - box.crop_top + 1);
  }
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
  Random random(52);
  for (const auto& path : kCases) {
    const CROP_BOX box{2, 1 + path.crop_height, 4, 3 + path.crop_width, 0};
    Scene scene(random, 140, 140, 0, path.mask_size, box);
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
  Random random(53);
  Scene scene(random, 40, 40, 0, 50, CROP_BOX{10, 30, 5, 17, 0});
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
  Random random(54);
  Scene scene(random, 40, 40, 0, 8, CROP_BOX{0, 39, 0, 39, 0});
  const Bytes untouched = scene.rendered();
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
  EXPECT_EQ(scene.rendered(), untouched);
  EXPECT_EQ(scene.pool.allocations(), 0);
  EXPECT_THAT(log.lines(), ElementsAre());
}

TEST(Compositing, GivesUpWithoutMemoryForTheDump) {
  Random random(55);
  Scene scene(random, 64, 64, 0, 64, CROP_BOX{0, 63, 0, 63, 0});
  const Bytes untouched = scene.rendered();
  const FailingMalloc heap(3);  // behind the pool's block and the two tables of the resize
  LogCapture log;
  EXPECT_EQ(scene.Render(0, 1, 0), -1);
  EXPECT_THAT(log.lines(), ElementsAre(LogLine{4, "QZA_MVANTRO", "A is malloc failed! \n"}));
  EXPECT_EQ(scene.rendered(), untouched);
  EXPECT_EQ(scene.cxt.maskup, nullptr);
}

}  // namespace
}  // namespace vantro::test

// The compositing stage against its steps done a sample at a time; its allocations, log lines and
// failures.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/render/plain_frames.h"
#include "tests/render/plain_rescale.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/log_capture.h"
#include "tests/support/simd_levels.h"
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
      : bytes_(random.Noise(FrameSize(format, width + 2, height))),
        mask_(RandomPlane(random, mask_size, mask_size)),
        frame_(bytes_) {
    for (uint8_t& sample : mask_.samples) sample = sample % 2;
    record_.yuv = frame_.get();
    record_.yuv_format = static_cast<uint8_t>(format);
    record_.width = width;
    record_.height = height;
    record_.stride = width + 2;
    record_.rect = {0, 0, height, width, 0, 0};
    record_.crop_param = box;
    record_.mask = mask_.samples.data();
    record_.maskw = record_.maskh = mask_size;
    FillBuiltInCurve(&cxt);
    cxt.pool = pool.get();
  }

  Vantro_t& record() { return record_; }
  int Render(int printlog = 0, int dump = 0, int is_photo = 0) {
    return VantroObject(&cxt, printlog, dump, is_photo, record_);
  }
  Bytes rendered() const { return frame_.values(); }
  bool untouched() const { return rendered() == bytes_; }

  Bytes Plain() const {
    const CROP_BOX& box = record_.crop_param;
    const Plane crop =
        PlainCropMask(box.crop_right - box.crop_left + 1, box.crop_bottom - box.crop_top + 1);
    const Keep keep = [&](int64_t r, int64_t c) {
      return r >= box.crop_top && r <= box.crop_bottom && c >= box.crop_left &&
             c <= box.crop_right &&
             crop.At(static_cast<int>(r) - box.crop_top, static_cast<int>(c) - box.crop_left) != 0;
    };
    Bytes result = bytes_;
    if (record_.yuv_format == 4) {
      PlainPacked(&result, cxt.contrastTable, record_.stride, record_.height, record_.rect, keep);
    } else if (record_.yuv_format < 2) {
      PlainSemiPlanar(&result, cxt.contrastTable, record_.stride, record_.height, record_.rect,
                      true, keep);
    }
    return result;
  }

  TrackingPool pool;
  AlgoCxt cxt{};

 private:
  Plane Resized(int width, int height) const {
    Plane out(width, height);
    ResizeUchar(mask_.samples.data(), out.samples.data(), mask_.width, mask_.height, width, height);
    return out;
  }
  Plane PlainCropMask(int width, int height) const {
    if (mask_.width < width / 4 && mask_.height < height / 4 && width % 4 == 0 && height % 4 == 0) {
      return PlainQuadruple(Resized(width / 4, height / 4));
    }
    if (mask_.width < width / 2 && mask_.height < height / 2 && width % 2 == 0 && height % 2 == 0) {
      return PlainBilinear(Resized(width / 2, height / 2), width, height);
    }
    return Resized(width, height);
  }

  Bytes bytes_;
  Plane mask_;
  Guarded<uint8_t> frame_;
  Vantro_t record_{};
};

TEST(Compositing, KeepsTheSubjectsChroma) {
  AtEverySimdLevel([] {
    Random random(51);
    for (int i = 0; i < 200; ++i) {
      const int width = 2 * random.Int(1, 80);
      const int height = 2 * random.Int(1, 60);
      CROP_BOX box{};
      box.crop_left = random.Int(0, width - 1);
      box.crop_right = random.Int(box.crop_left, width - 1);
      box.crop_top = random.Int(0, height - 1);
      box.crop_bottom = random.Int(box.crop_top, height - 1);
      // Widths and heights that the fixed filters take are rare among random ones.
      if (random.Int(0, 1) == 0) {
        box = {box.crop_top / 4 * 4, height / 4 * 4 - 1, box.crop_left / 4 * 4, width / 4 * 4 - 1,
               0};
        if (height < 4 || width < 4) continue;
        box.crop_top = std::min(box.crop_top, box.crop_bottom - 3);
        box.crop_left = std::min(box.crop_left, box.crop_right - 3);
      }
      const int formats[] = {0, 1, 4, 3};
      Scene scene(random, width, height, formats[random.Int(0, 3)], random.Int(1, 20), box);
      scene.record().rect = RandomRect(random, width, height);
      ASSERT_EQ(scene.Render(), 0);
      ASSERT_TRUE(SamePlanes(scene.rendered(), scene.Plain(), width + 2));
      ASSERT_EQ(scene.cxt.maskup, nullptr);
      ASSERT_EQ(scene.cxt.maskupwidth, box.crop_right - box.crop_left + 1);
      ASSERT_EQ(scene.cxt.maskupheight, box.crop_bottom - box.crop_top + 1);
    }
  });
}

struct PathCase {
  int mask_size;
  int crop_width;
  int crop_height;
  std::vector<std::string> labels;
  std::vector<std::string> events;
};

TEST(Compositing, ChoosesThePathByTheSizes) {
  const std::vector<std::string> direct = {"up_scale_context_1", "Grayeffect_Alpha_YUV_"};
  const std::vector<std::string> doubled = {"up_scale_context_1_2x2", "up_scale_context_2_2x2",
                                            "Grayeffect_Alpha_YUV_"};
  const std::vector<std::string> quadrupled = {"up_scale_context_1_4x4", "up_scale_context_2_4x4",
                                               "Grayeffect_Alpha_YUV_"};
  const PathCase cases[] = {
      {16,
       128,
       128,
       quadrupled,
       {"+cxt->maskup:16385", "+crop_mask_d4x4:1024", "-crop_mask_d4x4", "-cxt->maskup"}},
      {32,
       128,
       128,
       doubled,
       {"+cxt->maskup:16385", "+crop_mask_d2x2:4096", "-crop_mask_d2x2", "-cxt->maskup"}},
      {16,
       126,
       128,
       doubled,
       {"+cxt->maskup:16129", "+crop_mask_d2x2:4032", "-crop_mask_d2x2", "-cxt->maskup"}},
      {16, 128, 127, direct, {"+cxt->maskup:16257", "-cxt->maskup"}},
      {64, 128, 128, direct, {"+cxt->maskup:16385", "-cxt->maskup"}},
  };
  Random random(52);
  for (const PathCase& path : cases) {
    const CROP_BOX box{2, 1 + path.crop_height, 4, 3 + path.crop_width, 0};
    Scene scene(random, 140, 140, 0, path.mask_size, box);
    LogCapture log;
    EXPECT_EQ(scene.Render(7, 0, 0), 0);
    EXPECT_EQ(log.timing_labels(), path.labels);
    EXPECT_EQ(scene.pool.events, path.events);
    EXPECT_EQ(scene.cxt.print_log, 7);
  }
}

TEST(Compositing, LogsSizesByTheSwitches) {
  Random random(53);
  const CROP_BOX box{10, 30, 5, 17, 0};
  Scene scene(random, 40, 40, 0, 50, box);
  const std::string sizes = "cxt->maskupheight is [21],cxt->maskupwidth is [13]\n";
  const LogLine video{4, "QZA_MVANTRO", sizes};
  const LogLine photo{6, "QZA_VANTRO_PHOTO", sizes};
  const LogLine bounds{
      4, "QZA_MVANTRO",
      "kc_para.crop_param.crop_bottom is [30],kc_para.crop_param.crop_top is "
      "[10],kc_para.crop_param.crop_right is [17],kc_para.crop_param.crop_left[5]\n"};
  const LogLine region{4, "QZA_MVANTRO", "ROI__\n"};
  LogCapture log;
  scene.Render(0, 0, 0);
  EXPECT_THAT(log.lines(), ElementsAre());
  scene.Render(0, 0, 1);
  EXPECT_THAT(log.lines(), ElementsAre(photo));
  EXPECT_THAT(log.timing_labels(), ElementsAre());
  log.clear();
  scene.Render(1, 0, 1);
  EXPECT_THAT(log.lines(), ElementsAre(video, photo, bounds, region));
}

TEST(Compositing, RefusesBadInput) {
  Random random(54);
  const CROP_BOX box{0, 39, 0, 39, 0};
  Scene scene(random, 40, 40, 0, 8, box);
  scene.cxt.print_log = 5;
  scene.cxt.maskupwidth = 6;
  const auto refused = [&](auto change) {
    const Vantro_t before = scene.record();
    change(scene.record());
    const bool result = scene.Render(1, 1, 1) == -2006;
    scene.record() = before;
    return result && scene.cxt.print_log == 5 && scene.cxt.maskupwidth == 6 && scene.untouched();
  };
  LogCapture log;
  EXPECT_EQ(VantroObject(nullptr, 1, 1, 1, scene.record()), -2006);
  EXPECT_TRUE(refused([](Vantro_t& r) { r.width = 0; }));
  EXPECT_TRUE(refused([](Vantro_t& r) { r.height = 0; }));
  EXPECT_TRUE(refused([](Vantro_t& r) { r.width = 41; }));
  EXPECT_TRUE(refused([](Vantro_t& r) { r.height = 41; }));
  EXPECT_TRUE(refused([](Vantro_t& r) { r.width = -40; }));
  EXPECT_TRUE(refused([](Vantro_t& r) { r.maskw = 0; }));
  EXPECT_TRUE(refused([](Vantro_t& r) { r.maskh = 0; }));
  EXPECT_TRUE(refused([](Vantro_t& r) { r.maskh = -8; }));
  EXPECT_TRUE(refused([](Vantro_t& r) { r.mask = nullptr; }));
  EXPECT_TRUE(refused([](Vantro_t& r) { r.crop_param.crop_left = -1; }));
  EXPECT_TRUE(refused([](Vantro_t& r) { r.crop_param.crop_top = -1; }));
  EXPECT_TRUE(refused([](Vantro_t& r) { r.crop_param.crop_right = 40; }));
  EXPECT_TRUE(refused([](Vantro_t& r) { r.crop_param.crop_bottom = 40; }));
  EXPECT_TRUE(
      refused([](Vantro_t& r) { r.crop_param.crop_left = 39, r.crop_param.crop_right = 38; }));
  EXPECT_TRUE(refused([](Vantro_t& r) {
    r.crop_param.crop_top = std::numeric_limits<int>::max();
    r.crop_param.crop_bottom = std::numeric_limits<int>::min();
  }));
  EXPECT_EQ(scene.pool.allocations(), 0);
  EXPECT_THAT(log.lines(), ElementsAre());
}

TEST(Compositing, ReleasesWhatItTookWhenThePoolIsEmpty) {
  Random random(55);
  for (const int mask_size : {8, 16}) {
    for (const int fail_at : {0, 1}) {
      Scene scene(random, 64, 64, 0, mask_size, CROP_BOX{0, 63, 0, 63, 0});
      scene.pool.FailAt(fail_at);
      EXPECT_EQ(scene.Render(), -1);
      EXPECT_EQ(scene.pool.live(), 0u);
      EXPECT_EQ(scene.cxt.maskup, nullptr);
      EXPECT_TRUE(scene.untouched());
    }
  }
}

TEST(Compositing, GivesUpWhenTheDumpHasNoMemory) {
  Random random(56);
  Scene scene(random, 40, 40, 0, 64, CROP_BOX{0, 39, 0, 38, 0});
  int image_request = -1;
  {
    const FailingMalloc heap;
    EXPECT_EQ(scene.Render(0, 1, 0), 0);
    const std::vector<size_t> sizes = heap.sizes();
    image_request =
        static_cast<int>(std::find(sizes.begin(), sizes.end(), 39u * 40u) - sizes.begin());
  }
  const Bytes before = scene.rendered();
  const FailingMalloc heap(image_request);
  LogCapture log;
  EXPECT_EQ(scene.Render(0, 1, 0), -1);
  EXPECT_THAT(log.lines(), ElementsAre(LogLine{4, "QZA_MVANTRO", "A is malloc failed! \n"}));
  EXPECT_EQ(scene.rendered(), before);
  EXPECT_EQ(scene.cxt.maskup, nullptr);
  EXPECT_EQ(scene.pool.live(), 0u);
}

TEST(Compositing, RendersAnEmptyMaskWhenTheResizeHasNoMemory) {
  Random random(57);
  Scene scene(random, 64, 64, 0, 8, CROP_BOX{0, 63, 0, 63, 0});
  // Blocks 0 and 1 come from the pool.
  const FailingMalloc heap(2);
  LogCapture log;
  EXPECT_EQ(scene.Render(), 0);
  EXPECT_EQ(log.lines().size(), 1u);
  Bytes gray = scene.rendered();
  const size_t chroma = Area(66, 64);
  for (size_t row = 0; row < 32; ++row) {
    EXPECT_EQ(std::count(gray.begin() + static_cast<ptrdiff_t>(chroma + 66 * row),
                         gray.begin() + static_cast<ptrdiff_t>(chroma + 66 * row + 64), 128),
              64);
  }
}

}  // namespace
}  // namespace vantro::test

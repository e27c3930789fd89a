// The grey effect and the blend against their formulas a pixel at a time.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/render/plain_frames.h"
#include "tests/support/log_capture.h"
#include "vantro/render.h"

namespace vantro::test {
namespace {

// The built-in curve, or a table of the host's own.
AlgoCxt RandomContext(Random& random) {
  AlgoCxt cxt = BuiltInContext();
  if (random.Int(0, 4) == 0) cxt.contrastTable[random.Int(0, 255)] ^= 1;
  return cxt;
}

Picture RandomPicture(Random& random) {
  constexpr int kFormats[] = {0, 1, 4, 4, 2, 3, 5, 255};
  const int format = kFormats[random.Int(0, random.Int(0, 9) == 0 ? 7 : 3)];
  const int height = random.Int(1, 12), stride = random.Int(1, random.Int(0, 3) == 0 ? 400 : 90);
  return {format, height, stride, random.Noise(FrameSize(format, stride, height))};
}

// A box that is mostly inside the frame, or one at the ends of what an int holds, which has no
// pixel of the frame.
CROP_BOX RandomBox(Random& random, int width, int height) {
  constexpr int kMin = std::numeric_limits<int>::min();
  constexpr int kMax = std::numeric_limits<int>::max();
  constexpr CROP_BOX kExtremes[] = {{kMin, -1, kMin, kMax, 0},
                                    {kMax, kMin, kMax, kMin, 0},
                                    {kMin, -1, kMax, kMin, 0},
                                    {kMax, kMin, kMin, kMax, 0}};
  if (random.Int(0, 9) == 0) return kExtremes[random.Int(0, 3)];
  const int top = random.Int(-3, height - 1);
  const int left = random.Int(-3, width - 1);
  return {top, random.Int(top - 1, height + 3), left, random.Int(left - 1, width + 3), 0};
}

TEST(GrayEffect, GreysTheRectangleOnly) {
  Random random(1);
  for (int i = 0; i < 1000; ++i) {
    const Picture picture = RandomPicture(random);
    SCOPED_TRACE(testing::Message() << "frame " << i << ", format " << picture.format);
    AlgoCxt cxt = RandomContext(random);
    Vantro_t record{};
    record.yuv_format = static_cast<uint8_t>(picture.format);
    record.height = picture.height;
    record.width = -1;  // not read
    record.stride = picture.stride;
    record.rect = RandomRect(random, picture.stride, picture.height);
    const Bytes expected = picture.Effect(cxt.contrastTable, record.rect, false, KeepNothing);
    Bytes frame = picture.bytes, first_frame = frame;
    record.yuv = frame.data();
    ASSERT_EQ(Grayeffect(&cxt, record), 0);
    ASSERT_TRUE(SamePlanes(frame, expected, picture.stride));

    record.yuv = nullptr;
    record.last_yuv = first_frame.data();
    const LogCapture log;
    ASSERT_EQ(Grayeffect_firstframeIdx(&cxt, record), 0);
    ASSERT_TRUE(
        SamePlanes(first_frame, picture.format == 1 ? picture.bytes : expected, picture.stride));
    ASSERT_THAT(log.lines(), testing::ElementsAre(
                                 LogLine{4, "QZA_MVANTRO", "This is Grayeffect_firstframeIdx \n"}));
  }
}

TEST(Blend, KeepsTheChromaOfTheSubject) {
  Random random(2);
  for (int i = 0; i < 1000; ++i) {
    const Picture picture = RandomPicture(random);
    SCOPED_TRACE(testing::Message() << "frame " << i << ", format " << picture.format);
    AlgoCxt cxt = RandomContext(random);
    const Rect_t rect = RandomRect(random, picture.stride, picture.height);
    const CROP_BOX box = RandomBox(random, picture.stride, picture.height);
    const int64_t box_width = int64_t{box.crop_right} - box.crop_left + 1;
    const int64_t box_height = int64_t{box.crop_bottom} - box.crop_top + 1;
    const bool extreme = box_width > 1000 || box_height > 1000 || box_width < 0;
    Bytes mask(extreme ? 1 : Area(box_width, box_height));
    const int background_per_cent = random.Int(0, 40);
    for (uint8_t& byte : mask) {
      const bool background = random.Int(0, 99) < background_per_cent;
      byte = background ? 0 : static_cast<uint8_t>(random.Int(1, 255));
    }
    const Bytes expected = picture.Effect(cxt.contrastTable, rect, true, [&](int64_t r, int64_t c) {
      return Contains(box, r, c) &&
             mask[Index(c - box.crop_left, r - box.crop_top, box_width)] != 0;
    });
    Bytes frame = picture.bytes;
    ASSERT_EQ(Grayeffect_Alpha_YUV(&cxt, frame.data(), picture.stride, mask.data(), picture.height,
                                   -1, box, rect, picture.format),
              0);
    ASSERT_TRUE(SamePlanes(frame, expected, picture.stride));
  }
}

}  // namespace
}  // namespace vantro::test

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

TEST(CropLuma, CopiesTheBoxOfEveryFormat) {
  Random random(4);
  for (int i = 0; i < 200; ++i) {
    const int stride = random.Int(1, 60), height = random.Int(1, 20);
    const int format = random.Int(0, 5);
    const int left = random.Int(0, stride - 1), columns = random.Int(0, stride - left);
    const int top = random.Int(0, height - 1), rows = random.Int(0, height - top);
    const int dst_stride = columns + random.Int(0, 3);
    const Bytes src = random.Noise((format == 4 ? 2 : 1) * Area(stride, height));
    Bytes dst(Area(dst_stride, rows), 9), expected = dst;
    for (int at = 0; at < rows * columns; ++at) {
      const size_t from = Index(left + at % columns, top + at / columns, stride);
      uint8_t& out = expected[Index(at % columns, at / columns, dst_stride)];
      if (format == 0 || format == 1) out = src[from];
      if (format == 4) out = src[2 * from + 1];
    }
    const CROP_BOX box = {top, top + rows - 1, left, left + columns - 1, 0};
    auto* const source = const_cast<uint8_t*>(src.data());
    ASSERT_EQ(getYcomponent(dst.data(), source, stride, dst_stride, -1, -1, box, format),
              dst.data());
    ASSERT_TRUE(SamePlanes(dst, expected, std::max(dst_stride, 1)));
  }
}

TEST(MaskValues, RaiseSmallOnes) {
  Bytes src = {0, 1, 2, 3, 4, 5, 6, 255};
  Bytes dst(10, 7);
  EXPECT_EQ(preProcessMask(dst.data(), src.data(), 2, 4, 5), dst.data());
  EXPECT_EQ(dst, (Bytes{0, 255, 255, 255, 7, 255, 5, 6, 255, 7}));
  preProcessMask(dst.data(), src.data(), 2, 0, 5);
  preProcessMask(dst.data(), src.data(), -1, 4, 5);
  EXPECT_EQ(dst[1], 255);
}

}  // namespace
}  // namespace vantro::test

// The grey effect and the blend against their formulas a pixel at a time, on frames between
// inaccessible pages, at every vector level.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/render/plain_frames.h"
#include "tests/support/log_capture.h"
#include "tests/support/simd_levels.h"
#include "vantro/render.h"

namespace vantro::test {
namespace {

AlgoCxt BuiltInContext() {
  AlgoCxt cxt{};
  FillBuiltInCurve(&cxt);
  return cxt;
}

// The built-in curve, or a table of the host's own.
AlgoCxt RandomContext(Random& random) {
  AlgoCxt cxt = BuiltInContext();
  if (random.Int(0, 4) == 0) cxt.contrastTable[random.Int(0, 255)] ^= 1;
  return cxt;
}

struct Picture {
  int format;
  int height;
  int stride;
  Bytes bytes;

  explicit Picture(Random& random) {
    const int formats[] = {0, 1, 4, 4, 2, 3, 5, 255};
    format = formats[random.Int(0, random.Int(0, 9) == 0 ? 7 : 3)];
    height = random.Int(1, 12);
    stride = random.Int(1, random.Int(0, 3) == 0 ? 400 : 90);
    bytes = random.Noise(FrameSize(format, stride, height));
  }
  Vantro_t Record(uint8_t* pixels, const Rect_t& rect) const {
    Vantro_t record{};
    record.yuv = pixels;
    record.yuv_format = static_cast<uint8_t>(format);
    record.height = height;
    record.width = -1;  // not read
    record.stride = stride;
    record.rect = rect;
    return record;
  }
  Bytes Plain(const uint8_t* curve, const Rect_t& rect, bool pairs, const Keep& keep) const {
    Bytes result = bytes;
    if (format == 0 || format == 1) {
      PlainSemiPlanar(&result, curve, stride, height, rect, pairs, keep);
    } else if (format == 4) {
      PlainPacked(&result, curve, stride, height, rect, keep);
    }
    return result;
  }
};

bool KeepNothing(int64_t, int64_t) { return false; }

TEST(GrayEffect, GreysTheRectangleOnly) {
  AtEverySimdLevel([] {
    Random random(1);
    for (int i = 0; i < 600; ++i) {
      const Picture picture(random);
      AlgoCxt cxt = RandomContext(random);
      const Rect_t rect = RandomRect(random, picture.stride, picture.height);
      const Bytes expected = picture.Plain(cxt.contrastTable, rect, false, KeepNothing);
      SCOPED_TRACE(testing::Message() << "format " << picture.format << ", " << picture.stride
                                      << "x" << picture.height << " rect " << rect.x << ","
                                      << rect.y << " " << rect.width << "x" << rect.height);

      Guarded<uint8_t> frame(picture.bytes);
      ASSERT_EQ(Grayeffect(&cxt, picture.Record(frame.get(), rect)), 0);
      ASSERT_TRUE(SamePlanes(frame.values(), expected, picture.stride));

      Guarded<uint8_t> first_frame(picture.bytes);
      Vantro_t record = picture.Record(nullptr, rect);
      record.last_yuv = first_frame.get();
      LogCapture log;
      ASSERT_EQ(Grayeffect_firstframeIdx(&cxt, record), 0);
      ASSERT_TRUE(SamePlanes(first_frame.values(), picture.format == 1 ? picture.bytes : expected,
                             picture.stride));
      ASSERT_THAT(log.lines(), testing::ElementsAre(LogLine{
                                   4, "QZA_MVANTRO", "This is Grayeffect_firstframeIdx \n"}));
    }
  });
}

TEST(GrayEffect, CurveIsExactForEveryLuma) {
  AlgoCxt cxt = BuiltInContext();
  EXPECT_EQ(EnhanceContrast(&cxt, 26), 6);
  EXPECT_EQ(EnhanceContrast(&cxt, 200), 214);
  AtEverySimdLevel([&] {
    Bytes frame(2 * 256 * 3);
    for (size_t i = 0; i < frame.size(); ++i) frame[i] = static_cast<uint8_t>(i);
    const Bytes before = frame;
    Vantro_t record{};
    record.yuv = frame.data();
    record.yuv_format = 1;
    record.height = 4;
    record.stride = 256;
    record.rect = {0, 0, 4, 256, 0, 0};
    Grayeffect(&cxt, record);
    for (size_t v = 0; v < 4 * 256; ++v) {
      ASSERT_EQ(frame[v], cxt.contrastTable[before[v]]) << +before[v];
    }
    frame = before;
    record.yuv_format = 4;
    record.height = 3;
    record.rect.height = 3;
    Grayeffect(&cxt, record);
    for (size_t i = 1; i < frame.size(); i += 2) {
      ASSERT_EQ(frame[i], cxt.contrastTable[before[i]]) << +before[i];
    }
  });
}

TEST(Blend, KeepsTheChromaOfTheSubject) {
  AtEverySimdLevel([] {
    Random random(2);
    for (int i = 0; i < 600; ++i) {
      const Picture picture(random);
      AlgoCxt cxt = RandomContext(random);
      const Rect_t rect = RandomRect(random, picture.stride, picture.height);
      const CROP_BOX box = RandomBox(random, picture.stride, picture.height);
      const int64_t box_width = box.crop_right - box.crop_left + 1;
      const int64_t box_height = box.crop_bottom - box.crop_top + 1;
      Bytes mask_bytes(Area(box_width, box_height));
      const int background_per_cent = random.Int(0, 40);
      for (uint8_t& byte : mask_bytes) {
        byte =
            random.Int(0, 99) < background_per_cent ? 0 : static_cast<uint8_t>(random.Int(1, 255));
      }
      const Bytes expected =
          picture.Plain(cxt.contrastTable, rect, true, [&](int64_t r, int64_t c) {
            return box.crop_top <= r && r <= box.crop_bottom && box.crop_left <= c &&
                   c <= box.crop_right &&
                   mask_bytes[static_cast<size_t>((r - box.crop_top) * box_width + c -
                                                  box.crop_left)] != 0;
          });
      SCOPED_TRACE(testing::Message()
                   << "format " << picture.format << ", " << picture.stride << "x" << picture.height
                   << " rect " << rect.x << "," << rect.y << " " << rect.width << "x" << rect.height
                   << " box columns " << box.crop_left << " to " << box.crop_right << ", rows "
                   << box.crop_top << " to " << box.crop_bottom);

      Guarded<uint8_t> frame(picture.bytes);
      Guarded<uint8_t> mask(mask_bytes);
      ASSERT_EQ(Grayeffect_Alpha_YUV(&cxt, frame.get(), picture.stride, mask.get(), picture.height,
                                     -1, box, rect, picture.format),
                0);
      ASSERT_TRUE(SamePlanes(frame.values(), expected, picture.stride));
    }
  });
}

TEST(Blend, ToleratesExtremeBoxes) {
  Random random(3);
  const int extremes[] = {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};
  for (int i = 0; i < 64; ++i) {
    const Picture picture(random);
    AlgoCxt cxt = BuiltInContext();
    // The first row or column behind the last: nothing is kept, whatever the bounds.
    const bool lower_is_last = i % 2 != 0;
    CROP_BOX box{extremes[lower_is_last], extremes[!lower_is_last], extremes[i / 2 % 2],
                 extremes[i / 4 % 2], 0};
    if (!lower_is_last) box.crop_bottom = -1;
    const Rect_t rect = RandomRect(random, picture.stride, picture.height);
    Guarded<uint8_t> frame(picture.bytes);
    uint8_t mask = 1;
    Grayeffect_Alpha_YUV(&cxt, frame.get(), picture.stride, &mask, picture.height, 0, box, rect,
                         picture.format);
    ASSERT_TRUE(SamePlanes(
        frame.values(), picture.Plain(cxt.contrastTable, rect, true, KeepNothing), picture.stride));
  }
}

TEST(CropLuma, CopiesTheBoxOfEveryFormat) {
  Random random(4);
  for (int i = 0; i < 200; ++i) {
    const int stride = random.Int(1, 60);
    const int height = random.Int(1, 20);
    const int format = random.Int(0, 5);
    CROP_BOX box{};
    box.crop_left = random.Int(0, stride - 1);
    box.crop_right = random.Int(box.crop_left - 1, stride - 1);
    box.crop_top = random.Int(0, height - 1);
    box.crop_bottom = random.Int(box.crop_top - 1, height - 1);
    const int columns = box.crop_right - box.crop_left + 1;
    const int rows = box.crop_bottom - box.crop_top + 1;
    const int dst_stride = columns + random.Int(0, 3);
    const Bytes source = random.Noise((format == 4 ? 2 : 1) * Area(stride, height));
    Bytes expected(Area(dst_stride, rows), 9);
    for (int r = 0; r < rows; ++r) {
      for (int c = 0; c < columns; ++c) {
        const size_t at = Area(box.crop_top + r, stride) + static_cast<size_t>(box.crop_left + c);
        uint8_t& out = expected[Area(r, dst_stride) + static_cast<size_t>(c)];
        if (format == 0 || format == 1) out = source[at];
        if (format == 4) out = source[2 * at + 1];
      }
    }
    Guarded<uint8_t> src(source);
    Guarded<uint8_t> dst(Bytes(expected.size(), 9));
    ASSERT_EQ(getYcomponent(dst.get(), src.get(), stride, dst_stride, -1, -1, box, format),
              dst.get());
    ASSERT_TRUE(SamePlanes(dst.values(), expected, std::max(dst_stride, 1)));
  }
}

TEST(MaskValues, RaiseSmallOnes) {
  Bytes values(256);
  for (size_t v = 0; v < 256; ++v) values[v] = static_cast<uint8_t>(v);
  Guarded<uint8_t> src(values);
  Guarded<uint8_t> dst(Bytes(5 * 60 + 51, 7));
  EXPECT_EQ(preProcessMask(dst.get(), src.get(), 5, 51, 60), dst.get());
  const Bytes out = dst.values();
  for (size_t v = 0; v < 255; ++v) {
    EXPECT_EQ(out[v / 51 * 60 + v % 51], v >= 1 && v <= 4 ? 255 : v);
  }
  EXPECT_EQ(out[51], 7);
  EXPECT_EQ(preProcessMask(dst.get(), src.get(), 5, 0, 60), dst.get());
  EXPECT_EQ(preProcessMask(dst.get(), src.get(), -1, 51, 60), dst.get());
  EXPECT_EQ(dst.values(), out);
}

}  // namespace
}  // namespace vantro::test

// The corners of the subject check and of the mask utilities, and the kind of subject;
// kernel_levels_test holds masks and sizes against formulas.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "tests/image/image_buffers.h"
#include "vantro/algo_context.h"
#include "vantro/mask.h"

namespace vantro::test {
namespace {

Vantro_t Frame(int width, int height, int crop_width, int crop_height) {
  Vantro_t frame{};
  frame.width = width;
  frame.height = height;
  frame.crop_param = {10, 9 + crop_height, 20, 19 + crop_width, 0};
  return frame;
}

struct Answer {
  int result, flag, roi_state, subject_type;
  bool operator==(const Answer&) const = default;
};

Answer Ask(Vantro_t frame, uint8_t* mask, int maskw, int maskh) {
  AlgoCxt cxt{};
  cxt.roi_state = 77;
  cxt.subject_type = 78;
  cxt.tuning.area_ratio = 0.005f;
  frame.mask = mask;
  frame.maskw = maskw;
  frame.maskh = maskh;
  int flag = -9;
  const int result = GetROI(&cxt, frame, &flag);
  return {result, flag, cxt.roi_state, cxt.subject_type};
}

TEST(SubjectRegion, AsksForHalfAPerCentOfTheFrame) {
  // 0.005 * 1000 * 1000 * 100 * 100 / 400 / 400 = 312.5 mask pixels.
  Bytes mask(100 * 100, 0);
  std::fill_n(mask.begin(), 312, uint8_t{1});
  EXPECT_EQ(Ask(Frame(1000, 1000, 400, 400), mask.data(), 100, 100), (Answer{0, 0, 3, 1}));
  mask[5000] = 1;
  EXPECT_EQ(Ask(Frame(1000, 1000, 400, 400), mask.data(), 100, 100), (Answer{0, 3, 3, 1}));
  // A box of no width or height holds no subject that is large enough.
  EXPECT_EQ(Ask(Frame(1000, 1000, 0, 400), mask.data(), 100, 100), (Answer{0, 0, 3, 1}));
  Vantro_t extreme = Frame(1000, 1000, 400, 400);
  extreme.crop_param.crop_left = std::numeric_limits<int>::max();
  extreme.crop_param.crop_right = std::numeric_limits<int>::min();
  EXPECT_EQ(Ask(extreme, mask.data(), 100, 100), (Answer{0, 0, 3, 1}));
}

TEST(SubjectRegion, FindsNoSubject) {
  Bytes twos(50, 2);
  const Vantro_t frame = Frame(100, 100, 40, 40);
  EXPECT_EQ(Ask(frame, twos.data(), 10, 5), (Answer{0, 4, 4, 78}));
  EXPECT_EQ(twos, Bytes(50, 2));
  EXPECT_EQ(Ask(frame, twos.data(), 0, 5), (Answer{0, 4, 77, 78}));
  EXPECT_EQ(Ask(frame, twos.data(), 10, 0), (Answer{0, 4, 77, 78}));
  EXPECT_EQ(Ask(frame, nullptr, 10, 5), (Answer{0, 4, 77, 78}));
  EXPECT_EQ(Ask(frame, twos.data(), -10, 5), (Answer{0, 4, 4, 78}));
  EXPECT_EQ(Ask(Frame(0, 100, 40, 40), twos.data(), 10, 5), (Answer{-2007, -9, 77, 78}));
  EXPECT_EQ(Ask(Frame(100, 0, 40, 40), twos.data(), 10, 5), (Answer{-2007, -9, 77, 78}));
  int flag = -9;
  EXPECT_EQ(GetROI(nullptr, frame, &flag), -2007);
  EXPECT_EQ(flag, -9);
}

TEST(MaskUtilities, AnswerForEmptyMasksAndLargeFrames) {
  Bytes mask = {0, 1, 0, 0};
  EXPECT_EQ(ComputeMaskArea(mask.data(), 2, 2, 4, 4), 4);
  EXPECT_EQ(ComputeMaskArea(mask.data(), 0, 2, 4, 4), 0);
  EXPECT_EQ(ComputeMaskArea(mask.data(), 2, 2, 60000, 60000), 900000000);
  EXPECT_EQ(ComputeMaskArea(mask.data(), 1, 2, 60000, 60000), 1800000000);
  EXPECT_EQ(ComputeMaskArea(mask.data() + 1, 1, 1, 60000, 60000), std::numeric_limits<int>::max());
  int found = 9;
  EXPECT_EQ(CheckMask(mask.data(), 0, 4, &found), 0);
  EXPECT_EQ(found, 0);
  EXPECT_EQ(PreserveObjMask(mask.data(), 4, -1, 7, &found), 0);
  EXPECT_EQ(found, 0);
  EXPECT_EQ(mask[1], 1);
  for (int code = 0; code < 256; ++code) {
    EXPECT_EQ(IsSupportType(static_cast<unsigned char>(code)), code == 1);
  }
}

TEST(SubjectType, IsAPersonUnlessAWeightIsNegative) {
  AlgoCxt cxt{};
  cxt.tuning.weight_scale = 0.8f;
  unsigned char type = 0;
  Bytes mask(7 * 5, 0);
  EXPECT_EQ(GetSubject(&cxt, mask.data(), 5, 7, &type), 0);
  EXPECT_EQ(type, 1);
  EXPECT_EQ(GetSubject(nullptr, mask.data(), 5, 7, &type), -2007);

  // The cell of each pixel decides the sign of its weight: row 3*i/5, column 3*j/7.
  for (int at = 0; at < 7 * 5; ++at) {
    std::fill(mask.begin(), mask.end(), uint8_t{2});
    mask[static_cast<size_t>(at)] = 1;
    for (int cell = 0; cell < 9; ++cell) {
      std::fill_n(cxt.tuning.grid_weight, 9, 0.5f);
      cxt.tuning.grid_weight[cell] = -0.5f;
      GetSubject(&cxt, mask.data(), 5, 7, &type);
      EXPECT_EQ(type, cell == 3 * (at / 7) / 5 * 3 + 3 * (at % 7) / 7 ? 2 : 1) << at << " " << cell;
    }
  }
}

}  // namespace
}  // namespace vantro::test

// The bilinear channel resizers against their formula, written out pixel by pixel.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "image/try_resize.h"
#include "tests/image/resize_reference.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/log_capture.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

// Any of the resizers with the arguments of the longest.
template <auto resize>
auto Any(const uint8_t* src, uint8_t* dst, const Sizes& s, int step) {
  if constexpr (std::is_invocable_v<decltype(resize), const uint8_t*, uint8_t*, int, int, int,
                                    int>) {
    return resize(src, dst, s.src_width, s.src_height, s.dst_width, s.dst_height);
  } else {
    return resize(src, dst, s.src_width, s.src_stride, s.src_height, s.dst_width, s.dst_height,
                  step);
  }
}

struct Routine {
  void (*resize)(const uint8_t*, uint8_t*, const Sizes&, int);
  bool (*try_resize)(const uint8_t*, uint8_t*, const Sizes&, int);  // for callers inside
  LogLine refusal;
};

constexpr auto kResizeUchar =
    static_cast<void (*)(const uint8_t*, uint8_t*, int, int, int, int)>(&::ResizeUchar);
const Routine kPlane = {
    Any<kResizeUchar>, Any<TryResizeUchar>, {6, "QZA_MVANTRO", "Resize 581 input error!"}};
const Routine kPlaneC = {Any<vantro_c::ResizeUchar>,
                         Any<TryResizeUcharC>,
                         {6, "VANTRO", "ResizeUchar 239 input error!"}};
const Routine kChannel = {Any<ResizeUcharChl>,
                          Any<TryResizeUcharChl>,
                          {6, "QZA_MVANTRO", "ResizeUcharChl 781 input error!"}};
const Routine kToPlane = {Any<ResizeUYVYtoYChl>,
                          Any<TryResizeUYVYtoYChl>,
                          {6, "QZA_MVANTRO", "ResizeUYVYtoYChl 402 input error!"}};
const Routine* const kRoutines[] = {&kPlane, &kPlaneC, &kChannel, &kToPlane};

struct Neighbours {
  int near, far;
  float near_weight, far_weight;

  Neighbours(int src_size, int dst_size, int i) {
    const float position =
        (static_cast<float>(src_size) / static_cast<float>(dst_size)) * static_cast<float>(i);
    near = std::clamp(static_cast<int>(position), 0, src_size - 1);
    far = std::clamp(static_cast<int>(position + 1.0f), 0, src_size - 1);
    far_weight = position - static_cast<float>(near);
    near_weight = 1.0f - far_weight;
  }
};

uint8_t Blend(const Routine* routine, const Plane& src, const Neighbours& column,
              const Neighbours& row) {
  const float p00 = src.At(column.near, row.near), p01 = src.At(column.far, row.near);
  const float p10 = src.At(column.near, row.far), p11 = src.At(column.far, row.far);
  const float wx0 = column.near_weight, wx1 = column.far_weight;
  const float wy0 = row.near_weight, wy1 = row.far_weight;
  float v = wy0 * (wx0 * p00) + wy0 * (wx1 * p01) + wy1 * (wx0 * p10) + wy1 * wx1 * p11;
  if (routine == &kPlane) {
    v = wy1 * wx1 * p11 + ((wy0 * wx0 * p00 + wy0 * wx1 * p01) + wy1 * wx0 * p10);
  }
  // Only the channel form truncates.
  return static_cast<uint8_t>(routine == &kChannel ? v : v + 0.5f);
}

TEST(ChannelResize, EqualsTheFormula) {
  Random random(1);
  std::vector<Sizes> sizes = RandomSizes(random);
  for (const auto& [src_width, dst_width] : {std::pair{600, 600}, {1030, 515}, {1921, 700}}) {
    sizes.push_back({src_width, 5, src_width + 3, dst_width, 7});
  }
  for (Sizes s : sizes) {
    for (const Routine* routine : kRoutines) {
      const bool packed = routine == &kPlane || routine == &kPlaneC;
      const int step = packed ? 1 : random.Int(1, 5);
      const int dst_step = routine == &kChannel ? step : 1;
      if (packed) s.src_stride = s.src_width;
      SCOPED_TRACE(testing::Message() << s << " step " << step << routine->refusal);
      // The last row ends with its last element, and so does the destination.
      const Bytes src =
          random.Noise(Area(step, s.src_stride * (s.src_height - 1) + s.src_width - 1) + 1);
      const Bytes before(Area(dst_step, s.dst_width * s.dst_height - 1) + 1, kUntouched);
      const Plane plane = {src.data(), s.src_width, s.src_height, step * s.src_stride, step};
      Bytes expected = PlaneOf(s.dst_width * dst_step, s.dst_height, [&](int x, int y) {
        if (x % dst_step != 0) return kUntouched;
        return Blend(routine, plane, Neighbours(s.src_width, s.dst_width, x / dst_step),
                     Neighbours(s.src_height, s.dst_height, y));
      });
      expected.resize(before.size());
      ExpectPlane(src, before, expected, s.dst_width * dst_step,
                  [&](auto* from, auto* to) { routine->resize(from, to, s, step); });
    }
  }
}

TEST(ChannelResize, ASumJustBelowAWholeNumberIsCutOnlyByTheTruncatingRoutine) {
  // Weights of thirds over a constant of 199 sum to just below 199 at some columns.
  const Bytes src(9, 199);
  for (const Routine* routine : kRoutines) {
    Bytes dst(49);
    routine->resize(src.data(), dst.data(), {3, 3, 3, 7, 7}, 1);
    EXPECT_EQ(testing::Value(dst, testing::Contains(198)), routine == &kChannel);
  }
}

TEST(ChannelResize, CallersInsideLearnWhetherTheyGotTheirPicture) {
  const Bytes src(20, 90);
  const Sizes s = {5, 4, 5, 3, 3};
  for (const Routine* routine : kRoutines) {
    Bytes dst(9, 7);
    const LogCapture log;
    EXPECT_FALSE(routine->try_resize(nullptr, dst.data(), s, 1));
    EXPECT_FALSE(routine->try_resize(src.data(), nullptr, s, 1));
    const std::vector<LogLine> lines = log.lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), routine->refusal), 2);
    EXPECT_FALSE(routine->try_resize(src.data(), dst.data(), {5, 4, 5, 3, 0}, 1));
    for (int fail_at : {0, 1}) {
      const FailingMalloc heap(fail_at);
      EXPECT_FALSE(routine->try_resize(src.data(), dst.data(), s, 1));
    }
    EXPECT_EQ(dst, Bytes(9, 7));
    const FailingMalloc heap;
    EXPECT_TRUE(routine->try_resize(src.data(), dst.data(), s, 1));
    // Two tables of (dstW + dstH) * 2 entries of 4 bytes.
    EXPECT_THAT(heap.sizes(), testing::ElementsAre(48, 48));
    EXPECT_EQ(dst, Bytes(9, 90));
  }
}

TEST(ChannelResize, TheLumaOfAFrameIsAChannelOfIt) {
  Bytes by_name(99), by_channel(99);
  const LogCapture log;
  ResizeUYVYtoY(nullptr, by_name.data(), 4, 4, 4, 2, 2);
  ResizeNV12toY(nullptr, by_name.data(), 4, 4, 4, 2, 2);
  EXPECT_EQ(log.lines(), std::vector<LogLine>(2, kToPlane.refusal));
  const Bytes frame = Random(3).Noise(2 * 24 * 10);
  ResizeUYVYtoY(frame.data(), by_name.data(), 21, 24, 10, 11, 9);
  ResizeUYVYtoYChl(frame.data() + 1, by_channel.data(), 21, 24, 10, 11, 9, 2);
  EXPECT_EQ(by_name, by_channel);
  ResizeNV12toY(frame.data(), by_name.data(), 21, 24, 10, 11, 9);
  ResizeUYVYtoYChl(frame.data(), by_channel.data(), 21, 24, 10, 11, 9, 1);
  EXPECT_EQ(by_name, by_channel);
}

}  // namespace
}  // namespace vantro::test

// The bilinear channel resizers against their formula, written out pixel by pixel.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "image/try_resize.h"
#include "tests/image/image_buffers.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/log_capture.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

enum class Routine { kPlane, kPlaneC, kChannel, kToPlane };

constexpr Routine kRoutines[] = {Routine::kPlane, Routine::kPlaneC, Routine::kChannel,
                                 Routine::kToPlane};

struct Call {
  Routine routine;
  int src_width;
  int src_stride;
  int src_height;
  int dst_width;
  int dst_height;
  int step;

  bool packed() const { return routine == Routine::kPlane || routine == Routine::kPlaneC; }
  int dst_step() const { return routine == Routine::kChannel ? step : 1; }
};

std::ostream& operator<<(std::ostream& out, const Call& c) {
  return out << "routine " << static_cast<int>(c.routine) << ": " << c.src_width << "/"
             << c.src_stride << "x" << c.src_height << " to " << c.dst_width << "x" << c.dst_height
             << " step " << c.step;
}

void Perform(const Call& c, const uint8_t* src, uint8_t* dst) {
  switch (c.routine) {
    case Routine::kPlane:
      return ResizeUchar(src, dst, c.src_width, c.src_height, c.dst_width, c.dst_height);
    case Routine::kPlaneC:
      return vantro_c::ResizeUchar(src, dst, c.src_width, c.src_height, c.dst_width, c.dst_height);
    case Routine::kChannel:
      return ResizeUcharChl(src, dst, c.src_width, c.src_stride, c.src_height, c.dst_width,
                            c.dst_height, c.step);
    case Routine::kToPlane:
      return ResizeUYVYtoYChl(src, dst, c.src_width, c.src_stride, c.src_height, c.dst_width,
                              c.dst_height, c.step);
  }
}

// The form for callers inside the library.
bool Try(const Call& c, const uint8_t* src, uint8_t* dst) {
  switch (c.routine) {
    case Routine::kPlane:
      return TryResizeUchar(src, dst, c.src_width, c.src_height, c.dst_width, c.dst_height);
    case Routine::kPlaneC:
      return TryResizeUcharC(src, dst, c.src_width, c.src_height, c.dst_width, c.dst_height);
    case Routine::kChannel:
      return TryResizeUcharChl(src, dst, c.src_width, c.src_stride, c.src_height, c.dst_width,
                               c.dst_height, c.step);
    default:
      return TryResizeUYVYtoYChl(src, dst, c.src_width, c.src_stride, c.src_height, c.dst_width,
                                 c.dst_height, c.step);
  }
}

struct Neighbours {
  int near;
  int far;
  float near_weight;
  float far_weight;

  Neighbours(int src_size, int dst_size, int i) {
    const float position =
        (static_cast<float>(src_size) / static_cast<float>(dst_size)) * static_cast<float>(i);
    near = std::clamp(static_cast<int>(position), 0, src_size - 1);
    far = std::clamp(static_cast<int>(position + 1.0f), 0, src_size - 1);
    far_weight = position - static_cast<float>(near);
    near_weight = 1.0f - far_weight;
  }
};

Bytes Expected(const Call& c, const Bytes& src, Bytes dst) {
  for (int y = 0; y < c.dst_height; ++y) {
    const Neighbours row(c.src_height, c.dst_height, y);
    for (int x = 0; x < c.dst_width; ++x) {
      const Neighbours column(c.src_width, c.dst_width, x);
      const auto sample = [&](int sx, int sy) -> float {
        return src[Area(c.step, int64_t{sy} * c.src_stride + sx)];
      };
      const float p00 = sample(column.near, row.near);
      const float p01 = sample(column.far, row.near);
      const float p10 = sample(column.near, row.far);
      const float p11 = sample(column.far, row.far);
      const float wx0 = column.near_weight, wx1 = column.far_weight;
      const float wy0 = row.near_weight, wy1 = row.far_weight;
      float v = 0;
      if (c.routine == Routine::kPlane) {
        v = wy1 * wx1 * p11 + ((wy0 * wx0 * p00 + wy0 * wx1 * p01) + wy1 * wx0 * p10) + 0.5f;
      } else {
        v = wy0 * (wx0 * p00) + wy0 * (wx1 * p01) + wy1 * (wx0 * p10) + wy1 * wx1 * p11;
        if (c.routine != Routine::kChannel) v = v + 0.5f;
      }
      dst[Area(c.dst_step(), int64_t{y} * c.dst_width + x)] = static_cast<uint8_t>(v);
    }
  }
  return dst;
}

void CheckCall(const Call& c, Random& random) {
  SCOPED_TRACE(c);
  // The last row ends with its last element, and so does the destination.
  const Bytes src =
      random.Noise(Area(c.step, int64_t{c.src_stride} * (c.src_height - 1) + c.src_width - 1) + 1);
  const Bytes before =
      random.Noise(Area(c.dst_step(), int64_t{c.dst_width} * c.dst_height - 1) + 1);
  const Bytes expected = Expected(c, src, before);
  ExpectPlane(src, before, expected, c.dst_width * c.dst_step(),
              [&](auto* from, auto* to) { Perform(c, from, to); });
}

TEST(ChannelResize, EqualsTheFormulaAtRandomSizes) {
  Random random(1);
  for (int i = 0; i < 160; ++i) {
    Call c = {kRoutines[i % 4],  random.Int(1, 90), 0, random.Int(1, 30),
              random.Int(1, 90), random.Int(1, 30), 1};
    c.src_stride = c.src_width;
    if (!c.packed()) {
      c.src_stride += random.Int(0, 5);
      c.step = random.Int(1, 5);
    }
    CheckCall(c, random);
  }
}

TEST(ChannelResize, EqualsTheFormulaAcrossStripsAndScales) {
  Random random(2);
  for (Routine routine : kRoutines) {
    for (const auto& [src_width, dst_width] :
         {std::pair{640, 480}, {480, 640}, {90, 1100}, {1030, 515}, {1921, 700}, {2000, 99}}) {
      CheckCall({routine, src_width, src_width, 9, dst_width, 12, 1}, random);
    }
  }
  CheckCall({Routine::kChannel, 700, 701, 5, 1025, 7, 2}, random);
  CheckCall({Routine::kToPlane, 700, 703, 5, 1025, 7, 2}, random);
  CheckCall({Routine::kToPlane, 3, 3, 2, 600, 1, 1}, random);
  CheckCall({Routine::kToPlane, 2000, 2000, 5, 99, 7, 2}, random);
  for (int step : {1, 2, 3}) {
    CheckCall({Routine::kChannel, 600, 605, 5, 600, 5, step}, random);
    CheckCall({Routine::kToPlane, 600, 605, 5, 600, 5, step}, random);
  }
}

TEST(ChannelResize, ASumJustBelowAWholeNumberIsCutOnlyByTheTruncatingRoutine) {
  // Weights of thirds over a constant of 199 sum to just below 199 at some columns.
  const Bytes src(9, 199);
  Bytes truncated(49), rounded(49), grouped(49);
  ResizeUcharChl(src.data(), truncated.data(), 3, 3, 3, 7, 7, 1);
  ResizeUYVYtoYChl(src.data(), rounded.data(), 3, 3, 3, 7, 7, 1);
  ResizeUchar(src.data(), grouped.data(), 3, 3, 7, 7);
  EXPECT_THAT(truncated, testing::Contains(198));
  EXPECT_THAT(rounded, testing::Each(199));
  EXPECT_THAT(grouped, testing::Each(199));
}

// The ERROR lines of each routine; ResizeUcharChl writes an INFO line first on every call.
struct Site {
  Routine routine;
  const char* tag;
  const char* input_error;
  const char* malloc_error;
};

constexpr Site kSites[] = {
    {Routine::kPlane, "QZA_MVANTRO", "Resize 581 input error!", "Resize 595 malloc error!"},
    {Routine::kPlaneC, "VANTRO", "ResizeUchar 239 input error!", "ResizeUchar 253 malloc error!"},
    {Routine::kChannel, "QZA_MVANTRO", "ResizeUcharChl 781 input error!",
     "ResizeUcharChl 795 malloc error!"},
    {Routine::kToPlane, "QZA_MVANTRO", "ResizeUYVYtoYChl 402 input error!",
     "ResizeUYVYtoYChl 416 malloc error!"}};

std::vector<LogLine> LinesOf(const Site& site, const char* error) {
  std::vector<LogLine> lines;
  if (site.routine == Routine::kChannel) {
    lines.push_back({4, "QZA_MVANTRO", "ResizeUcharChl Plimra_Process_ResizeUcharChlY_begin "});
  }
  if (error != nullptr) lines.push_back({6, site.tag, error});
  return lines;
}

TEST(ChannelResize, NullBuffersAreLoggedAndLumaIsAChannel) {
  for (const Site& site : kSites) {
    const Call c = {site.routine, 4, 4, 4, 3, 3, 1};
    Bytes bytes(16, 7);
    LogCapture log;
    Perform(c, nullptr, bytes.data());
    EXPECT_EQ(log.lines(), LinesOf(site, site.input_error));
    log.clear();
    Perform(c, bytes.data(), nullptr);
    EXPECT_EQ(log.lines(), LinesOf(site, site.input_error));
    EXPECT_EQ(bytes, Bytes(16, 7));
  }
  // The luma of whole frames is one channel of them.
  LogCapture log;
  Bytes dst(16, 7);
  ResizeUYVYtoY(nullptr, dst.data(), 4, 4, 4, 2, 2);
  ResizeNV12toY(nullptr, dst.data(), 4, 4, 4, 2, 2);
  EXPECT_EQ(log.lines(), std::vector<LogLine>(2, {6, "QZA_MVANTRO", kSites[3].input_error}));
  const Bytes frame = Random(3).Noise(2 * 24 * 10);
  Bytes by_name(99), by_channel(99);
  ResizeUYVYtoY(frame.data(), by_name.data(), 21, 24, 10, 11, 9);
  ResizeUYVYtoYChl(frame.data() + 1, by_channel.data(), 21, 24, 10, 11, 9, 2);
  EXPECT_EQ(by_name, by_channel);
  ResizeNV12toY(frame.data(), by_name.data(), 21, 24, 10, 11, 9);
  ResizeUYVYtoYChl(frame.data(), by_channel.data(), 21, 24, 10, 11, 9, 1);
  EXPECT_EQ(by_name, by_channel);
}

TEST(ChannelResize, AFailedTableIsLoggedAndTheOtherFreed) {
  const Bytes src(20, 90);
  for (const Site& site : kSites) {
    const Call c = {site.routine, 5, 5, 4, 3, 3, 1};
    for (int fail_at : {0, 1}) {
      Bytes dst(9, 7);
      LogCapture log;
      FailingMalloc heap(fail_at);
      Perform(c, src.data(), dst.data());
      EXPECT_EQ(heap.live(), 0);
      EXPECT_EQ(log.lines(), LinesOf(site, site.malloc_error));
      EXPECT_EQ(dst, Bytes(9, 7));
      const FailingMalloc again(fail_at);
      EXPECT_FALSE(Try(c, src.data(), dst.data()));
    }
    Bytes dst(9, 7);
    FailingMalloc heap;
    Perform(c, src.data(), dst.data());
    // Two tables of (dstW + dstH) * 2 entries of 4 bytes.
    EXPECT_THAT(heap.sizes(), testing::ElementsAre(48, 48));
    EXPECT_EQ(heap.live(), 0);
    EXPECT_EQ(dst, Bytes(9, 90));
    EXPECT_TRUE(Try(c, src.data(), dst.data()));
    EXPECT_FALSE(Try(c, nullptr, dst.data()));
    EXPECT_FALSE(Try({site.routine, 5, 5, 4, 3, 0, 1}, src.data(), dst.data()));
  }
}

}  // namespace
}  // namespace vantro::test

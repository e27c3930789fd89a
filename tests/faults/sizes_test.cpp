// Sizes, strides, steps and radii from the whole range of int: where one of them leaves nothing to
// do, nothing outside the buffers is touched, whatever the others are; where they ask for more
// memory than 32 bits count, the operation refuses. The undefined-behaviour sanitizer watches the
// arithmetic.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <climits>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "tests/support/log_capture.h"
#include "tests/support/tracking_pool.h"
#include "vantro/diagnostics.h"
#include "vantro/image.h"
#include "vantro/mask.h"
#include "vantro/motion.h"
#include "vantro/render.h"
#include "vantro/tracked_alloc.h"

namespace vantro::test {
namespace {

// The arguments of one call: `ints` in the order of the signature, buffers that end at an
// inaccessible page.
class Arguments {
 public:
  explicit Arguments(std::vector<int> ints) : ints_(std::move(ints)) {}
  ~Arguments() {
    for (const auto& buffer : buffers_) EXPECT_TRUE(buffer->front_intact());
  }
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;

  template <typename T>
  T Next() {
    if constexpr (std::is_same_v<T, int>) {
      return ints_.at(next_++);
    } else if constexpr (std::is_pointer_v<T>) {
      buffers_.push_back(std::make_unique<GuardedBuffer>(size_t{1024}));
      return reinterpret_cast<T>(buffers_.back()->data());
    } else if constexpr (std::is_same_v<T, std::string>) {
      return "/no such folder/file";
    } else {
      return static_cast<T>(1);
    }
  }

 private:
  std::vector<int> ints_;
  size_t next_ = 0;
  std::vector<std::unique_ptr<GuardedBuffer>> buffers_;
};

struct Hostile {
  const char* name;
  size_t ints;                                 // int arguments
  std::function<void(std::vector<int>)> call;  // with these int arguments
  std::vector<size_t> decisive = {};           // those of them that leave nothing to do below 1
};

template <typename Result, typename... Args>
Hostile Row(const char* name, Result (*function)(Args...)) {
  return {name, (size_t{0} + ... + (std::is_same_v<Args, int> ? 1 : 0)),
          [function](std::vector<int> ints) {
            Arguments arguments(std::move(ints));
            // Braces: in order.
            std::apply(function, std::tuple<Args...>{arguments.Next<Args>()...});
          }};
}

// The function and its name.
#define ROW(function) Row(#function, &function)

using ByteResize = void (*)(const unsigned char*, unsigned char*, int, int, int, int);
using LongBlur = int (*)(const unsigned char*, unsigned char*, int, int, int, int, int, float,
                         MThreadPool*, int, unsigned char*);
using ShortBlur = int (*)(const unsigned char*, unsigned char*, int, int, int, float, MThreadPool*,
                          int, unsigned char*);

std::vector<Hostile> Rows() {
  std::vector<Hostile> all;
  const auto add = [&](const std::vector<size_t>& decisive, auto... rows) {
    ((rows.decisive = decisive, all.push_back(rows)), ...);
  };
  add({0}, ROW(bilinearGrayU8BorderLines), ROW(upScale2x2), ROW(upScale4x4BorderRows),
      ROW(getInvMat), ROW(getMaskBase_part));
  add({0, 1}, ROW(upScale4x4), ROW(averageGrayU8Down2x2), ROW(averageGrayU8Down4x4),
      ROW(downscale_x4_avg), ROW(downscale_x16_avg), ROW(upscale_x4_blinear),
      ROW(upscale_x16_blinear), ROW(erosion), ROW(dilation), ROW(preProcessMask),
      ROW(convertI420ToRGBU8), ROW(YV16ToRGB), ROW(RGBToUYVY), ROW(RGBToNV21),
      ROW(guide_filter_acc), ROW(guided_filter_fast_detail_optm2), ROW(boxfilter_iter_f),
      ROW(guidedfilter_f), ROW(opticalFKPolyExp), ROW(opticalFKUpdateMatrices), ROW(opticalFK_Blur),
      ROW(__pointMulit), ROW(__convertToFloat), ROW(CompareOpticalFlow),
      Row("gaussian_blur, short", static_cast<ShortBlur>(&gaussian_blur)), ROW(GaussianBlur3x3_u8),
      ROW(GaussianBlur13x13_u8), ROW(transpose), ROW(connectionFilter), ROW(connectionFilterGuide),
      ROW(calArea), ROW(getMask), ROW(JudgeArea), ROW(getMaskbyBase), ROW(GetSubject),
      ROW(CheckMask), ROW(PreserveObjMask), ROW(ComputeMaskArea), ROW(save_bmp_file),
      ROW(save_nv12_or_nv21_UYVY_to_bmp_file));
  add({3, 4}, ROW(up_scale_context), ROW(upscale4X), ROW(resizeNV21), ROW(resizeNV21Integer),
      ROW(resizeYInteger), ROW(resizeY16X), ROW(resizeNV1216X), ROW(resizeYrotateMinus90),
      ROW(resizeYrotateMinus90Integer), ROW(resizeNV21RotateMinus90),
      ROW(resizeNV21RotateMinus90_X), ROW(resizeNV21RotateMinus90Integer));
  add({1}, ROW(UYVYToRGB), Row("gaussian_blur", static_cast<LongBlur>(&gaussian_blur)));
  add({1, 2}, ROW(NV21ToRGB), ROW(opticalFlow_Init));
  add({0, 1, 2, 3}, Row("ResizeUchar", static_cast<ByteResize>(&::ResizeUchar)),
      ROW(vantro_c::ResizeUchar), ROW(ResizeUchar_upScale2x2));
  add({0, 2, 3, 4, 5}, ROW(ResizeUcharChl), ROW(ResizeUYVYtoYChl));
  add({0, 2, 3, 4}, ROW(ResizeUYVYtoY), ROW(ResizeNV12toY), ROW(ResizeUcharNV21),
      ROW(ResizeUcharNV12), ROW(ResizeUcharUYVY));
  add({2, 3}, ROW(ResizeUcharHalfSemiPlanar), ROW(Resize_secure), ROW(resizeSpareDisparityNearest),
      ROW(resizeFloat_Bilinear), ROW(resizeFloat_Nearest_2Ch), ROW(resizeUcharRGB),
      ROW(resizeUcharRGBChl));
  add({0, 1, 2, 3, 4}, ROW(resize));
  add({4}, ROW(resizeYrotateMinus90_Multi));
  return all;
}

class HostileSizes : public ::testing::Test {
 protected:
  HostileSizes() { fmalloc = pool_.get()->alloc, ffree = pool_.get()->free; }
  ~HostileSizes() override { fmalloc = nullptr, ffree = nullptr; }

  TrackingPool pool_;
  LogCapture log_;
};

TEST_F(HostileSizes, NothingToDoTouchesNothing) {
  constexpr int kEmpty[] = {INT_MIN, INT_MIN + 1, -65536, -1, 0};
  constexpr int kAny[] = {INT_MIN, INT_MIN + 1, -1, 0, 1, 2, 17, 65536, INT_MAX - 1, INT_MAX};
  std::mt19937 random(11);
  const auto pick = [&](const auto& values) { return values[random() % std::size(values)]; };
  for (const Hostile& row : Rows()) {
    for (int i = 0; i < 400; ++i) {
      std::vector<int> ints(row.ints);
      for (int& value : ints) value = pick(kAny);
      ints[pick(row.decisive)] = pick(kEmpty);
      SCOPED_TRACE(row.name + ::testing::PrintToString(ints));
      row.call(ints);
    }
    log_.clear();
  }
}

TEST_F(HostileSizes, ScratchMemoryPast32BitsIsRefused) {
  constexpr int kSide = 65536;
  uint8_t byte = 7;
  float number = 7;
  const unsigned short weights[13] = {};
  EXPECT_EQ(GaussianBlur3x3_u8(&byte, &byte, kSide, kSide, kSide, kSide, weights), -1);
  EXPECT_EQ(GaussianBlur13x13_u8(&byte, &byte, INT_MAX, INT_MAX, INT_MAX, INT_MAX, weights), -1);
  EXPECT_EQ(getInvMat(&number, &number, 46341), -1);
  EXPECT_EQ(CompareOpticalFlow(&byte, &byte, 0, kSide, kSide, 0, 0, 0, 1, 1), -1);
  ME_Handler* flow = reinterpret_cast<ME_Handler*>(&number);
  EXPECT_EQ(opticalFlow_Init(&flow, 4, 0.5f, INT_MAX, INT_MAX), -1);
  EXPECT_EQ(flow, nullptr);
  erosion(&byte, kSide, kSide, 1);
  dilation(&byte, INT_MAX, INT_MAX, 1);
  EXPECT_EQ(connectionFilterGuide(nullptr, &byte, &byte, kSide, kSide), 2000);
  EXPECT_EQ(save_bmp_file("/no such folder/file", &byte, kSide, kSide, 3, 0), -1);
  EXPECT_EQ(byte, 7);

  // The total of what was asked for stays where it is when it is full.
  for (int i = 0; i < 3; ++i) __Free(__Malloc(INT_MAX, "large"), "large");
  log_.clear();
  showMemTotal(1);
  EXPECT_TRUE(log_.contains("frame: 1  mem use: 2147483647"));
}

TEST_F(HostileSizes, AColourRowMayHaveMoreSamplesThanAnIntCounts) {
  constexpr int kWidth = 1 << 30;
  constexpr size_t kBytes = size_t{3} * kWidth, kLastSampled = kBytes / 4 * 3;
  void* const pages = mmap(nullptr, kBytes, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(pages, MAP_FAILED);
  auto* const src = static_cast<uint8_t*>(pages);
  ASSERT_EQ(mprotect(src + kLastSampled, 4096, PROT_READ | PROT_WRITE), 0);
  for (size_t i : {0, 1, 2}) src[kLastSampled + i] = static_cast<uint8_t>(i + 1);
  std::vector<uint8_t> dst(12, 7);
  resizeUcharRGB(src, dst.data(), kWidth, 1, 4, 1);
  EXPECT_EQ(dst, (std::vector<uint8_t>{0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3}));
  munmap(pages, kBytes);
}

}  // namespace
}  // namespace vantro::test

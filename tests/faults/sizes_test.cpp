// Sizes, strides, steps and radii from the whole range of int: where one of them leaves nothing to
// do, nothing outside the buffers is touched, whatever the others are; where they ask for more
// memory than 32 bits count, the operation refuses. The undefined-behaviour sanitizer watches the
// arithmetic.
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "tests/support/log_capture.h"
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
  std::vector<size_t> decisive;                // those of them that leave nothing to do below 1
  std::function<void(std::vector<int>)> call;  // with these int arguments
};

template <typename Result, typename... Args>
Hostile Row(const char* name, Result (*function)(Args...), std::vector<size_t> decisive) {
  return {name, (size_t{0} + ... + (std::is_same_v<Args, int> ? 1 : 0)), std::move(decisive),
          [function](std::vector<int> ints) {
            Arguments arguments(std::move(ints));
            // Braces: in order.
            std::apply(function, std::tuple<Args...>{arguments.Next<Args>()...});
          }};
}

// The function and its name.
#define ROW(function, ...) Row(#function, &function, {__VA_ARGS__})

using ByteResize = void (*)(const unsigned char*, unsigned char*, int, int, int, int);
using LongBlur = int (*)(const unsigned char*, unsigned char*, int, int, int, int, int, float,
                         MThreadPool*, int, unsigned char*);
using ShortBlur = int (*)(const unsigned char*, unsigned char*, int, int, int, float, MThreadPool*,
                          int, unsigned char*);

const std::vector<Hostile>& Rows() {
  static const std::vector<Hostile> rows = {
      ROW(bilinearGrayU8BorderLines, 0),
      ROW(upScale2x2, 0),
      ROW(upScale4x4, 0, 1),
      ROW(upScale4x4BorderRows, 0),
      ROW(up_scale_context, 3, 4),
      ROW(averageGrayU8Down2x2, 0, 1),
      ROW(averageGrayU8Down4x4, 0, 1),
      ROW(downscale_x4_avg, 0, 1),
      ROW(downscale_x16_avg, 0, 1),
      ROW(upscale_x4_blinear, 0, 1),
      ROW(upscale_x16_blinear, 0, 1),
      ROW(erosion, 0, 1),
      ROW(dilation, 0, 1),
      ROW(preProcessMask, 0, 1),
      ROW(convertI420ToRGBU8, 0, 1),
      ROW(YV16ToRGB, 0, 1),
      ROW(UYVYToRGB, 1),
      ROW(RGBToUYVY, 0, 1),
      ROW(NV21ToRGB, 1, 2),
      ROW(RGBToNV21, 0, 1),
      Row("ResizeUchar", static_cast<ByteResize>(&::ResizeUchar), {0, 1, 2, 3}),
      ROW(vantro_c::ResizeUchar, 0, 1, 2, 3),
      ROW(ResizeUcharChl, 0, 2, 3, 4, 5),
      ROW(ResizeUYVYtoYChl, 0, 2, 3, 4, 5),
      ROW(ResizeUYVYtoY, 0, 2, 3, 4),
      ROW(ResizeNV12toY, 0, 2, 3, 4),
      ROW(ResizeUcharNV21, 0, 2, 3, 4),
      ROW(ResizeUcharNV12, 0, 2, 3, 4),
      ROW(ResizeUcharUYVY, 0, 2, 3, 4),
      ROW(ResizeUcharHalfSemiPlanar, 2, 3),
      ROW(ResizeUchar_upScale2x2, 0, 1, 2, 3),
      ROW(Resize_secure, 2, 3),
      ROW(upscale4X, 3, 4),
      ROW(resize, 0, 1, 2, 3, 4),
      ROW(resizeNV21, 3, 4),
      ROW(resizeNV21Integer, 3, 4),
      ROW(resizeYInteger, 3, 4),
      ROW(resizeY16X, 3, 4),
      ROW(resizeNV1216X, 3, 4),
      ROW(resizeYrotateMinus90, 3, 4),
      ROW(resizeYrotateMinus90_Multi, 4),
      ROW(resizeYrotateMinus90Integer, 3, 4),
      ROW(resizeNV21RotateMinus90, 3, 4),
      ROW(resizeNV21RotateMinus90_X, 3, 4),
      ROW(resizeNV21RotateMinus90Integer, 3, 4),
      ROW(resizeSpareDisparityNearest, 2, 3),
      ROW(resizeFloat_Bilinear, 2, 3),
      ROW(resizeFloat_Nearest_2Ch, 2, 3),
      ROW(resizeUcharRGB, 2, 3),
      ROW(resizeUcharRGBChl, 2, 3),
      ROW(guide_filter_acc, 0, 1),
      ROW(guided_filter_fast_detail_optm2, 0, 1),
      ROW(boxfilter_iter_f, 0, 1),
      ROW(guidedfilter_f, 0, 1),
      ROW(opticalFlow_Init, 1, 2),
      ROW(opticalFKPolyExp, 0, 1),
      ROW(opticalFKUpdateMatrices, 0, 1),
      ROW(opticalFK_Blur, 0, 1),
      ROW(__pointMulit, 0, 1),
      ROW(__convertToFloat, 0, 1),
      ROW(CompareOpticalFlow, 0, 1),
      Row("gaussian_blur", static_cast<LongBlur>(&gaussian_blur), {1}),
      Row("gaussian_blur, short", static_cast<ShortBlur>(&gaussian_blur), {0, 1}),
      ROW(GaussianBlur3x3_u8, 0, 1),
      ROW(GaussianBlur13x13_u8, 0, 1),
      ROW(getInvMat, 0),
      ROW(transpose, 0, 1),
      ROW(connectionFilter, 0, 1),
      ROW(connectionFilterGuide, 0, 1),
      ROW(calArea, 0, 1),
      ROW(getMask, 0, 1),
      ROW(JudgeArea, 0, 1),
      ROW(getMaskbyBase, 0, 1),
      ROW(getMaskBase_part, 0),
      ROW(GetSubject, 0, 1),
      ROW(CheckMask, 0, 1),
      ROW(PreserveObjMask, 0, 1),
      ROW(ComputeMaskArea, 0, 1),
      ROW(save_bmp_file, 0, 1),
      ROW(save_nv12_or_nv21_UYVY_to_bmp_file, 0, 1),
  };
  return rows;
}

void* HookAlloc(uint32_t size, const char* /*name*/, int32_t /*zero*/) { return std::malloc(size); }
void HookFree(void* block, const char* /*name*/, int32_t /*zero*/) { std::free(block); }

class HostileSizes : public ::testing::Test {
 protected:
  HostileSizes() {
    fmalloc = &HookAlloc;
    ffree = &HookFree;
  }
  ~HostileSizes() override {
    fmalloc = nullptr;
    ffree = nullptr;
  }
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

}  // namespace
}  // namespace vantro::test

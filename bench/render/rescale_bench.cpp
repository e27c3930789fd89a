// The rescalers of masks against libyuv's bilinear scaler at the same sizes and memcpy, one thread.

#include <cstdlib>

#include "bench/image/frames.h"
#include "bench/render/silhouette.h"
#include "vantro/render.h"
#include "vantro/tracked_alloc.h"

#if defined(VANTRO_HAVE_LIBYUV)
#include <libyuv.h>
#endif

namespace vantro::bench {
namespace {

// A source of a `factor`-th of 1920x1080 and the full size behind it, or the reverse.
template <typename Scale>
void Run(benchmark::State& state, int src_width, int src_height, int dst_width, int dst_height,
         Scale scale) {
  std::vector<uint8_t> src = Silhouette(src_width, src_height);
  std::vector<uint8_t> dst(static_cast<size_t>(dst_width) * static_cast<size_t>(dst_height));
  for (auto _ : state) {
    scale(src.data(), src_width, src_height, dst.data(), dst_width, dst_height);
    benchmark::ClobberMemory();
  }
}

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

template <typename Scale>
void Enlarge(benchmark::State& state, int factor, Scale scale) {
  Run(state, kWidth / factor, kHeight / factor, kWidth, kHeight, scale);
}

template <typename Scale>
void Reduce(benchmark::State& state, int factor, Scale scale) {
  Run(state, kWidth, kHeight, kWidth / factor, kHeight / factor, scale);
}

void UpScale2x2(benchmark::State& state) {
  Enlarge(state, 2, [](uint8_t* src, int sw, int sh, uint8_t* dst, int dw, int dh) {
    upScale2x2(dst, src, dw, dh, dw, sw, sh, sw, 0, dh);
  });
}
void UpscaleX4(benchmark::State& state) {
  Enlarge(state, 2, [](uint8_t* src, int sw, int sh, uint8_t* dst, int dw, int) {
    upscale_x4_blinear(src, dst, sw, sh, sw, dw);
  });
}
void UpScale4x4(benchmark::State& state) {
  Enlarge(state, 4, [](uint8_t* src, int sw, int sh, uint8_t* dst, int dw, int) {
    upScale4x4(dst, src, sw, sh, dw, sw);
  });
}
void UpscaleX16(benchmark::State& state) {
  Enlarge(state, 4, [](uint8_t* src, int sw, int sh, uint8_t* dst, int dw, int) {
    upscale_x16_blinear(src, dst, sw, sh, sw, dw);
  });
}
void Bilinear(benchmark::State& state, int factor) {
  Enlarge(state, factor, [](uint8_t* src, int sw, int sh, uint8_t* dst, int dw, int dh) {
    bilinearGrayU8BorderLines(dst, src, dw, dh, dw, sw, sh, sw, 0, dh);
  });
}
void Nearest(benchmark::State& state, int factor) {
  Enlarge(state, factor, [](uint8_t* src, int sw, int sh, uint8_t* dst, int dw, int dh) {
    up_scale_context(src, sw, sh, sw, dst, dw, dh, dw);
  });
}
void Average2x2(benchmark::State& state) {
  Reduce(state, 2, [](uint8_t* src, int sw, int, uint8_t* dst, int dw, int dh) {
    averageGrayU8Down2x2(dst, src, dw, dh, dw, 0, 0, sw);
  });
}
void DownscaleX4(benchmark::State& state) {
  Reduce(state, 2, [](uint8_t* src, int sw, int sh, uint8_t* dst, int dw, int) {
    downscale_x4_avg(src, dst, sw, sh, sw, dw);
  });
}
void Average4x4(benchmark::State& state) {
  Reduce(state, 4, [](uint8_t* src, int sw, int, uint8_t* dst, int dw, int dh) {
    averageGrayU8Down4x4(dst, src, dw, dh, dw, 0, 0, sw);
  });
}
void Erosion(benchmark::State& state) {
  fmalloc = [](uint32_t size, const char*, int32_t) { return std::malloc(size); };
  ffree = [](void* block, const char*, int32_t) { std::free(block); };
  std::vector<uint8_t> image = Silhouette(256, 256);
  for (auto _ : state) {
    erosion(image.data(), 256, 256, static_cast<int>(state.range(0)));
    benchmark::ClobberMemory();
  }
}
// The bytes that the enlargements by two read and write.
void Copy(benchmark::State& state) { CopyBytes(state, size_t{kWidth} * kHeight * 5 / 4); }

#if defined(VANTRO_HAVE_LIBYUV)
void ScaleByLibyuv(uint8_t* src, int sw, int sh, uint8_t* dst, int dw, int dh,
                   libyuv::FilterMode mode) {
  libyuv::ScalePlane(src, sw, sw, sh, dst, dw, dw, dh, mode);
}
void LibyuvBilinear(benchmark::State& state, int factor) {
  Enlarge(state, factor, [](uint8_t* src, int sw, int sh, uint8_t* dst, int dw, int dh) {
    ScaleByLibyuv(src, sw, sh, dst, dw, dh, libyuv::kFilterBilinear);
  });
}
void LibyuvNearest(benchmark::State& state, int factor) {
  Enlarge(state, factor, [](uint8_t* src, int sw, int sh, uint8_t* dst, int dw, int dh) {
    ScaleByLibyuv(src, sw, sh, dst, dw, dh, libyuv::kFilterNone);
  });
}
void LibyuvBox(benchmark::State& state, int factor) {
  Reduce(state, factor, [](uint8_t* src, int sw, int sh, uint8_t* dst, int dw, int dh) {
    ScaleByLibyuv(src, sw, sh, dst, dw, dh, libyuv::kFilterBox);
  });
}
BENCHMARK_CAPTURE(LibyuvBilinear, 2x, 2)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(LibyuvBilinear, 4x, 4)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(LibyuvBilinear, 6x, 6)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(LibyuvNearest, 4x, 4)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(LibyuvBox, half, 2)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(LibyuvBox, quarter, 4)->Unit(benchmark::kMicrosecond);
#endif

BENCHMARK(Copy)->Unit(benchmark::kMicrosecond);
BENCHMARK(UpScale2x2)->Unit(benchmark::kMicrosecond);
BENCHMARK(UpscaleX4)->Unit(benchmark::kMicrosecond);
BENCHMARK(UpScale4x4)->Unit(benchmark::kMicrosecond);
BENCHMARK(UpscaleX16)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Bilinear, 2x, 2)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Bilinear, 4x, 4)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Bilinear, 6x, 6)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Nearest, 4x, 4)->Unit(benchmark::kMicrosecond);
BENCHMARK(Average2x2)->Unit(benchmark::kMicrosecond);
BENCHMARK(DownscaleX4)->Unit(benchmark::kMicrosecond);
BENCHMARK(Average4x4)->Unit(benchmark::kMicrosecond);
BENCHMARK(Erosion)->Arg(1)->Arg(20)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vantro::bench

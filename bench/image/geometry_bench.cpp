// Rotations, box reductions and the float box filter on 1080p planes against memcpy, one thread;
// the bilinear rotation also against OpenCV's resize and rotate.

#include "bench/image/frames.h"
#include "vantro/image.h"

#if defined(VANTRO_HAVE_OPENCV)
#include <opencv2/imgproc.hpp>
#endif

namespace vantro::bench {
namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr size_t kPixels = size_t{kWidth} * kHeight;

template <typename Operation>
void Run(benchmark::State& state, size_t src_size, size_t dst_size, Operation operation) {
  const std::vector<uint8_t> src = Noise(src_size);
  std::vector<uint8_t> dst(dst_size);
  for (auto _ : state) {
    operation(src.data(), dst.data());
    benchmark::ClobberMemory();
  }
}

// Destination height: the whole width (step 1), half of it (step 2), or three quarters (bilinear).
void RotateLumaByStep(benchmark::State& state) {
  const auto step = static_cast<int>(state.range(0));
  Run(state, kPixels, kPixels, [step](const uint8_t* src, uint8_t* dst) {
    resizeYrotateMinus90Integer(src, dst, kWidth, kHeight, kWidth, kHeight / step, kWidth / step);
  });
}
void RotateLuma(benchmark::State& state) {
  Run(state, kPixels, kPixels, [](const uint8_t* src, uint8_t* dst) {
    resizeYrotateMinus90(src, dst, kWidth, kHeight, kWidth, kHeight, kWidth);
  });
}
void RotateLumaBilinear(benchmark::State& state) {
  Run(state, kPixels, kPixels, [](const uint8_t* src, uint8_t* dst) {
    resizeYrotateMinus90(src, dst, kWidth, kHeight, kWidth, kHeight * 3 / 4, kWidth * 3 / 4);
  });
}
#if defined(VANTRO_HAVE_OPENCV)
// In fixed point with 11 bits: the usual alternative where the last digit does not matter.
void OpenCvResizeAndRotate(benchmark::State& state) {
  cv::setNumThreads(1);
  std::vector<uint8_t> resized(kPixels);
  Run(state, kPixels, kPixels, [&resized](const uint8_t* src, uint8_t* dst) {
    const cv::Mat from(kHeight, kWidth, CV_8UC1, const_cast<uint8_t*>(src));
    cv::Mat small(kHeight * 3 / 4, kWidth * 3 / 4, CV_8UC1, resized.data());
    cv::Mat to(kWidth * 3 / 4, kHeight * 3 / 4, CV_8UC1, dst);
    cv::resize(from, small, small.size(), 0, 0, cv::INTER_LINEAR);
    cv::rotate(small, to, cv::ROTATE_90_COUNTERCLOCKWISE);
  });
}
#endif
void RotateNv21ByAddress(benchmark::State& state) {
  const auto step = static_cast<int>(state.range(0));
  Run(state, kPixels * 3 / 2, kPixels * 3, [step](const uint8_t* src, uint8_t* dst) {
    resizeNV21RotateMinus90_X(src, dst, kWidth, kHeight, kWidth, kHeight / step, kWidth / step);
  });
}
void RotateNv21ByPairs(benchmark::State& state) {
  Run(state, kPixels * 3 / 2, kPixels * 3, [](const uint8_t* src, uint8_t* dst) {
    resizeNV21RotateMinus90Integer(src, dst, kWidth, kHeight, kWidth, kHeight / 2, kWidth / 2);
  });
}

void ReduceLuma(benchmark::State& state) {
  Run(state, kPixels, kPixels / 16, [](const uint8_t* src, uint8_t* dst) {
    resizeY16X(src, kWidth, kHeight, kWidth, dst, kWidth / 4, kHeight / 4, kWidth / 4);
  });
}
void ReduceSemiPlanar(benchmark::State& state) {
  Run(state, kPixels * 3 / 2, kPixels * 3 / 32, [](const uint8_t* src, uint8_t* dst) {
    resizeNV1216X(src, kWidth, kHeight, kWidth, dst, kWidth / 4, kHeight / 4, kWidth / 4);
  });
}

// The bytes that a plane's rotation, its reduction by half and three quarters, a frame's rotation,
// and the box reductions read and write.
void Copy(benchmark::State& state) { CopyBytes(state, static_cast<size_t>(state.range(0))); }

// Planes of whole numbers (0) and of fractions (1).
void BoxFilter(benchmark::State& state) {
  const auto radius = static_cast<int>(state.range(0));
  std::vector<float> src(kPixels), dst(kPixels);
  const std::vector<uint8_t> noise = Noise(kPixels);
  for (size_t i = 0; i < kPixels; ++i) src[i] = noise[i] + (state.range(1) == 0 ? 0.0f : 0.3f);
  for (auto _ : state) {
    boxfilter_iter_f(nullptr, src.data(), dst.data(), kWidth, kHeight, kWidth, radius);
    benchmark::ClobberMemory();
  }
}

BENCHMARK(RotateLuma);
BENCHMARK(RotateLumaByStep)->Arg(1)->Arg(2);
BENCHMARK(Copy)->Arg(kPixels * 2)->Arg(kPixels * 5 / 4);
BENCHMARK(RotateLumaBilinear);
#if defined(VANTRO_HAVE_OPENCV)
BENCHMARK(OpenCvResizeAndRotate);
#endif
BENCHMARK(Copy)->Arg(kPixels * 25 / 16);
BENCHMARK(RotateNv21ByAddress)->Arg(1)->Arg(2);
BENCHMARK(Copy)->Arg(kPixels * 9 / 2);
BENCHMARK(RotateNv21ByPairs);
BENCHMARK(Copy)->Arg(kPixels * 9 / 4);
BENCHMARK(ReduceLuma);
BENCHMARK(Copy)->Arg(kPixels * 17 / 16);
BENCHMARK(ReduceSemiPlanar);
BENCHMARK(Copy)->Arg(kPixels * 51 / 32);
BENCHMARK(BoxFilter)->ArgsProduct({{0, 1, 4, 10, 20, 50}, {0, 1}})->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vantro::bench

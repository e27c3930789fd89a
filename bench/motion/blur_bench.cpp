// The Gaussian blur beside OpenCV's, both on one thread, at the same kernel length.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "vantro/motion.h"
#ifdef VANTRO_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

std::vector<uint8_t> Noise(size_t size) {
  std::vector<uint8_t> bytes(size);
  uint32_t state = 1;
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>((state = state * 1664525u + 1u) >> 24);
  return bytes;
}

void Sizes(benchmark::internal::Benchmark* bench) {
  for (const auto& [width, height] : {std::pair{1920, 1080}, std::pair{100, 100}}) {
    for (int length = 3; length <= 13; length += 2) bench->Args({width, height, length});
  }
  bench->ArgNames({"w", "h", "k"})->Unit(benchmark::kMicrosecond);
}

void BM_Blur(benchmark::State& state) {
  const int width = static_cast<int>(state.range(0));
  const int height = static_cast<int>(state.range(1));
  const std::vector<uint8_t> src = Noise(static_cast<size_t>(width) * static_cast<size_t>(height));
  std::vector<uint8_t> dst(src.size());
  for (auto _ : state) {
    gaussian_blur(src.data(), dst.data(), width, height, static_cast<int>(state.range(2)), 0.0f,
                  nullptr, 1, nullptr);
    benchmark::DoNotOptimize(dst.data());
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_Blur)->Apply(Sizes);

#ifdef VANTRO_HAVE_OPENCV
void BM_BlurOpenCv(benchmark::State& state) {
  cv::setNumThreads(1);
  const int width = static_cast<int>(state.range(0));
  const int height = static_cast<int>(state.range(1));
  const int length = static_cast<int>(state.range(2));
  std::vector<uint8_t> src = Noise(static_cast<size_t>(width) * static_cast<size_t>(height));
  const cv::Mat image(height, width, CV_8UC1, src.data());
  cv::Mat dst(height, width, CV_8UC1);
  for (auto _ : state) {
    cv::GaussianBlur(image, dst, cv::Size(length, length), 0.0);
    benchmark::DoNotOptimize(dst.data);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_BlurOpenCv)->Apply(Sizes);
#endif

}  // namespace

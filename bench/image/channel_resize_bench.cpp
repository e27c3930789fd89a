// The bilinear channel resizers against OpenCV's linear resize and memcpy, one thread.

#include "bench/image/frames.h"
#include "vantro/image.h"

#if defined(VANTRO_HAVE_OPENCV)
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace vantro::bench {
namespace {

struct Shape {
  int src_width;
  int src_height;
  int dst_width;
  int dst_height;
};

constexpr Shape kShapes[] = {
    {1920, 1080, 100, 100},    // to the scene-change copy
    {320, 180, 1920, 1080},    // mask to frame
    {1440, 1080, 1920, 1440},  // by 4:3
    {1920, 1440, 1440, 1080},  // by 3:4
};

size_t Bytes(int width, int height, int channels) {
  return static_cast<size_t>(int64_t{width} * height * channels);
}

template <typename Resize>
void Run(benchmark::State& state, int channels, Resize resize) {
  const Shape& s = kShapes[state.range(0)];
  std::vector<uint8_t> src = Noise(Bytes(s.src_width, s.src_height, channels));
  std::vector<uint8_t> dst(Bytes(s.dst_width, s.dst_height, channels));
  for (auto _ : state) {
    resize(src.data(), dst.data(), s);
    benchmark::ClobberMemory();
  }
}

void Plane(benchmark::State& state) {
  Run(state, 1, [](const uint8_t* src, uint8_t* dst, const Shape& s) {
    ResizeUchar(src, dst, s.src_width, s.src_height, s.dst_width, s.dst_height);
  });
}

void PlaneC(benchmark::State& state) {
  Run(state, 1, [](const uint8_t* src, uint8_t* dst, const Shape& s) {
    vantro_c::ResizeUchar(src, dst, s.src_width, s.src_height, s.dst_width, s.dst_height);
  });
}

// The first `kResized` of `kChannels` interleaved channels, a call each.
template <int kResized, int kChannels>
void Channels(benchmark::State& state) {
  Run(state, kChannels, [](const uint8_t* src, uint8_t* dst, const Shape& s) {
    for (int c = 0; c < kResized; ++c) {
      ResizeUcharChl(src + c, dst + c, s.src_width, s.src_width, s.src_height, s.dst_width,
                     s.dst_height, kChannels);
    }
  });
}

void Copy(benchmark::State& state) {
  const Shape& s = kShapes[state.range(0)];
  CopyBytes(state, Bytes(s.src_width, s.src_height, 1) + Bytes(s.dst_width, s.dst_height, 1));
}

BENCHMARK(Plane)->DenseRange(0, 3);
BENCHMARK(PlaneC)->DenseRange(0, 3);
BENCHMARK(Channels<1, 1>)->Name("Channel")->DenseRange(0, 3);
BENCHMARK(Channels<1, 2>)->Name("OneOfTwoChannels")->DenseRange(0, 3);
BENCHMARK(Channels<2, 2>)->Name("TwoChannels")->DenseRange(0, 3);
BENCHMARK(Copy)->DenseRange(0, 3);

#if defined(VANTRO_HAVE_OPENCV)
template <int kChannels>
void OpenCv(benchmark::State& state) {
  cv::setNumThreads(1);
  Run(state, kChannels, [](uint8_t* src, uint8_t* dst, const Shape& s) {
    const cv::Mat from(s.src_height, s.src_width, CV_8UC(kChannels), src);
    cv::Mat to(s.dst_height, s.dst_width, CV_8UC(kChannels), dst);
    cv::resize(from, to, to.size(), 0, 0, cv::INTER_LINEAR);
  });
}

// One channel of two, taken out and put back.
void OpenCvExtracted(benchmark::State& state) {
  cv::setNumThreads(1);
  cv::Mat channel, resized;
  Run(state, 2, [&](uint8_t* src, uint8_t* dst, const Shape& s) {
    cv::extractChannel(cv::Mat(s.src_height, s.src_width, CV_8UC2, src), channel, 0);
    cv::resize(channel, resized, {s.dst_width, s.dst_height}, 0, 0, cv::INTER_LINEAR);
    cv::Mat to(s.dst_height, s.dst_width, CV_8UC2, dst);
    cv::insertChannel(resized, to, 0);
  });
}

BENCHMARK(OpenCv<1>)->Name("OpenCvPlane")->DenseRange(0, 3);
BENCHMARK(OpenCv<2>)->Name("OpenCvTwoChannels")->DenseRange(0, 3);
BENCHMARK(OpenCvExtracted)->DenseRange(0, 3);
#endif

}  // namespace
}  // namespace vantro::bench

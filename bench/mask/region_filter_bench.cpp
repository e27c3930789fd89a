// Labelling and the region filter against OpenCV's labelling of the same mask, one thread.
// Arguments: the mask's width and height.

#include <algorithm>
#include <cstdlib>

#include "bench/image/frames.h"
#include "bench/render/silhouette.h"
#include "vantro/algo_context.h"
#include "vantro/mask.h"

#if defined(VANTRO_HAVE_OPENCV)
#include <opencv2/imgproc.hpp>
#endif

namespace vantro::bench {
namespace {

constexpr int kPersonPerCent = 5;

// The silhouette, or noise in which every second pixel starts a run.
std::vector<uint8_t> MaskOf(const benchmark::State& state, bool noise) {
  const auto size = static_cast<int>(state.range(0));
  std::vector<uint8_t> mask = Silhouette(size, size);
  if (noise) {
    mask = Noise(mask.size());
    std::transform(mask.begin(), mask.end(), mask.begin(),
                   [](uint8_t byte) { return static_cast<uint8_t>(byte & 1); });
  }
  return mask;
}

// Cleared masks stay clear, so every round works on a fresh copy; the copy is part of the figure.
void RegionFilter(benchmark::State& state, bool noise) {
  MemPool pool{[](uint32_t size, const char*, int32_t) { return std::malloc(size); },
               [](void* block, const char*, int32_t) { std::free(block); }};
  AlgoCxt cxt{};
  cxt.pool = &pool;
  const auto size = static_cast<int>(state.range(0));
  const std::vector<uint8_t> fresh = MaskOf(state, noise);
  std::vector<uint8_t> mask = fresh;
  for (auto _ : state) {
    std::copy(fresh.begin(), fresh.end(), mask.begin());
    connectionFilter(&cxt, mask.data(), size, size, kPersonPerCent);
    benchmark::ClobberMemory();
  }
}

void Labelling(benchmark::State& state, bool noise) {
  const auto size = static_cast<int>(state.range(0));
  std::vector<uint8_t> mask = MaskOf(state, noise);
  std::vector<int> labels(mask.size());
  for (auto _ : state) {
    ConnectedComponentsLabeling labeller{new LabelEntry[128](), 0, 128};
    labeller.connected(mask.data(), labels.data(), size, size);
    delete[] labeller.table;
    benchmark::ClobberMemory();
  }
}

#if defined(VANTRO_HAVE_OPENCV)
void OpenCvLabelling(benchmark::State& state, bool noise) {
  cv::setNumThreads(1);
  const auto size = static_cast<int>(state.range(0));
  std::vector<uint8_t> mask = MaskOf(state, noise);
  const cv::Mat image(size, size, CV_8U, mask.data());
  cv::Mat labels;
  for (auto _ : state) {
    benchmark::DoNotOptimize(cv::connectedComponents(image, labels, 4, CV_32S));
  }
}
BENCHMARK_CAPTURE(OpenCvLabelling, person, false)
    ->Arg(160)
    ->Arg(256)
    ->Arg(512)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(OpenCvLabelling, noise, true)->Arg(256)->Unit(benchmark::kMicrosecond);
#endif

BENCHMARK_CAPTURE(RegionFilter, person, false)
    ->Arg(160)
    ->Arg(256)
    ->Arg(512)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(RegionFilter, noise, true)->Arg(256)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Labelling, person, false)
    ->Arg(160)
    ->Arg(256)
    ->Arg(512)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Labelling, noise, true)->Arg(256)->Unit(benchmark::kMicrosecond);

// GetROI normalises the mask and counts the subject.
void SubjectCheck(benchmark::State& state) {
  std::vector<uint8_t> mask = MaskOf(state, false);
  AlgoCxt cxt{};
  Vantro_t record{};
  record.width = record.height = 1000;
  record.mask = mask.data();
  record.maskw = record.maskh = static_cast<int>(state.range(0));
  record.crop_param = {0, 999, 0, 999, 2};
  int flag = 0;
  for (auto _ : state) {
    GetROI(&cxt, record, &flag);
    benchmark::DoNotOptimize(flag);
  }
}
BENCHMARK(SubjectCheck)->Arg(160)->Arg(256)->Arg(512)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vantro::bench

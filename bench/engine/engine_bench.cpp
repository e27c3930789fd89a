// Segmentation of one frame, on one thread: the whole call and where its time goes.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "engine/frame_sampler.h"
#include "engine/model_store.h"
#include "engine/network.h"
#include "tests/engine/picture.h"
#include "vantro/segmentation_engine.h"

namespace {

using vantro::engine::FrameSampler;
using vantro::engine::FrameView;
using vantro::engine::Network;

struct Frame {
  std::vector<uint8_t> bytes;
  FrameView view;
};

// A portrait blown up to width by height.
Frame MakeFrame(int format, int width, int height) {
  const vantro::test::Picture picture =
      vantro::test::Scale(vantro::test::LoadMedia("astronaut.png"), width, height);
  Frame frame;
  frame.bytes = vantro::test::ToFrame(picture, format, width);
  frame.view = {frame.bytes.data(), format, width, height, width};
  return frame;
}

std::unique_ptr<Network> MakeNetwork() {
  std::string error;
  auto graph = vantro::engine::LoadModel(VANTRO_MODEL_DIR, &error);
  if (!graph) throw std::runtime_error(error);
  return Network::Create(std::move(*graph), &error);
}

// Arguments: format, width, height.
void BM_Process(benchmark::State& state) {
  Frame frame = MakeFrame(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)),
                          static_cast<int>(state.range(2)));
  void* engine = nullptr;
  int32_t mask_width = 0;
  int32_t mask_height = 0;
  SegmentationInterface record{};
  if (Plimra_Create(&engine, VANTRO_MODEL_DIR, &record, &mask_width, &mask_height,
                    VANTRO_SEG_VIDEO) != 0) {
    throw std::runtime_error("no model: run scripts/fetch-model");
  }
  std::vector<uint8_t> mask(static_cast<size_t>(mask_width) * static_cast<size_t>(mask_height));
  CROP_BOX box{};
  CROP_BOX crop{};
  for (auto _ : state) {
    Plimra_Process(engine, frame.bytes.data(), static_cast<uint8_t>(frame.view.format),
                   frame.view.width, frame.view.height, frame.view.stride, 0, mask.data(), &box,
                   &crop, 0, nullptr, VANTRO_SEG_VIDEO);
    benchmark::DoNotOptimize(mask.data());
  }
  Plimra_Destroy(engine);
}
BENCHMARK(BM_Process)
    ->ArgNames({"format", "width", "height"})
    ->Args({VANTRO_FORMAT_NV21, 400, 300})
    ->Args({VANTRO_FORMAT_NV21, 1920, 1080})
    ->Args({VANTRO_FORMAT_NV12, 1920, 1080})
    ->Args({VANTRO_FORMAT_UYVY, 1920, 1080})
    ->Args({VANTRO_FORMAT_NV21, 3840, 2160})
    ->Unit(benchmark::kMillisecond);

void BM_Sample(benchmark::State& state) {
  const Frame frame = MakeFrame(static_cast<int>(state.range(0)), 1920, 1080);
  FrameSampler sampler(256, 256);
  std::vector<float> rgb(3 * 256 * 256);
  for (auto _ : state) {
    sampler.Sample(frame.view, {0, -420, 1920, 1920}, rgb.data());
    benchmark::DoNotOptimize(rgb.data());
  }
}
BENCHMARK(BM_Sample)
    ->ArgName("format")
    ->Arg(VANTRO_FORMAT_NV21)
    ->Arg(VANTRO_FORMAT_UYVY)
    ->Unit(benchmark::kMillisecond);

void BM_Network(benchmark::State& state) {
  const std::unique_ptr<Network> network = MakeNetwork();
  for (auto _ : state) {
    network->Run();
    benchmark::DoNotOptimize(network->output());
  }
}
BENCHMARK(BM_Network)->Unit(benchmark::kMillisecond);

}  // namespace

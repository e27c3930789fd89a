// The grey effect and the compositing of whole frames against memcpy of the frame, one thread.
// Arguments: width, height, pixel format.

#include <cstdlib>

#include "bench/image/frames.h"
#include "bench/render/silhouette.h"
#include "vantro/algo_context.h"
#include "vantro/render.h"

namespace vantro::bench {
namespace {

void* HeapAlloc(uint32_t size, const char*, int32_t) { return std::malloc(size); }
void HeapFree(void* block, const char*, int32_t) { std::free(block); }

// A frame, a mask over a box that is the whole frame, and a context.
struct Scene {
  explicit Scene(const benchmark::State& state) {
    const auto width = static_cast<int>(state.range(0));
    const auto height = static_cast<int>(state.range(1));
    const auto format = static_cast<uint8_t>(state.range(2));
    const size_t pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
    bytes = Noise(format == VANTRO_FORMAT_UYVY ? 2 * pixels : pixels * 3 / 2);
    mask = Silhouette(256, 256);
    record.yuv = bytes.data();
    record.yuv_format = format;
    record.width = record.stride = width;
    record.height = height;
    record.rect = {0, 0, height, width, 0, 0};
    record.crop_param = {0, height - 1, 0, width - 1, 2};
    record.mask = mask.data();
    record.maskw = record.maskh = 256;
    ParamBlock params{};
    cxt = BuildAlgoCxt(&params, &pool);
  }
  ~Scene() { std::free(cxt); }
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  MemPool pool{&HeapAlloc, &HeapFree};
  std::vector<uint8_t> bytes;
  std::vector<uint8_t> mask;
  Vantro_t record{};
  AlgoCxt* cxt = nullptr;
};

void Gray(benchmark::State& state) {
  const Scene scene(state);
  for (auto _ : state) {
    Grayeffect(scene.cxt, scene.record);
    benchmark::ClobberMemory();
  }
}

void Object(benchmark::State& state) {
  const Scene scene(state);
  for (auto _ : state) {
    VantroObject(scene.cxt, 0, 0, 0, scene.record);
    benchmark::ClobberMemory();
  }
}

// The blend alone, with a mask that is there already.
void Blend(benchmark::State& state) {
  const Scene scene(state);
  const Vantro_t& record = scene.record;
  std::vector<uint8_t> crop_mask = Silhouette(record.width, record.height);
  for (auto _ : state) {
    Grayeffect_Alpha_YUV(scene.cxt, record.yuv, record.stride, crop_mask.data(), record.height,
                         record.width, record.crop_param, record.rect, record.yuv_format);
    benchmark::ClobberMemory();
  }
}

void CopyFrame(benchmark::State& state) { CopyBytes(state, 2 * Scene(state).bytes.size()); }

void Sizes(benchmark::internal::Benchmark* bench) {
  for (const int format : {VANTRO_FORMAT_NV21, VANTRO_FORMAT_NV12, VANTRO_FORMAT_UYVY}) {
    bench->Args({640, 480, format});
    bench->Args({1920, 1080, format});
    bench->Args({3840, 2160, format});
    bench->Args({7680, 4320, format});
  }
  bench->Unit(benchmark::kMicrosecond);
}

BENCHMARK(CopyFrame)->Apply(Sizes);
BENCHMARK(Gray)->Apply(Sizes);
BENCHMARK(Blend)->Apply(Sizes);
BENCHMARK(Object)->Apply(Sizes);

}  // namespace
}  // namespace vantro::bench

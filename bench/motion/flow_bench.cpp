// The optical flow on the two reduced frames of the scene check, and the whole check of a 1080p
// frame. Set VANTRO_SIMD for the vector level and VANTRO_LOG=silent for quiet blurs.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "vantro/algo_context.h"
#include "vantro/motion.h"

namespace {

// Smooth structure that moves with `shift`, with some noise on it.
std::vector<uint8_t> Scene(int width, int height, double shift) {
  std::vector<uint8_t> image;
  uint32_t noise = 1;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const double u = 20.0 * (x + shift) / width;
      const double v = 20.0 * y / height;
      noise = noise * 1664525u + 1013904223u;
      image.push_back(static_cast<uint8_t>(128.0 + 60.0 * std::sin(u) * std::cos(v) +
                                           40.0 * std::sin(2.7 * u + v) + (noise >> 29)));
    }
  }
  return image;
}

// A camera program has released pictures before; since then glibc's heap keeps the megabyte that a
// comparison takes and returns. In a process that never did, every page of it is new to each call.
void ReleasePicture() { benchmark::DoNotOptimize(std::vector<uint8_t>(1920 * 1080 * 3 / 2)); }

void BM_CompareOpticalFlow(benchmark::State& state) {
  ReleasePicture();
  std::vector<uint8_t> first = Scene(100, 100, 0.0);
  std::vector<uint8_t> second = Scene(100, 100, 1.5);
  for (auto _ : state) {
    benchmark::DoNotOptimize(CompareOpticalFlow(first.data(), second.data(), 20000.0f, 100, 100,
                                                2.5f, 0.25f, 0.1f, 0.75f, 0.9f));
  }
}
BENCHMARK(BM_CompareOpticalFlow)->Unit(benchmark::kMicrosecond);

void BM_GetFlashFlag1080p(benchmark::State& state) {
  constexpr int kWidth = 1920;
  constexpr int kHeight = 1080;
  std::vector<uint8_t> first = Scene(kWidth, kHeight * 3 / 2, 0.0);
  std::vector<uint8_t> second = Scene(kWidth, kHeight * 3 / 2, 29.0);
  std::vector<uint8_t> mask(256 * 256, 1);
  int32_t rings[3][10] = {};
  MemPool pool = {[](uint32_t size, const char*, int32_t) { return std::malloc(size); },
                  [](void* block, const char*, int32_t) { std::free(block); }};
  AlgoCxt cxt = {};
  cxt.pool = &pool;
  OpticalFlow record = {};
  record.yuv = first.data();
  record.last_yuv = second.data();
  record.frameIdx = 3;
  record.height = kHeight;
  record.width = record.stride = kWidth;
  record.mask_width = record.mask_height = 256;
  record.mask = mask.data();
  record.flash_flag = rings[0];
  record.move_flag = rings[1];
  record.area = rings[2];
  record.crop_param = record.engine_box = {108, 971, 480, 1439, 2};
  int flag = 3;
  for (auto _ : state) benchmark::DoNotOptimize(GetFlashFlag(&cxt, record, &flag));
}
BENCHMARK(BM_GetFlashFlag1080p)->Unit(benchmark::kMicrosecond);

}  // namespace

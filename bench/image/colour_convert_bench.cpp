// Colour conversion of 1080p frames against libyuv and memcpy, one thread. libyuv has no direct
// UYVY to and from three-byte colour and no BGR to NV21: there it converts through its 32-bit
// layout, a row pair at a time so that the intermediate rows stay in the cache.

#include "bench/image/frames.h"
#include "vantro/image.h"

#if defined(VANTRO_HAVE_LIBYUV)
#include <libyuv.h>
#endif

namespace vantro::bench {
namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr size_t kPixels = size_t{kWidth} * kHeight;
constexpr size_t kColour = 3 * kPixels;

template <typename Convert>
void Run(benchmark::State& state, size_t src_size, size_t dst_size, Convert convert) {
  std::vector<uint8_t> src = Noise(src_size);
  std::vector<uint8_t> dst(dst_size);
  for (auto _ : state) {
    convert(src.data(), dst.data());
    benchmark::ClobberMemory();
  }
}

void Nv21ToBgr(benchmark::State& state) {
  Run(state, kPixels * 3 / 2, kColour,
      [](uint8_t* src, uint8_t* dst) { NV21ToRGB(src, kWidth, kWidth, kHeight, dst); });
}
void UyvyToBgr(benchmark::State& state) {
  Run(state, kPixels * 2, kColour,
      [](uint8_t* src, uint8_t* dst) { UYVYToRGB(src, kWidth, kWidth, 0, kHeight, dst); });
}
void Planar422ToBgr(benchmark::State& state) {
  Run(state, kPixels * 2, kColour,
      [](uint8_t* src, uint8_t* dst) { YV16ToRGB(src, kWidth, kHeight, dst); });
}
void I420ToRgb(benchmark::State& state) {
  Run(state, kPixels * 3 / 2, kColour, [](uint8_t* src, uint8_t* dst) {
    convertI420ToRGBU8(dst, src, kWidth, kHeight, kWidth, kWidth);
  });
}
void BgrToUyvy(benchmark::State& state) {
  Run(state, kColour, kPixels * 2,
      [](uint8_t* src, uint8_t* dst) { RGBToUYVY(src, kWidth, kHeight, dst, kWidth); });
}
void BgrToNv21(benchmark::State& state) {
  Run(state, kColour, kPixels * 3 / 2,
      [](uint8_t* src, uint8_t* dst) { RGBToNV21(src, kWidth, kHeight, dst, kWidth); });
}
// The bytes that a conversion between 4:2:0 and three-byte colour reads and writes.
void Copy(benchmark::State& state) { CopyBytes(state, kColour + kPixels * 3 / 2); }

#if defined(VANTRO_HAVE_LIBYUV)
void LibyuvNv21ToBgr(benchmark::State& state) {
  Run(state, kPixels * 3 / 2, kColour, [](uint8_t* src, uint8_t* dst) {
    libyuv::NV21ToRGB24(src, kWidth, src + kPixels, kWidth, dst, 3 * kWidth, kWidth, kHeight);
  });
}
void LibyuvUyvyToBgr(benchmark::State& state) {
  std::vector<uint8_t> rows(4 * kWidth * 2);
  Run(state, kPixels * 2, kColour, [&rows](uint8_t* src, uint8_t* dst) {
    for (int y = 0; y < kHeight; y += 2) {
      libyuv::UYVYToARGB(src + y * 2 * kWidth, 2 * kWidth, rows.data(), 4 * kWidth, kWidth, 2);
      libyuv::ARGBToRGB24(rows.data(), 4 * kWidth, dst + y * 3 * kWidth, 3 * kWidth, kWidth, 2);
    }
  });
}
void LibyuvPlanar422ToBgr(benchmark::State& state) {
  Run(state, kPixels * 2, kColour, [](uint8_t* src, uint8_t* dst) {
    libyuv::I422ToRGB24(src, kWidth, src + kPixels, kWidth / 2, src + kPixels * 3 / 2, kWidth / 2,
                        dst, 3 * kWidth, kWidth, kHeight);
  });
}
void LibyuvI420ToRgb(benchmark::State& state) {
  Run(state, kPixels * 3 / 2, kColour, [](uint8_t* src, uint8_t* dst) {
    libyuv::I420ToRAW(src, kWidth, src + kPixels, kWidth / 2, src + kPixels * 5 / 4, kWidth / 2,
                      dst, 3 * kWidth, kWidth, kHeight);
  });
}
void LibyuvBgrToUyvy(benchmark::State& state) {
  std::vector<uint8_t> rows(4 * kWidth * 2);
  Run(state, kColour, kPixels * 2, [&rows](uint8_t* src, uint8_t* dst) {
    for (int y = 0; y < kHeight; y += 2) {
      libyuv::RGB24ToARGB(src + y * 3 * kWidth, 3 * kWidth, rows.data(), 4 * kWidth, kWidth, 2);
      libyuv::ARGBToUYVY(rows.data(), 4 * kWidth, dst + y * 2 * kWidth, 2 * kWidth, kWidth, 2);
    }
  });
}
void LibyuvBgrToNv21(benchmark::State& state) {
  std::vector<uint8_t> rows(4 * kWidth * 2);
  Run(state, kColour, kPixels * 3 / 2, [&rows](uint8_t* src, uint8_t* dst) {
    for (int y = 0; y < kHeight; y += 2) {
      libyuv::RGB24ToARGB(src + y * 3 * kWidth, 3 * kWidth, rows.data(), 4 * kWidth, kWidth, 2);
      libyuv::ARGBToNV21(rows.data(), 4 * kWidth, dst + y * kWidth, kWidth,
                         dst + kPixels + y / 2 * kWidth, kWidth, kWidth, 2);
    }
  });
}
// One pass, with the full-range matrix and the bytes of a pixel in the order R, G, B.
void LibyuvRgbToNv21(benchmark::State& state) {
  Run(state, kColour, kPixels * 3 / 2, [](uint8_t* src, uint8_t* dst) {
    libyuv::RAWToJNV21(src, 3 * kWidth, dst, kWidth, dst + kPixels, kWidth, kWidth, kHeight);
  });
}
#endif

BENCHMARK(Nv21ToBgr);
BENCHMARK(UyvyToBgr);
BENCHMARK(Planar422ToBgr);
BENCHMARK(I420ToRgb);
BENCHMARK(BgrToUyvy);
BENCHMARK(BgrToNv21);
BENCHMARK(Copy);
#if defined(VANTRO_HAVE_LIBYUV)
BENCHMARK(LibyuvNv21ToBgr);
BENCHMARK(LibyuvUyvyToBgr);
BENCHMARK(LibyuvPlanar422ToBgr);
BENCHMARK(LibyuvI420ToRgb);
BENCHMARK(LibyuvBgrToUyvy);
BENCHMARK(LibyuvBgrToNv21);
BENCHMARK(LibyuvRgbToNv21);
#endif

}  // namespace
}  // namespace vantro::bench

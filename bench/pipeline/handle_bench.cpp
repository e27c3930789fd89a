// Whole handles, with an engine that returns at once, beside memcpy of the frame and FFmpeg's
// filters. A subject is present, and every video frame goes through the flash and motion check (but
// NV12 ones, which that check does not take).
#include <dlfcn.h>

#include <cstring>
#include <stdexcept>

#include "bench/support/ffmpeg_peers.h"
#include "bench/support/host.h"
#include "bench/support/operation.h"
#include "bench/support/silhouette.h"
#include "tests/scripted_engine/scripted_engine.h"
#include "vantro/vantro.h"

namespace vantro::bench {
namespace {

constexpr int kMaskSide = 256;

// Loads the engine, before a handle looks for it under its name, and makes it answer with one mask
// over the whole frame.
void LoadEngine() {
  void* library = dlopen(VANTRO_SCRIPTED_ENGINE, RTLD_NOW);
  if (library == nullptr) throw std::runtime_error(dlerror());
  const auto script = reinterpret_cast<decltype(&Plimra_Script)>(dlsym(library, "Plimra_Script"));
  test::EngineScript& engine = *script();
  engine.mask_width = engine.mask_height = kMaskSide;
  static const std::vector<uint8_t> mask = Silhouette(kMaskSide, kMaskSide);
  engine.process = [](const test::SegmentCall& call) {
    std::memcpy(call.mask_out, mask.data(), mask.size());
    *call.box = *call.box_vantro = {0, call.height - 1, 0, call.width - 1, call.box->box_mode};
    return 0;
  };
}

Vantro_t RecordOf(const FrameShape& shape) {
  Vantro_t record{};
  record.yuv_format = shape.format;
  record.width = record.stride = shape.width;
  record.height = shape.height;
  record.rect = {0, 0, shape.height, shape.width, 0, 0};
  return record;
}

void Expect(int32_t result) {
  if (result != VANTRO_OK) throw std::runtime_error("the handle reports an error");
}

// Two buffers in turns, as a camera hands them out; the camera's writing into the buffer that was
// rendered last is not measured.
void ProcessVideo(benchmark::State& state, const FrameShape& shape) {
  const std::vector<uint8_t> scene = NoiseBuffer(shape.bytes());
  std::vector<uint8_t> current = scene;
  std::vector<uint8_t> previous = scene;
  void* handle = nullptr;
  Expect(Vantro_Init(&handle, "", HeapPool()));
  Vantro_t record = RecordOf(shape);
  const auto next_frame = [&] {
    record.yuv = current.data();
    record.last_yuv = previous.data();
    Expect(Vantro_Process(handle, &record, nullptr));
    current.swap(previous);
  };
  // The first frames of a sequence take another road.
  for (int frame = 0; frame < 3; ++frame) next_frame();
  for (auto _ : state) {
    state.PauseTiming();
    std::memcpy(current.data(), scene.data(), scene.size());
    state.ResumeTiming();
    next_frame();
    benchmark::ClobberMemory();
  }
  Vantro_Deinit(&handle);
}

void ProcessPhoto(benchmark::State& state, const FrameShape& shape) {
  std::vector<uint8_t> picture = NoiseBuffer(shape.bytes());
  void* handle = nullptr;
  Expect(VantroPhoto_Init(&handle, "", HeapPool()));
  Vantro_t record = RecordOf(shape);
  record.yuv = picture.data();
  for (auto _ : state) {
    Expect(VantroPhoto_Process(handle, &record, nullptr));
    benchmark::ClobberMemory();
  }
  VantroPhoto_Deinit(&handle);
}

void AddHandle(const std::string& operation, const FrameShape& shape,
               void (*body)(benchmark::State&, const FrameShape&)) {
  const size_t touched = 2 * shape.bytes();
  AddCopy(touched);
  Register(operation, "vantro", shape.name(), [=](benchmark::State& state) {
    body(state, shape);
    state.counters["touched"] = static_cast<double>(touched);
  });
  AddFfmpegEffect(operation, shape);
}

const bool kAdded = [] {
  LoadEngine();
  for (const FrameShape& shape : FrameShapes()) AddHandle("Vantro_Process", shape, &ProcessVideo);
  AddHandle("VantroPhoto_Process", {3840, 2160, VANTRO_FORMAT_NV21}, &ProcessPhoto);
  Add("Vantro_Init", "and Vantro_Deinit", 0, [] {
    return [handle = static_cast<void*>(nullptr)]() mutable {
      Expect(Vantro_Init(&handle, "", HeapPool()));
      Vantro_Deinit(&handle);
    };
  });
  Add("VantroPhoto_Init", "and VantroPhoto_Deinit", 0, [] {
    return [handle = static_cast<void*>(nullptr)]() mutable {
      Expect(VantroPhoto_Init(&handle, "", HeapPool()));
      VantroPhoto_Deinit(&handle);
    };
  });
  Add("BuildAlgoCxt", "one context", 0, [] { return [] { MakeContext(); }; });
  return true;
}();

}  // namespace
}  // namespace vantro::bench

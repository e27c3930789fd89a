// A video and a photo handle of one host: calls in any order with any record, memory that runs out,
// an engine that answers anything.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <optional>

#include "fuzz/fuzz_source.h"
#include "fuzz/platform.h"
#include "tests/scripted_engine/scripted_engine.h"
#include "tests/support/hostile_host.h"
#include "vantro/vantro.h"

namespace vantro::fuzz {
namespace {

constexpr int kSteps = 16;
constexpr uint32_t kLargestBlock = 1 << 18;

int requests_left = 0;  // of memory, until one fails

void* Alloc(uint32_t size, const char* /*name*/, int32_t /*zero*/) {
  return --requests_left == 0 || size > kLargestBlock ? nullptr : std::malloc(size);
}
void Free(void* block, const char* /*name*/, int32_t /*zero*/) { std::free(block); }
MemPool pool = {&Alloc, &Free};

test::EngineScript& Script() {
  static void* const engine = dlopen(VANTRO_SCRIPTED_ENGINE, RTLD_NOW);
  if (engine == nullptr) std::abort();
  using Entry = test::EngineScript* (*)();
  return *reinterpret_cast<Entry>(dlsym(engine, "Plimra_Script"))();
}

void Require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "ERROR: %s\n", what);
  std::abort();
}

class Handle {
 public:
  Handle(bool photo, FuzzSource& in) : photo_(photo), in_(in) {}
  ~Handle() { Close(); }

  // Without a handle, every frame is refused.
  void Open() {
    Close();
    requests_left = in_.OneIn(4) ? in_.Int(1, 12) : 0;
    Script().create_result = in_.OneIn(16) ? -1 : 0;
    const int32_t code = (photo_ ? VantroPhoto_Init : Vantro_Init)(&handle_, "", &pool);
    Require((code == 0) == (handle_ != nullptr),
            "a handle without success or success without a handle");
    Require(code == 0 || code == VANTRO_ERR_OPEN || code == VANTRO_ERR_INPUT,
            "opening has a code of its own");
    if (handle_ != nullptr) host_.emplace(handle_, photo_, in_);
  }

  void Close() {
    (photo_ ? VantroPhoto_Deinit : Vantro_Deinit)(&handle_);
    host_.reset();
    Require(handle_ == nullptr, "a closed handle is still there");
  }

  void Frame() {
    requests_left = in_.OneIn(16) ? in_.Int(1, 8) : 0;
    if (host_) {
      host_->memory_may_fail = requests_left != 0;
      Require(host_->Step(), "a frame has a code that it should not have, or changed its record");
    } else {
      Require(Process(photo_) == VANTRO_ERR_INPUT, "a frame without a handle was taken");
    }
  }

  // Calls of the other family leave a handle as it is.
  void FrameOfOtherFamily() {
    Require(Process(!photo_) == VANTRO_ERR_INPUT, "the other family's frame was taken");
  }
  void CloseByOtherFamily() {
    void* const before = handle_;
    (photo_ ? Vantro_Deinit : VantroPhoto_Deinit)(&handle_);
    Require(handle_ == before, "the other family closed the handle");
  }

 private:
  int32_t Process(bool photo) {
    uint8_t frame[6] = {};
    uint8_t last[6] = {};
    Vantro_t record = {};
    record.yuv = frame;
    record.last_yuv = photo ? nullptr : last;
    record.width = record.height = record.stride = 2;
    Vantro_t* const given = in_.OneIn(4) ? nullptr : &record;
    return (photo ? VantroPhoto_Process : Vantro_Process)(handle_, given, nullptr);
  }

  bool photo_;
  FuzzSource& in_;
  void* handle_ = nullptr;
  std::optional<test::HostileHost<FuzzSource>> host_;
};

void Run(FuzzSource& in) {
  switches_on = in.OneIn(4);
  test::EngineScript& script = Script();
  const bool odd_engine = in.OneIn(16);
  script.mask_width = odd_engine ? in.Any() : in.Int(1, 64);
  script.mask_height = odd_engine ? in.Int(-1, 2) : in.Int(1, 64);
  script.process = [w = script.mask_width, h = script.mask_height](const test::SegmentCall& call) {
    return test::HostileSegment(call, w, h);
  };
  Handle video(false, in);
  Handle photo(true, in);
  Handle* const handles[] = {&video, &photo};
  if (!in.OneIn(8)) video.Open();
  if (!in.OneIn(2)) photo.Open();
  for (int step = 0; step < kSteps && !in.empty(); ++step) {
    Handle& handle = *handles[in.OneIn(3)];
    switch (in.Int(0, 31)) {
      case 0:
        handle.Open();
        break;
      case 1:
        handle.Close();
        break;
      case 2:
        handle.FrameOfOtherFamily();
        break;
      case 3:
        handle.CloseByOtherFamily();
        break;
      default:
        handle.Frame();
    }
  }
}

}  // namespace
}  // namespace vantro::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vantro::fuzz::FuzzSource in(data, size);
  vantro::fuzz::Run(in);
  return 0;
}

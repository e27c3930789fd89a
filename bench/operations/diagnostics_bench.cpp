// Dumps and files (in the memory file system, where there is one), tracked allocation, and what the
// library asks of the platform.
#include <unistd.h>

#include <filesystem>

#include "bench/support/operation.h"
#include "platform/platform.h"
#include "vantro/diagnostics.h"
#include "vantro/tracked_alloc.h"

namespace vantro::bench {
namespace {

constexpr FrameShape kFrame{640, 480, VANTRO_FORMAT_NV21};
constexpr auto kBytes = static_cast<int>(kFrame.bytes());

// A folder for files, removed with what is in it.
class Folder {
 public:
  Folder() {
    const std::filesystem::path memory = "/dev/shm";
    const std::filesystem::path root =
        access(memory.c_str(), W_OK) == 0 ? memory : std::filesystem::temp_directory_path();
    std::string name = (root / "vantro_bench.XXXXXX").string();
    path_ = mkdtemp(name.data());
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string File(const char* name) const { return path_ + "/" + name; }
  // Every dump has a name of its own.
  void Empty() const {
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
      std::filesystem::remove(entry);
    }
  }

 private:
  std::string path_;
};

// `run` takes a folder and a frame; its files are removed outside the time measured.
template <typename Run>
void AddOnFiles(const std::string& operation, Run run) {
  const size_t touched = 2 * kFrame.bytes();
  AddCopy(touched);
  Register(operation, "vantro", kFrame.name(), [=](benchmark::State& state) {
    const Folder folder;
    std::vector<uint8_t> frame = NoiseBuffer(2 * kFrame.bytes());
    writeFile(folder.File("written").c_str(), frame.data(), kBytes);
    int64_t written = 0;
    for (auto _ : state) {
      run(folder, frame.data());
      if (++written % 64 != 0) continue;
      state.PauseTiming();
      folder.Empty();
      writeFile(folder.File("written").c_str(), frame.data(), kBytes);
      state.ResumeTiming();
    }
    state.counters["touched"] = static_cast<double>(touched);
  });
}

const bool kAdded = [] {
  AddOnFiles("writeFile", [](const Folder& folder, uint8_t* frame) {
    writeFile(folder.File("written").c_str(), frame, kBytes);
  });
  AddOnFiles("writeFile(std::string)", [](const Folder& folder, uint8_t* frame) {
    writeFile(folder.File("written"), frame, kBytes);
  });
  AddOnFiles("readFile", [](const Folder& folder, uint8_t* frame) {
    readFile(folder.File("written").c_str(), frame, kBytes);
  });
  AddOnFiles("save_bmp_file", [](const Folder& folder, uint8_t* frame) {
    save_bmp_file(folder.File("dump"), frame, kFrame.width, kFrame.height, 1, 0);
  });
  AddOnFiles("save_nv12_or_nv21_UYVY_to_bmp_file", [](const Folder& folder, uint8_t* frame) {
    save_nv12_or_nv21_UYVY_to_bmp_file(folder.File("dump"), frame, kFrame.width, kFrame.height,
                                       kFrame.format);
  });
  Add("__Malloc", "and __Free, 4096 bytes", 0,
      [] { return [] { __Free(__Malloc(4096, "bench"), "bench"); }; });
  Add("showMemTotal", "one frame", 0, [] { return [] { showMemTotal(1); }; });
  Add("__android_log_print", "a line that is not shown", 0,
      [] { return [] { __android_log_print(ANDROID_LOG_DEBUG, "VANTRO", "frame %d", 1); }; });
  Add("__system_property_get", "not set", 0, [] {
    return [] {
      char value[PROP_VALUE_MAX];
      benchmark::DoNotOptimize(__system_property_get("vendor.vantro.bench", value));
    };
  });
  return true;
}();

}  // namespace
}  // namespace vantro::bench

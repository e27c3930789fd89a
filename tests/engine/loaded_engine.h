// The engine as a host meets it: a library loaded from a file.
#ifndef VANTRO_TESTS_ENGINE_LOADED_ENGINE_H_
#define VANTRO_TESTS_ENGINE_LOADED_ENGINE_H_

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/engine/masks.h"
#include "tests/engine/picture.h"
#include "vantro/segmentation_engine.h"

namespace vantro::test {

class EngineLibrary {
 public:
  explicit EngineLibrary(const std::string& path = VANTRO_ENGINE_LIBRARY)
      : library_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    EXPECT_NE(library_, nullptr) << dlerror();
    if (library_ == nullptr) return;
    create = reinterpret_cast<decltype(create)>(dlsym(library_, "Plimra_Create"));
    process = reinterpret_cast<decltype(process)>(dlsym(library_, "Plimra_Process"));
    destroy = reinterpret_cast<decltype(destroy)>(dlsym(library_, "Plimra_Destroy"));
  }
  ~EngineLibrary() {
    if (library_ != nullptr) dlclose(library_);
  }
  EngineLibrary(const EngineLibrary&) = delete;
  EngineLibrary& operator=(const EngineLibrary&) = delete;

  decltype(&Plimra_Create) create = nullptr;
  decltype(&Plimra_Process) process = nullptr;
  decltype(&Plimra_Destroy) destroy = nullptr;

 private:
  void* library_;
};

class LoadedEngine {
 public:
  LoadedEngine(const EngineLibrary& library, int32_t seg_mode) : library_(library) {
    int32_t width = 0;
    int32_t height = 0;
    SegmentationInterface record{};
    const int32_t result =
        library.create(&engine_, VANTRO_MODEL_DIR, &record, &width, &height, seg_mode);
    if (result != 0) throw std::runtime_error("no engine: run scripts/fetch-model");
    EXPECT_EQ(width, 256);
    EXPECT_EQ(height, 256);
  }
  ~LoadedEngine() { EXPECT_EQ(library_.destroy(engine_), 0); }
  LoadedEngine(const LoadedEngine&) = delete;
  LoadedEngine& operator=(const LoadedEngine&) = delete;

  void* get() const { return engine_; }

  int32_t Process(uint8_t* frame, int format, int width, int height, int stride, int32_t seg_mode,
                  Found* found) {
    return library_.process(engine_, frame, static_cast<uint8_t>(format), width, height, stride, 0,
                            found->mask.data(), &found->box, &found->crop, 0, nullptr, seg_mode);
  }

  // A picture as the next frame (or a photo's pass) in the given format.
  Found See(const Picture& picture, int32_t seg_mode = VANTRO_SEG_VIDEO,
            int format = VANTRO_FORMAT_NV12) {
    Found found;
    std::vector<uint8_t> frame = ToFrame(picture, format, picture.width);
    EXPECT_EQ(Process(frame.data(), format, picture.width, picture.height, picture.width, seg_mode,
                      &found),
              0);
    return found;
  }
  // Both passes over a photo.
  Found SeePhoto(const Picture& picture) {
    Found found;
    std::vector<uint8_t> frame = ToFrame(picture, VANTRO_FORMAT_NV21, picture.width);
    for (const int32_t mode : {VANTRO_SEG_VIDEO, VANTRO_SEG_PHOTO}) {
      EXPECT_EQ(Process(frame.data(), VANTRO_FORMAT_NV21, picture.width, picture.height,
                        picture.width, mode, &found),
                0);
    }
    return found;
  }

 private:
  const EngineLibrary& library_;
  void* engine_ = nullptr;
};

}  // namespace vantro::test

#endif  // VANTRO_TESTS_ENGINE_LOADED_ENGINE_H_

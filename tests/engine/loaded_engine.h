// The engine as a host meets it: a library loaded from a file.
#ifndef VANTRO_TESTS_ENGINE_LOADED_ENGINE_H_
#define VANTRO_TESTS_ENGINE_LOADED_ENGINE_H_

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/engine/picture.h"
#include "vantro/segmentation_engine.h"

namespace vantro::test {

// What one call writes.
struct Found {
  std::vector<uint8_t> mask = std::vector<uint8_t>(256 * 256, 0xEE);
  CROP_BOX box{-7, -7, -7, -7, 2};
  CROP_BOX crop{-7, -7, -7, -7, 2};

  // The mask at frame resolution: 1 where the frame shows the person.
  std::vector<uint8_t> OnFrame(int width, int height) const {
    std::vector<uint8_t> person(static_cast<size_t>(width) * static_cast<size_t>(height));
    for (int y = crop.crop_top; y <= crop.crop_bottom; ++y) {
      for (int x = crop.crop_left; x <= crop.crop_right; ++x) {
        const int row =
            (2 * (y - crop.crop_top) + 1) * 128 / (crop.crop_bottom - crop.crop_top + 1);
        const int column =
            (2 * (x - crop.crop_left) + 1) * 128 / (crop.crop_right - crop.crop_left + 1);
        person[static_cast<size_t>(y * width + x)] = mask[static_cast<size_t>(row * 256 + column)];
      }
    }
    return person;
  }
};

inline bool SameBox(const CROP_BOX& a, const CROP_BOX& b) {
  return a.crop_top == b.crop_top && a.crop_bottom == b.crop_bottom && a.crop_left == b.crop_left &&
         a.crop_right == b.crop_right && a.box_mode == b.box_mode;
}

class EngineLibrary {
 public:
  explicit EngineLibrary(const std::string& path = VANTRO_ENGINE_LIBRARY)
      : library_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (library_ == nullptr) throw std::runtime_error(dlerror());
    create = reinterpret_cast<decltype(create)>(dlsym(library_, "Plimra_Create"));
    process = reinterpret_cast<decltype(process)>(dlsym(library_, "Plimra_Process"));
    destroy = reinterpret_cast<decltype(destroy)>(dlsym(library_, "Plimra_Destroy"));
  }
  ~EngineLibrary() { dlclose(library_); }
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
  explicit LoadedEngine(int32_t seg_mode) {
    int32_t width = 0;
    int32_t height = 0;
    SegmentationInterface record{};
    const int32_t result =
        library_.create(&engine_, VANTRO_MODEL_DIR, &record, &width, &height, seg_mode);
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

  // A picture as the next frame, or as a photo's passes, in the given format.
  Found See(const Picture& picture, const std::vector<int32_t>& modes = {VANTRO_SEG_VIDEO},
            int format = VANTRO_FORMAT_NV12) {
    Found found;
    std::vector<uint8_t> frame = ToFrame(picture, format, picture.width);
    for (const int32_t mode : modes) {
      EXPECT_EQ(
          Process(frame.data(), format, picture.width, picture.height, picture.width, mode, &found),
          0);
    }
    return found;
  }

 private:
  const EngineLibrary library_;
  void* engine_ = nullptr;
};

}  // namespace vantro::test

#endif  // VANTRO_TESTS_ENGINE_LOADED_ENGINE_H_

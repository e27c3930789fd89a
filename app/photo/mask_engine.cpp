#include "app/photo/mask_engine.h"

#include <dlfcn.h>

#include <algorithm>
#include <string>

#include "app/failure.h"
#include "app/heap_pool.h"

namespace vantro::app {
namespace {

constexpr char kEngine[] = "libPlimra.so";
constexpr int32_t kBoxMode = 2;

template <typename Function>
void Find(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  if (function == nullptr) throw RunError(std::string(kEngine) + " lacks " + name);
}

}  // namespace

MaskEngine::MaskEngine() : pool_(HeapPool()) {
  interface_.pool = &pool_;
  library_ = dlopen(kEngine, RTLD_NOW | RTLD_NOLOAD);
  if (library_ == nullptr) throw RunError(std::string(kEngine) + " is not loaded");
  Find(library_, "Plimra_Create", create_);
  Find(library_, "Plimra_Process", process_);
  Find(library_, "Plimra_Destroy", destroy_);
  const int32_t code =
      create_(&engine_, VANTRO_SEG_MODEL_DIR, &interface_, &width_, &height_, VANTRO_SEG_PHOTO);
  if (code != 0 || width_ < 1 || height_ < 1) {
    throw RunError("the engine for --mask-out cannot start (code " + std::to_string(code) + ")");
  }
}

MaskEngine::~MaskEngine() {
  destroy_(engine_);
  dlclose(library_);
}

Raster MaskEngine::Segment(const FrameShape& shape, uint8_t* frame) {
  Raster mask(width_, height_, true, 0, 0);
  CROP_BOX box{};
  CROP_BOX crop_box{};
  box.box_mode = kBoxMode;
  crop_box.box_mode = kBoxMode;
  Vantro_t record{};
  for (const int32_t mode : {VANTRO_SEG_VIDEO, VANTRO_SEG_PHOTO}) {
    const int32_t code =
        process_(engine_, frame, shape.format.code, shape.width, shape.height, shape.stride, 0,
                 mask.luma.row(0), &box, &crop_box, 0, &record.seg_output, mode);
    if (code != 0) {
      throw RunError("the engine failed on the mask (code " + std::to_string(code) + ")");
    }
  }
  for (uint8_t& sample : mask.luma.samples) sample = sample != 0 ? 255 : 0;
  return mask;
}

}  // namespace vantro::app

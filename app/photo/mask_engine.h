// The mask that the segmentation engine finds in a still picture.
#ifndef VANTRO_APP_PHOTO_MASK_ENGINE_H_
#define VANTRO_APP_PHOTO_MASK_ENGINE_H_

#include <vector>

#include "app/frame_format.h"
#include "app/photo/raster.h"
#include "vantro/segmentation_engine.h"

namespace vantro::app {

// The library keeps its mask to itself, and filters it before it renders. To show what the engine
// wrote, this opens the same engine once more and asks it the way the photo handle does, with the
// same calls in the same order.
class MaskEngine {
 public:
  // A photo handle must be open, which has loaded the engine. Throws RunError.
  MaskEngine();
  ~MaskEngine();
  MaskEngine(const MaskEngine&) = delete;
  MaskEngine& operator=(const MaskEngine&) = delete;

  // A grey picture of the mask in the engine's own resolution, 255 where it sees the person. It is
  // stretched over the engine's crop box, not over the frame. Throws RunError.
  Raster Segment(const FrameShape& shape, uint8_t* frame);

 private:
  void* library_ = nullptr;
  decltype(&Plimra_Create) create_ = nullptr;
  decltype(&Plimra_Process) process_ = nullptr;
  decltype(&Plimra_Destroy) destroy_ = nullptr;
  MemPool pool_;
  SegmentationInterface interface_{};
  void* engine_ = nullptr;
  int32_t width_ = 0;
  int32_t height_ = 0;
};

}  // namespace vantro::app

#endif  // VANTRO_APP_PHOTO_MASK_ENGINE_H_

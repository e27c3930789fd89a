// The segmentation of frames: from a camera frame to a mask and its boxes.
#ifndef VANTRO_ENGINE_ENGINE_H_
#define VANTRO_ENGINE_ENGINE_H_

#include <cstdint>
#include <memory>
#include <string>

#include "engine/crop_box.h"
#include "engine/frame_sampler.h"
#include "engine/network.h"
#include "engine/person_finder.h"
#include "engine/probability_map.h"
#include "engine/temporal_filter.h"
#include "vantro/vantro.h"

namespace vantro::engine {

// What one call writes. All three are the caller's and are written only on success.
struct Segmentation {
  uint8_t* mask;  // kMaskSide * kMaskSide bytes
  CROP_BOX* person_box;
  CROP_BOX* crop_box;
};

class Engine {
 public:
  enum class Purpose { kVideo, kPhoto };

  // Null and the reason in `error` if the model cannot be found or run.
  static std::unique_ptr<Engine> Create(const char* model_dir, Purpose purpose, std::string* error);

  // Looks for a person in the whole frame. An engine for videos takes it as the next frame of its
  // video: boxes and edges are steadied.
  bool SegmentFrame(const FrameView& frame, const Segmentation& result);

  // Looks again, closely, where SegmentFrame has just found a person in this frame, and replaces
  // its result, which is given again. Leaves it where a closer look shows nothing new. Without such
  // a call before, it is made first.
  bool RefineFrame(const FrameView& frame, const Segmentation& result);

 private:
  Engine(std::unique_ptr<Network> network, Purpose purpose);

  bool RunNetwork(const FrameView& frame, const Region& region);
  void ForgetVideo();
  void WriteNobody(const FrameView& frame, const Segmentation& result) const;

  std::unique_ptr<Network> network_;
  Purpose purpose_;
  FrameSampler sampler_;
  TemporalFilter filter_;
  PersonFinder finder_;
  CropFollower follower_;
  FrameView last_frame_;     // of SegmentFrame
  bool may_refine_ = false;  // the last call was SegmentFrame...
  bool person_found_ = false;
  CROP_BOX found_crop_{};  // ...and found this
};

}  // namespace vantro::engine

#endif  // VANTRO_ENGINE_ENGINE_H_

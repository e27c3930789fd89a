// The boxes that go with a mask.
#ifndef VANTRO_ENGINE_CROP_BOX_H_
#define VANTRO_ENGINE_CROP_BOX_H_

#include "engine/person_finder.h"
#include "vantro/vantro.h"

namespace vantro::engine {

// All of the following keep box_mode as it is.

void SetWholeFrame(int width, int height, CROP_BOX* box);

// The smallest box of whole pixels that holds the person.
void SetTightBox(const Bounds& person, int width, int height, CROP_BOX* box);

// The person with a margin of an eighth of their size on each side: inside the frame, left and top
// even, width and height multiples of 4. Where no such box inside the frame holds the person, the
// box is as wide (or high) as the frame's even part.
void SetCropBox(const Bounds& person, int width, int height, CROP_BOX* box);

// Keeps the crop box of a video still while the person moves a little inside it.
class CropFollower {
 public:
  void Reset() { following_ = false; }
  void Follow(const Bounds& person, int width, int height, CROP_BOX* box);

 private:
  bool StillServes(const Bounds& person, const CROP_BOX& fresh, int width, int height) const;

  bool following_ = false;
  CROP_BOX current_{};
};

}  // namespace vantro::engine

#endif  // VANTRO_ENGINE_CROP_BOX_H_

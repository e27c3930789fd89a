// Cuts the mask out of a probability map.
#ifndef VANTRO_ENGINE_MASK_WRITER_H_
#define VANTRO_ENGINE_MASK_WRITER_H_

#include <cstdint>

#include "engine/probability_map.h"
#include "vantro/vantro.h"

namespace vantro::engine {

// Rows and columns of the masks that the engine writes.
constexpr int kMaskSide = 256;

// Stretches the mask over `box`: each of the kMaskSide * kMaskSide bytes is 1 if the probability in
// the middle of its part of the box, interpolated linearly, is that of a person, else 0.
void WriteMask(const ProbabilityMap& map, const CROP_BOX& box, uint8_t* mask);

}  // namespace vantro::engine

#endif  // VANTRO_ENGINE_MASK_WRITER_H_

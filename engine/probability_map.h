// What the network found, laid over the frame.
#ifndef VANTRO_ENGINE_PROBABILITY_MAP_H_
#define VANTRO_ENGINE_PROBABILITY_MAP_H_

#include "engine/frame_sampler.h"

namespace vantro::engine {

// Side of the square cells in which the neighbourhood of a sample is judged. The sides of the map
// are multiples of it.
constexpr int kCellSide = 4;

// From this probability on a sample counts as person.
constexpr float kPersonProbability = 0.5f;

// rows * columns probabilities that share `region` of the frame evenly. The region may reach over
// the frame's edges.
struct ProbabilityMap {
  const float* values = nullptr;
  int rows = 0;
  int columns = 0;
  Region region;

  float row_pitch() const { return region.height / static_cast<float>(rows); }
  float column_pitch() const { return region.width / static_cast<float>(columns); }
  const float* row(int index) const {
    return values + static_cast<size_t>(index) * static_cast<size_t>(columns);
  }
};

}  // namespace vantro::engine

#endif  // VANTRO_ENGINE_PROBABILITY_MAP_H_

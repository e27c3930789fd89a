// Finds the person's bounds in a probability map.
#ifndef VANTRO_ENGINE_PERSON_FINDER_H_
#define VANTRO_ENGINE_PERSON_FINDER_H_

#include <cstdint>
#include <optional>
#include <vector>

#include "engine/probability_map.h"

namespace vantro::engine {

// Edges in frame pixels; right and bottom are not inside.
struct Bounds {
  float left;
  float top;
  float right;
  float bottom;
};

class PersonFinder {
 public:
  PersonFinder(int rows, int columns);

  // The bounds of everything in the frame that belongs to a person, clipped to the frame; nothing
  // if nobody is there. Several persons count as one. Specks, such as a face on a poster that the
  // network half believes in, do not count. The map is of the size given above. Allocates nothing.
  std::optional<Bounds> Find(const ProbabilityMap& map, int frame_width, int frame_height);

 private:
  void CountSamples(const ProbabilityMap& map);
  // Gathers the cells connected with `cell` under `label`. Returns the number of their samples.
  int Gather(size_t cell, uint16_t label);
  size_t CellAt(int row, int column) const {
    return static_cast<size_t>(row) * static_cast<size_t>(cell_columns_) +
           static_cast<size_t>(column);
  }
  bool NearKeptCell(int row, int column, int smallest) const;

  int cell_rows_;
  int cell_columns_;
  // The part of the map that lies in the frame.
  int first_row_ = 0;
  int last_row_ = 0;
  int first_column_ = 0;
  int last_column_ = 0;
  std::vector<uint8_t> counts_;    // person samples of each cell
  std::vector<uint16_t> labels_;   // region of each cell, 0 = none
  std::vector<int> sizes_;         // samples of each region
  std::vector<uint32_t> pending_;  // cells whose neighbours have not been looked at
};

}  // namespace vantro::engine

#endif  // VANTRO_ENGINE_PERSON_FINDER_H_

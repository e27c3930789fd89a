// The regions of a mask by the runs of their rows, for filters that ask for the regions' areas and
// not for labels. A run is some neighbouring pixels of one value other than 0 in a row; runs of 0
// do not count.
//
// Runs are numbered from left to right and row by row, and form a forest in an array of one integer
// a run: a root holds the area of its region, negated, any other run the number of an earlier run
// of its region (union-find with path halving, R. E. Tarjan and J. van Leeuwen, "Worst-Case
// Analysis of Set Union Algorithms", J. ACM 31 (1984)).
#ifndef VANTRO_MASK_REGION_RUNS_H_
#define VANTRO_MASK_REGION_RUNS_H_

#include <cstdint>

#include "mask/mask_pixels.h"

namespace vantro {

// Builds the forest of 4-connected regions in `runs`, which has room for one integer a pixel.
void JoinRuns(const MaskPixels& mask, int32_t* runs);

// Clears the regions of fewer than `smallest` pixels, with the forest that JoinRuns built.
void ClearSmallRegions(const MaskPixels& mask, int32_t* runs, int32_t smallest);

}  // namespace vantro

#endif  // VANTRO_MASK_REGION_RUNS_H_

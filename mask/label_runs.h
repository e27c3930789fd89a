// Labelling by runs. All pixels of a run (neighbours of one value in a row) carry one label, so the
// labeller handles runs, and a label image is filled only where somebody wants to see it.
//
// Until then a row's place in the label image (one int a pixel) holds its runs from left to right:
// the bitwise complement of the label for a run of one pixel, else the label and the length. So the
// runs never need more room than their pixels, and a row can be expanded in its own place.
#ifndef VANTRO_MASK_LABEL_RUNS_H_
#define VANTRO_MASK_LABEL_RUNS_H_

#include <cstddef>
#include <cstdint>

#include "vantro/mask.h"

namespace vantro {

struct LabelRun {
  int32_t label;
  int32_t length;
};

// Reads the run at `*at` and moves on to the next one.
inline LabelRun NextRun(const int32_t** at) {
  const int32_t first = *(*at)++;
  if (first < 0) return {~first, 1};
  return {first, *(*at)++};
}

// Puts `label` into the run at `*at` and moves on to the next one.
inline void RelabelRun(int32_t** at, int32_t label) {
  if (**at < 0) {
    *(*at)++ = ~label;
  } else {
    **at = label;
    *at += 2;
  }
}

// One row of a mask: its pixels and, when encoded, its runs. `end` is behind the last run written
// and `columns` the number of pixels that the runs cover.
struct RunRow {
  const uint8_t* pixels;
  int32_t* runs;
  int32_t* end;
  int32_t columns;
};

// Labels the runs of a row of `width` pixels and joins them with the runs above (`above` is null
// for the first row). Returns false, with the runs so far in place, when the label table could not
// grow.
bool LabelRow(ConnectedComponentsLabeling& labeller, const RunRow* above, int32_t width,
              RunRow* row);

// Labels the runs of a whole mask into a label image of the same size.
bool LabelRows(ConnectedComponentsLabeling& labeller, const uint8_t* mask, int32_t* labels,
               int32_t width, int32_t height);

// Replaces the runs of a row by its pixels' labels.
void ExpandRow(const RunRow& row);

// Numbers the roots of the table in rising order; returns how many there are.
int32_t NumberRegions(ConnectedComponentsLabeling& labeller);

// Puts region numbers in place of the labels in the runs of a row.
void ResolveRow(ConnectedComponentsLabeling& labeller, int32_t width, RunRow* row);

}  // namespace vantro

#endif  // VANTRO_MASK_LABEL_RUNS_H_

// Labelling by runs. All pixels of a run (neighbours of one value in a row) carry one label, so the
// labeller handles runs, and a label image is filled only where somebody wants to see it.
//
// Until then a row of the label image holds the label of each run at its first pixel, and once more
// wherever the run goes on into the next 64 columns.
#ifndef VANTRO_MASK_LABEL_RUNS_H_
#define VANTRO_MASK_LABEL_RUNS_H_

#include <cstdint>

#include "mask/mask_pixels.h"
#include "vantro/mask.h"

namespace vantro {

// Labels the runs of row y and joins them with the runs above. Returns the number of columns
// labelled: fewer than the mask's when the label table could not grow.
int32_t LabelRuns(ConnectedComponentsLabeling& labeller, const MaskPixels& mask, int32_t y,
                  int32_t* labels);

// Gives the first pixels of row y, `columns` of them, the labels of their runs.
void ExpandLabels(const MaskPixels& mask, int32_t y, int32_t columns, int32_t* labels);

// Gives the pixels of all rows the region numbers of their runs' roots.
void ExpandRegions(LabelEntry* table, const MaskPixels& mask, int32_t* labels);

}  // namespace vantro

#endif  // VANTRO_MASK_LABEL_RUNS_H_

// The labeller's table of labels.
#ifndef VANTRO_MASK_LABEL_TABLE_H_
#define VANTRO_MASK_LABEL_TABLE_H_

#include <cstdint>

#include "vantro/mask.h"

namespace vantro {

// Doubles the table; false, with nothing changed, when it cannot grow.
bool GrowTable(ConnectedComponentsLabeling& labeller);

// The next label, as a root of its own; a negative result code when there is no room for it.
inline int32_t HandOutLabel(ConnectedComponentsLabeling& labeller) {
  if (labeller.count >= labeller.capacity && !GrowTable(labeller)) return VANTRO_ERR_STAGE_INPUT;
  LabelEntry& entry = labeller.table[labeller.count];
  entry.label = labeller.count;
  entry.parent = labeller.count;
  return labeller.count++;
}

}  // namespace vantro

#endif  // VANTRO_MASK_LABEL_TABLE_H_

// The union-find steps of the labeller on its table.
#ifndef VANTRO_MASK_UNION_FIND_H_
#define VANTRO_MASK_UNION_FIND_H_

#include <cstdint>

#include "vantro/mask.h"

namespace vantro {

// The root of `label`; every entry on the way is hung to its grandparent (path halving). The first
// step is taken without a question: it changes nothing at a root, and most paths end with it.
inline int32_t FindRoot(LabelEntry* table, int32_t label) {
  do {
    const int32_t grandparent = table[table[label].parent].parent;
    table[label].parent = grandparent;
    label = grandparent;
  } while (table[label].parent != label);
  return label;
}

// Makes the root of b's set the root of a's set too. True when both were one set already.
inline bool JoinSets(LabelEntry* table, int32_t a, int32_t b) {
  const int32_t root_a = FindRoot(table, a);
  const int32_t root_b = FindRoot(table, b);
  if (root_a != root_b && (table[a].parent != root_a || table[b].parent != root_b)) {
    FindRoot(table, b);
    FindRoot(table, a);
  }
  table[root_a].parent = root_b;
  return root_a == root_b;
}

// True when the entry is a root or hangs on one: FindRoot then changes nothing.
inline bool IsFlat(const LabelEntry* table, int32_t label) {
  const int32_t parent = table[label].parent;
  return table[parent].parent == parent;
}

}  // namespace vantro

#endif  // VANTRO_MASK_UNION_FIND_H_

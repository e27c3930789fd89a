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

struct JoinedSet {
  int32_t root;
  bool was_one;  // before
};

// Makes the root of b's set the root of a's set too.
inline JoinedSet JoinSets(LabelEntry* table, int32_t a, int32_t b) {
  const int32_t root_a = FindRoot(table, a);
  const int32_t root_b = FindRoot(table, b);
  const bool flat = (table[a].parent == root_a) & (table[b].parent == root_b);
  if (!flat && root_a != root_b) {
    FindRoot(table, b);
    FindRoot(table, a);
  }
  table[root_a].parent = root_b;
  return {root_b, root_a == root_b};
}

// True when the entry is a root or hangs on one: FindRoot then changes nothing.
inline bool IsFlat(const LabelEntry* table, int32_t label) {
  const int32_t parent = table[label].parent;
  return table[parent].parent == parent;
}

// Joins two sets for each of `times` pixels where they meet. The first time joins them, the others
// only shorten the paths of both labels, until there is nothing left to shorten.
inline void JoinForPixels(LabelEntry* table, int32_t a, int32_t b, int32_t times) {
  // Two runs that meet for long are most often parts of one region already.
  if (times >= 8 && table[a].parent == table[b].parent && IsFlat(table, a)) return;
  const int32_t root = JoinSets(table, a, b).root;
  // The first step of the second time, which is most often all that is to do. How many times there
  // are is not to be foretold, so this asks no questions.
  int32_t& parent = table[a].parent;
  const bool again = times > 1;
  parent ^= (parent ^ table[parent].parent) & -static_cast<int32_t>(again);
  if (again & ((parent != root) | (table[b].parent != root))) {
    FindRoot(table, parent);
    FindRoot(table, b);
    for (int32_t i = 2; i < times && !(IsFlat(table, a) && IsFlat(table, b)); ++i) {
      FindRoot(table, a);
      FindRoot(table, b);
    }
  }
}

}  // namespace vantro

#endif  // VANTRO_MASK_UNION_FIND_H_

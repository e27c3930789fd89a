// A labeller that owns its table.
#ifndef VANTRO_MASK_OWNED_LABELLER_H_
#define VANTRO_MASK_OWNED_LABELLER_H_

#include <cstdint>
#include <new>

#include "vantro/mask.h"

namespace vantro {

// Starts with `entries` zeroed entries; with none at all (valid() is false) when there is no
// memory.
class OwnedLabeller : public ConnectedComponentsLabeling {
 public:
  explicit OwnedLabeller(int32_t entries) {
    table = new (std::nothrow) LabelEntry[static_cast<size_t>(entries)]();
    count = 0;
    capacity = entries;
  }
  ~OwnedLabeller() { delete[] table; }
  OwnedLabeller(const OwnedLabeller&) = delete;
  OwnedLabeller& operator=(const OwnedLabeller&) = delete;

  bool valid() const { return table != nullptr; }
};

}  // namespace vantro

#endif  // VANTRO_MASK_OWNED_LABELLER_H_

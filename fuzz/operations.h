// What the fuzzers of single operations share: the input names the vector level and the operation,
// the operation draws its arguments and its pictures.
#ifndef VANTRO_FUZZ_OPERATIONS_H_
#define VANTRO_FUZZ_OPERATIONS_H_

#include <span>

#include "fuzz/fuzz_source.h"
#include "support/simd_level.h"

namespace vantro::fuzz {

using Operation = void (*)(FuzzSource& in);

inline int RunOperation(std::span<const Operation> operations, const uint8_t* data, size_t size) {
  FuzzSource in(data, size);
  ForceSimdLevel(static_cast<SimdLevel>(in.Int(0, kSimdLevelCount - 1)));
  try {
    operations[static_cast<size_t>(in.Int(0, static_cast<int>(operations.size()) - 1))](in);
  } catch (const TooLarge&) {
    return -1;  // keep it out of the corpus
  }
  return 0;
}

}  // namespace vantro::fuzz

#endif  // VANTRO_FUZZ_OPERATIONS_H_

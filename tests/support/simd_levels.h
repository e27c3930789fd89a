// Runs a check at every vector level of this processor.
#ifndef VANTRO_TESTS_SUPPORT_SIMD_LEVELS_H_
#define VANTRO_TESTS_SUPPORT_SIMD_LEVELS_H_

#include <gtest/gtest.h>

#include "support/simd_level.h"

namespace vantro::test {

// For programs on the static archive. The processor's own level is active again afterwards.
template <typename Check>
void AtEverySimdLevel(Check check) {
  const SimdLevel best = DetectSimdLevel();
  for (int level = 0; level <= static_cast<int>(best); ++level) {
    const SimdLevel active = ForceSimdLevel(static_cast<SimdLevel>(level));
    SCOPED_TRACE(SimdLevelName(active));
    check();
  }
  ForceSimdLevel(best);
}

}  // namespace vantro::test

#endif  // VANTRO_TESTS_SUPPORT_SIMD_LEVELS_H_

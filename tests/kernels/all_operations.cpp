#include "tests/kernels/operations.h"

namespace vantro::test {

std::vector<Operation> AllOperations() {
  std::vector<Operation> all;
  for (const auto* family : {&kColourOperations, &kResizeOperations, &kFilterOperations,
                             &kRenderOperations, &kMotionOperations, &kMaskOperations}) {
    all.insert(all.end(), family->begin(), family->end());
  }
  return all;
}

}  // namespace vantro::test

// The exported operations that have vector code, or call some: one entry each, with a random call.
#ifndef VANTRO_TESTS_KERNELS_OPERATIONS_H_
#define VANTRO_TESTS_KERNELS_OPERATIONS_H_

#include <ostream>
#include <vector>

#include "tests/kernels/case.h"

namespace vantro::test {

struct Operation {
  const char* name;
  void (*call)(Case& c);
};

inline std::ostream& operator<<(std::ostream& out, const Operation& operation) {
  return out << operation.name;
}

extern const std::vector<Operation> kColourOperations;
extern const std::vector<Operation> kResizeOperations;
extern const std::vector<Operation> kFilterOperations;
extern const std::vector<Operation> kRenderOperations;
extern const std::vector<Operation> kRescaleOperations;
extern const std::vector<Operation> kMotionOperations;
extern const std::vector<Operation> kMaskOperations;

inline std::vector<Operation> AllOperations() {
  std::vector<Operation> all;
  for (const auto* family :
       {&kColourOperations, &kResizeOperations, &kFilterOperations, &kRenderOperations,
        &kRescaleOperations, &kMotionOperations, &kMaskOperations}) {
    all.insert(all.end(), family->begin(), family->end());
  }
  return all;
}

}  // namespace vantro::test

#endif  // VANTRO_TESTS_KERNELS_OPERATIONS_H_

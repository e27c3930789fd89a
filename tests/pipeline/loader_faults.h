// Faults of the dynamic loader: this test program defines dlopen, dlsym and dlclose, so the
// library's calls pass through here.
#ifndef VANTRO_TESTS_PIPELINE_LOADER_FAULTS_H_
#define VANTRO_TESTS_PIPELINE_LOADER_FAULTS_H_

#include <string>

namespace vantro::test {

struct LoaderFaults {
  bool fail_open = false;
  std::string missing_symbol;
  int opens = 0;   // of libPlimra.so, successful ones
  int closes = 0;  // of the same
};

LoaderFaults& Loader();

}  // namespace vantro::test

#endif  // VANTRO_TESTS_PIPELINE_LOADER_FAULTS_H_

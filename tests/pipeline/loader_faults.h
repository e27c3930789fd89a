// Faults of the dynamic loader: this test program defines dlopen, dlsym and dlclose, so the
// library's calls pass through here.
#ifndef VANTRO_TESTS_PIPELINE_LOADER_FAULTS_H_
#define VANTRO_TESTS_PIPELINE_LOADER_FAULTS_H_

namespace vantro::test {

struct LoaderFaults {
  bool fail_open;
  const char* missing_symbol;  // null: none
  int opens;                   // of libPlimra.so, successful ones
  int closes;                  // of the same
};

// Plain data without a constructor: the sanitizers look symbols up before any has run.
extern LoaderFaults loader;

}  // namespace vantro::test

#endif  // VANTRO_TESTS_PIPELINE_LOADER_FAULTS_H_

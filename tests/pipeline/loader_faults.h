// Faults of the dynamic loader, for a test program that links the library's objects and wraps
// dlopen, dlsym and dlclose.
#ifndef VANTRO_TESTS_PIPELINE_LOADER_FAULTS_H_
#define VANTRO_TESTS_PIPELINE_LOADER_FAULTS_H_

namespace vantro::test {

struct LoaderFaults {
  bool fail_open;
  const char* missing_symbol;  // null: none
  int opens;                   // of libPlimra.so, successful ones
  int closes;                  // of the same
};

extern LoaderFaults loader;

}  // namespace vantro::test

#endif  // VANTRO_TESTS_PIPELINE_LOADER_FAULTS_H_

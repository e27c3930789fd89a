#include "tests/pipeline/loader_faults.h"

#include <cstring>

namespace vantro::test {

LoaderFaults loader = {};

namespace {

void* engine_library = nullptr;

}  // namespace
}  // namespace vantro::test

using vantro::test::loader;

// The linker leads the library's calls here (-Wl,--wrap); the sanitizers' own are left alone.
extern "C" {

void* __real_dlopen(const char* file, int mode);
void* __real_dlsym(void* library, const char* name);
int __real_dlclose(void* library);

void* __wrap_dlopen(const char* file, int mode) {
  const bool engine = std::strcmp(file, "libPlimra.so") == 0;
  if (engine && loader.fail_open) return nullptr;
  void* library = __real_dlopen(file, mode);
  if (engine && library != nullptr) {
    vantro::test::engine_library = library;
    ++loader.opens;
  }
  return library;
}

void* __wrap_dlsym(void* library, const char* name) {
  const bool missing =
      loader.missing_symbol != nullptr && std::strcmp(name, loader.missing_symbol) == 0;
  return missing ? nullptr : __real_dlsym(library, name);
}

int __wrap_dlclose(void* library) {
  if (library == vantro::test::engine_library) ++loader.closes;
  return __real_dlclose(library);
}

}  // extern "C"

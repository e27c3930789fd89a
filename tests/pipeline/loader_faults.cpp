#include "tests/pipeline/loader_faults.h"

#include <dlfcn.h>

#include <cstring>

namespace vantro::test {
namespace {

void* engine_library = nullptr;

// The next definition of a loader function behind this program's own. dlsym itself cannot be asked
// for by dlsym here.
template <typename Function>
Function Next(const char* name) {
#if defined(__x86_64__)
  const char* version = "GLIBC_2.2.5";
#else
  const char* version = "GLIBC_2.17";
#endif
  void* found = dlvsym(RTLD_NEXT, name, "GLIBC_2.34");
  if (found == nullptr) found = dlvsym(RTLD_NEXT, name, version);
  return reinterpret_cast<Function>(found);
}

}  // namespace

LoaderFaults& Loader() {
  static LoaderFaults faults;
  return faults;
}

}  // namespace vantro::test

using vantro::test::Loader;

#define HOST_EXPORT extern "C" __attribute__((visibility("default")))

HOST_EXPORT void* dlopen(const char* file, int mode) noexcept {
  static const auto next = vantro::test::Next<void* (*)(const char*, int)>("dlopen");
  const bool engine = file != nullptr && std::strcmp(file, "libPlimra.so") == 0;
  if (engine && Loader().fail_open) return nullptr;
  void* library = next(file, mode);
  if (engine && library != nullptr) {
    vantro::test::engine_library = library;
    ++Loader().opens;
  }
  return library;
}

HOST_EXPORT void* dlsym(void* library, const char* name) noexcept {
  static const auto next = vantro::test::Next<void* (*)(void*, const char*)>("dlsym");
  if (Loader().missing_symbol == name) return nullptr;
  return next(library, name);
}

HOST_EXPORT int dlclose(void* library) noexcept {
  static const auto next = vantro::test::Next<int (*)(void*)>("dlclose");
  if (library == vantro::test::engine_library) ++Loader().closes;
  return next(library);
}

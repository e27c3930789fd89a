#include "tests/pipeline/loader_faults.h"

#include <dlfcn.h>

// The sanitizers' runtime calls dlsym while it starts, when neither instrumented code nor the
// intercepted functions of the C library can run yet.
#define BEFORE_SANITIZERS \
  __attribute__((no_sanitize("address"), no_sanitize("thread"), no_sanitize("undefined")))
#define HOST_EXPORT extern "C" __attribute__((visibility("default"))) BEFORE_SANITIZERS

namespace vantro::test {

LoaderFaults loader = {};

namespace {

void* engine_library = nullptr;

BEFORE_SANITIZERS bool Equal(const char* a, const char* b) {
  if (a == nullptr || b == nullptr) return false;
  for (; *a == *b; ++a, ++b) {
    if (*a == '\0') return true;
  }
  return false;
}

// The next definition of a loader function behind this program's own; dlsym cannot be asked for
// dlsym. The version is that of the C library which took the loader's functions in.
BEFORE_SANITIZERS void* Next(const char* name) { return dlvsym(RTLD_NEXT, name, "GLIBC_2.34"); }

}  // namespace
}  // namespace vantro::test

using vantro::test::loader;

HOST_EXPORT void* dlopen(const char* file, int mode) noexcept {
  const bool engine = vantro::test::Equal(file, "libPlimra.so");
  if (engine && loader.fail_open) return nullptr;
  const auto next = reinterpret_cast<void* (*)(const char*, int)>(vantro::test::Next("dlopen"));
  void* library = next(file, mode);
  if (engine && library != nullptr) {
    vantro::test::engine_library = library;
    ++loader.opens;
  }
  return library;
}

HOST_EXPORT void* dlsym(void* library, const char* name) noexcept {
  if (vantro::test::Equal(name, loader.missing_symbol)) return nullptr;
  return reinterpret_cast<void* (*)(void*, const char*)>(vantro::test::Next("dlsym"))(library,
                                                                                      name);
}

HOST_EXPORT int dlclose(void* library) noexcept {
  if (library == vantro::test::engine_library) ++loader.closes;
  return reinterpret_cast<int (*)(void*)>(vantro::test::Next("dlclose"))(library);
}

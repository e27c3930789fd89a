#include "app/engine_library.h"

#include <dlfcn.h>

#include <filesystem>
#include <memory>

#include "app/failure.h"

namespace vantro::app {
namespace {

struct LibraryCloser {
  void operator()(void* library) const { dlclose(library); }
};
using LibraryPtr = std::unique_ptr<void, LibraryCloser>;

constexpr char kSoname[] = "libPlimra.so";

}  // namespace

EngineLibrary::EngineLibrary(const std::string& path) {
  // Absolute, because a name without a slash would be searched for in the system's folders.
  const std::string file = std::filesystem::absolute(path).string();
  LibraryPtr library(dlopen(file.c_str(), RTLD_NOW | RTLD_GLOBAL));
  if (library == nullptr) {
    const char* cause = dlerror();
    throw RunError("--engine " + path +
                   ": cannot be loaded: " + (cause != nullptr ? cause : "unknown cause"));
  }
  const LibraryPtr by_soname(dlopen(kSoname, RTLD_NOW | RTLD_NOLOAD));
  if (by_soname != library) {
    throw RunError("--engine " + path + ": its soname is not " + kSoname +
                   ", so Vantro would not use it; link it with -Wl,-soname," + kSoname);
  }
  for (const char* entry : {"Plimra_Create", "Plimra_Process", "Plimra_Destroy"}) {
    if (dlsym(library.get(), entry) == nullptr) {
      throw RunError("--engine " + path + ": is no segmentation engine, it lacks " + entry);
    }
  }
  library_ = library.release();
}

EngineLibrary::~EngineLibrary() { dlclose(library_); }

}  // namespace vantro::app

// A segmentation engine chosen by the user.
#ifndef VANTRO_APP_ENGINE_LIBRARY_H_
#define VANTRO_APP_ENGINE_LIBRARY_H_

#include <string>

namespace vantro::app {

// Loads the engine at `path` and keeps it loaded. The library asks the loader for "libPlimra.so";
// the loader hands out what is loaded under that soname already, so this must live before a handle
// is opened and after it is closed. Throws RunError when the file is no such engine.
class EngineLibrary {
 public:
  explicit EngineLibrary(const std::string& path);
  ~EngineLibrary();
  EngineLibrary(const EngineLibrary&) = delete;
  EngineLibrary& operator=(const EngineLibrary&) = delete;

 private:
  void* library_;
};

}  // namespace vantro::app

#endif  // VANTRO_APP_ENGINE_LIBRARY_H_

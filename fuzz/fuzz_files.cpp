// The BMP writers and the file routines, in a folder of their own.
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "fuzz/fuzz_source.h"
#include "vantro/diagnostics.h"
#include "vantro/vantro.h"

namespace vantro::fuzz {
namespace {

class Folder {
 public:
  Folder() {
    path_ = std::filesystem::temp_directory_path() / ("vantro_fuzz_" + std::to_string(getpid()));
    std::filesystem::create_directories(path_);
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  void Clear() const {
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
      std::filesystem::remove_all(entry.path());
    }
  }
  std::string File(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

// A name of its own that stays in the folder.
std::string Name(FuzzSource& in) {
  std::string name = in.Rest().substr(0, 40);
  for (char& letter : name) {
    if (letter == '/' || letter == '\0') letter = '_';
  }
  return name;
}

void Call(FuzzSource& in, const Folder& folder) {
  const int w = in.Size();
  const int h = in.Size();
  const int channel = in.Int(-1, 5);
  const int type = in.Int(-1, 6);
  const int64_t pixels = Plane(w, h, w);
  switch (in.Int(0, 4)) {
    case 0: {
      uint8_t* picture = in.Bytes(channel == 1 ? pixels : 3 * pixels);
      save_bmp_file(folder.File(Name(in)), picture, w, h, channel, type);
      break;
    }
    case 1: {
      uint8_t* frame = in.Bytes(type == VANTRO_FORMAT_UYVY ? 2 * pixels : SemiPlanar(w, h, w));
      save_nv12_or_nv21_UYVY_to_bmp_file(folder.File(Name(in)), frame, w, h, type);
      break;
    }
    case 2: {
      const uint8_t* bytes = in.Bytes(std::max(w, 0));
      writeFile(folder.File(Name(in)), bytes, w);
      break;
    }
    case 3: {
      uint8_t* bytes = in.Bytes(std::max({w, h, 0}));
      const std::string path = folder.File(Name(in));
      writeFile(path.c_str(), bytes, w);
      readFile(path.c_str(), bytes, h);
      break;
    }
    default: {  // does not exist, is a folder, or is refused
      uint8_t* bytes = in.Bytes(std::max(w, 0));
      const std::string path = in.Rest();
      if (path.empty() || path[0] != '/') readFile(path.c_str(), bytes, w);
    }
  }
}

}  // namespace
}  // namespace vantro::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const vantro::fuzz::Folder folder;
  vantro::fuzz::FuzzSource in(data, size);
  try {
    vantro::fuzz::Call(in, folder);
  } catch (const vantro::fuzz::TooLarge&) {
    return -1;
  }
  folder.Clear();
  return 0;
}

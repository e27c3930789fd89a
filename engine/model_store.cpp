#include "engine/model_store.h"

#include <dlfcn.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <vector>

#include "engine/log.h"
#include "engine/model_file.h"
#include "vantro/segmentation_engine.h"

namespace vantro::engine {
namespace {

namespace fs = std::filesystem;

// The square network serves frames of every shape. Its sibling for landscape frames sees a person
// with half as many samples, and its masks of the sample pictures cut to 16:9 were the worse ones.
constexpr const char* kFileName = "selfie_segmentation.tflite";

// The folder that the user names; empty without one.
fs::path ChosenFolder() {
  const char* chosen = std::getenv("VANTRO_MODEL_DIR");
  return chosen == nullptr ? "" : chosen;
}

std::vector<fs::path> Folders(const char* model_dir, const fs::path& chosen) {
  std::vector<fs::path> folders;
  if (model_dir != nullptr && *model_dir != '\0') folders.emplace_back(model_dir);
  if (!chosen.empty()) folders.push_back(chosen);
  Dl_info info;
  if (dladdr(reinterpret_cast<const void*>(&Plimra_Create), &info) != 0 &&
      info.dli_fname != nullptr) {
    const fs::path library = fs::path(info.dli_fname).parent_path();
    folders.push_back((library / ".." / "share" / "vantro").lexically_normal());
  }
  return folders;
}

std::optional<ModelGraph> ReadFile(const fs::path& path, std::string* problem) {
  std::error_code unknown;
  const uintmax_t size = fs::file_size(path, unknown);
  if (unknown || size > kMaxModelBytes) {
    *problem = "its size is not that of a model";
    return std::nullopt;
  }
  std::vector<uint8_t> bytes(static_cast<size_t>(size));
  std::ifstream file(path, std::ios::binary);
  if (!file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size))) {
    *problem = "it cannot be read";
    return std::nullopt;
  }
  return ReadModel(bytes, problem);
}

}  // namespace

std::optional<ModelGraph> LoadModel(const char* model_dir, std::string* error) {
  *error = std::string("no usable ") + kFileName;
  const char* separator = ": ";
  const fs::path chosen = ChosenFolder();
  bool chosen_has_none = false;
  for (const fs::path& folder : Folders(model_dir, chosen)) {
    const fs::path path = folder / kFileName;
    std::error_code unknown;
    error->append(separator).append("[").append(folder.string()).append("] ");
    separator = "; ";
    if (!fs::is_regular_file(path, unknown)) {
      *error += "has none";
      chosen_has_none |= folder == chosen;
      continue;
    }
    std::string problem;
    std::optional<ModelGraph> graph = ReadFile(path, &problem);
    if (!graph) {
      *error += "has a damaged one (" + problem + ")";
    } else if (chosen_has_none) {
      LogError("VANTRO_MODEL_DIR: [" + chosen.string() + "] has no " + kFileName +
               "; taking the one in [" + folder.string() + "]");
    }
    return graph;
  }
  return std::nullopt;
}

}  // namespace vantro::engine

#include "app/photo_plan.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <system_error>
#include <utility>

#include "app/common_options.h"
#include "app/contact_sheet.h"
#include "app/failure.h"
#include "app/photo/photo_file.h"

namespace vantro::app {
namespace {

namespace fs = std::filesystem;

bool NamesFolder(const std::string& path) {
  std::error_code error;
  return path.ends_with('/') || fs::is_directory(path, error);
}

std::string NameInFolder(const std::string& input) {
  fs::path name = fs::path(input).filename();
  if (!KindOfName(input)) name.replace_extension(".jpg");
  return name.string();
}

void CheckKind(const std::string& output) {
  if (KindOfName(output)) return;
  throw UsageError("OUTPUT " + output + ": \"" + fs::path(output).extension().string() +
                   "\" is not a kind of picture this program writes; use .jpg, .png or .webp, or "
                   "a folder");
}

// A folder that is to be made is not named like a picture: that is a slip.
void CheckFolder(const char* name, const std::string& path) {
  std::error_code error;
  if (NamesFolder(path) || (!fs::exists(path, error) && !KindOfName(path))) return;
  throw UsageError(std::string(name) + " " + path +
                   ": is no folder, and there are several pictures");
}

// A name that is the same however the path is written.
std::string Canonical(const std::string& path) {
  std::error_code error;
  const fs::path canonical = fs::weakly_canonical(path, error);
  return error ? path : canonical.string();
}

void CheckOutputs(const std::vector<PhotoTask>& tasks, const std::string& contact_sheet) {
  std::map<std::string, std::string> writers;  // by output
  const auto claim = [&](const std::string& output, const std::string& input) {
    const auto [earlier, is_new] = writers.emplace(Canonical(output), input);
    if (!is_new) {
      throw UsageError(earlier->second + " and " + input + ": would both be written to " + output +
                       "; rename one, or render them into different folders");
    }
  };
  for (const PhotoTask& task : tasks) {
    claim(task.output, task.input);
    if (!task.mask.empty()) claim(task.mask, "the mask of " + task.input);
  }
  if (!contact_sheet.empty()) claim(contact_sheet, "--contact-sheet");
  for (const PhotoTask& task : tasks) {
    const auto writer = writers.find(Canonical(task.input));
    if (writer != writers.end()) {
      throw UsageError(task.input +
                       ": is an input, and would be overwritten; choose another OUTPUT");
    }
  }
}

}  // namespace

PhotoPlan PlanPhotos(const PhotoPaths& paths) {
  const auto& [inputs, output, mask_out, contact_sheet] = paths;
  const bool several = inputs.size() > 1;
  const bool to_folder = several || NamesFolder(output);
  if (several) CheckFolder("OUTPUT", output);
  if (!to_folder) CheckKind(output);
  const bool with_masks = !mask_out.empty();
  const bool masks_to_folder = with_masks && (several || NamesFolder(mask_out));
  if (masks_to_folder) CheckFolder("--mask-out", mask_out);
  if (with_masks && !masks_to_folder && KindOfName(mask_out) != PhotoKind::kPng) {
    throw UsageError("--mask-out " + mask_out + ": must end in .png");
  }
  PhotoPlan plan;
  if (to_folder) plan.folders.push_back(output);
  if (masks_to_folder) plan.folders.push_back(mask_out);
  for (const std::string& input : inputs) {
    PhotoTask task{.input = input, .output = output, .mask = mask_out};
    const fs::path name = NameInFolder(input);
    if (to_folder) task.output = (fs::path(output) / name).string();
    if (masks_to_folder) {
      task.mask = (fs::path(mask_out) / name).replace_extension(".png").string();
    }
    plan.tasks.push_back(std::move(task));
  }
  CheckContactSheet(contact_sheet);
  CheckOutputs(plan.tasks, contact_sheet);
  return plan;
}

void ChooseForSheet(std::vector<PhotoTask>& tasks) {
  const size_t count = std::min(kSheetColumns, tasks.size());
  for (size_t i = 0; i < count; ++i) {
    tasks[count == 1 ? 0 : i * (tasks.size() - 1) / (count - 1)].on_sheet = true;
  }
}

void MakeFolders(const std::vector<std::string>& folders) {
  for (const std::string& folder : folders) {
    std::error_code error;
    if (fs::is_directory(folder, error)) continue;
    fs::create_directory(folder, error);
    if (error == std::errc::no_such_file_or_directory) {
      throw RunError(folder +
                     ": cannot be made: the folder around it does not exist; make it first");
    }
    if (error) throw RunError(folder + ": cannot be made: " + error.message());
  }
}

}  // namespace vantro::app

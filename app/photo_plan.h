// Which picture goes where.
#ifndef VANTRO_APP_PHOTO_PLAN_H_
#define VANTRO_APP_PHOTO_PLAN_H_

#include <string>
#include <vector>

#include "app/photo_batch.h"

namespace vantro::app {

// As the user names them; empty where not given.
struct PhotoPaths {
  std::vector<std::string> inputs;
  std::string output;    // a folder, or, for one input, a file
  std::string mask_out;  // the same for masks
  std::string contact_sheet;
};

struct PhotoPlan {
  std::vector<PhotoTask> tasks;
  std::vector<std::string> folders;  // for outputs; they may be missing
};

// Touches nothing. Throws UsageError when the names make no sense: an output of an unknown kind,
// two outputs of one name, an output that is an input.
PhotoPlan PlanPhotos(const PhotoPaths& paths);

// Marks the pictures that go onto a contact sheet: all, or as many as it holds, evenly spread.
void ChooseForSheet(std::vector<PhotoTask>& tasks);

// Makes those that are missing, but not their parents. Throws RunError.
void MakeFolders(const std::vector<std::string>& folders);

}  // namespace vantro::app

#endif  // VANTRO_APP_PHOTO_PLAN_H_

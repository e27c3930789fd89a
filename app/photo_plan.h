// Which picture goes where.
#ifndef VANTRO_APP_PHOTO_PLAN_H_
#define VANTRO_APP_PHOTO_PLAN_H_

#include <string>
#include <vector>

#include "app/photo_batch.h"

namespace vantro::app {

struct PhotoPlan {
  std::vector<PhotoTask> tasks;
  std::vector<std::string> folders;  // for outputs; they may be missing
};

// `output` is a folder, or, for one input, a file. `mask_out` is the same for masks, or empty.
// Nothing is touched. Throws UsageError when the names make no sense: an output of an unknown kind,
// two outputs of one name, an output that is an input.
PhotoPlan PlanPhotos(const std::vector<std::string>& inputs, const std::string& output,
                     const std::string& mask_out);

// Makes those that are missing, but not their parents. Throws RunError.
void MakeFolders(const std::vector<std::string>& folders);

}  // namespace vantro::app

#endif  // VANTRO_APP_PHOTO_PLAN_H_

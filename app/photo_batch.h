// Many still pictures, several at a time.
#ifndef VANTRO_APP_PHOTO_BATCH_H_
#define VANTRO_APP_PHOTO_BATCH_H_

#include <cstdint>
#include <string>
#include <vector>

#include "app/frame_format.h"
#include "app/picture.h"
#include "app/progress.h"

namespace vantro::app {

struct PhotoTask {
  std::string input;
  std::string output;
  std::string mask;       // empty: not asked for
  bool on_sheet = false;  // keep thumbnails for a contact sheet
};

struct PhotoSettings {
  FrameFormat format = kFrameFormats[0];
  bool compare = false;
  bool overwrite = false;
  int jobs = 1;
};

struct PhotoResult {
  enum class State { kNotDone, kDone, kFailed };
  State state = State::kNotDone;
  bool person = false;  // kDone: one was found
  std::string cause;    // kFailed: why, with the file's name
  Picture before;       // kDone and asked for: thumbnails for a contact sheet
  Picture after;
};

// Renders the pictures, each with the library's photo handle of one of `jobs` workers. A picture
// that fails does not stop the others; an interrupt lets those in work end. Throws RunError when
// the library or its engine cannot start.
std::vector<PhotoResult> RunPhotoBatch(const std::vector<PhotoTask>& tasks,
                                       const PhotoSettings& settings, Progress& progress);

}  // namespace vantro::app

#endif  // VANTRO_APP_PHOTO_BATCH_H_

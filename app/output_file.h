// A file that appears under its name only when it is complete.
#ifndef VANTRO_APP_OUTPUT_FILE_H_
#define VANTRO_APP_OUTPUT_FILE_H_

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>

#include "app/interrupt.h"

namespace vantro::app {

// Creates an empty file beside the final one and takes its name at Commit. Without a commit, and
// when a second signal ends the program, the file is removed again; what stood under the final name
// stays. A file that replaces another has its permissions.
class OutputFile {
 public:
  // Throws RunError when `path` exists and `overwrite` is false, when it is no regular file, or
  // when its folder cannot be written.
  OutputFile(const std::string& path, bool overwrite);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // The file to write to.
  const std::string& working_path() const { return working_; }
  void Commit();

 private:
  std::string shown_;            // the name as the user gave it
  std::filesystem::path final_;  // links followed, so that a link stays a link
  std::string working_;
  std::optional<mode_t> replaced_mode_;
  std::optional<AbortedFile> aborted_;
  bool overwrite_;
};

}  // namespace vantro::app

#endif  // VANTRO_APP_OUTPUT_FILE_H_

#include "app/output_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <system_error>

#include "app/failure.h"

namespace vantro::app {
namespace {

std::string ExistsMessage(const std::string& path) {
  return path + ": exists already; give --overwrite to replace it";
}

}  // namespace

OutputFile::OutputFile(const std::string& path, bool overwrite)
    : shown_(path), overwrite_(overwrite) {
  namespace fs = std::filesystem;
  std::error_code error;
  final_ = fs::weakly_canonical(path, error);
  if (error) throw RunError(path + ": " + error.message());
  const fs::file_status status = fs::status(final_, error);
  if (fs::exists(status)) {
    if (fs::is_directory(status)) throw RunError(path + ": is a folder; give the name of a file");
    if (!fs::is_regular_file(status)) throw RunError(path + ": is not a regular file");
    if (!overwrite) throw RunError(ExistsMessage(path));
  }
  const std::string working = final_.string() + "." + std::to_string(getpid()) + ".part";
  aborted_.emplace(working);
  const int file = open(working.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (file < 0) {
    const int cause = errno;
    throw RunError(
        path + ": cannot be written: " +
        (cause == ENOENT ? "its folder does not exist; make it first" : std::strerror(cause)));
  }
  close(file);
  working_ = working;
}

OutputFile::~OutputFile() {
  if (!working_.empty()) unlink(working_.c_str());
}

void OutputFile::Commit() {
  int result = -1;
  if (!overwrite_) {
    // Another program may have made the file meanwhile.
    result = renameat2(AT_FDCWD, working_.c_str(), AT_FDCWD, final_.c_str(), RENAME_NOREPLACE);
    if (result != 0 && errno == EEXIST) throw RunError(ExistsMessage(shown_));
  }
  // Some file systems don't know RENAME_NOREPLACE.
  if (result != 0) result = std::rename(working_.c_str(), final_.c_str());
  if (result != 0) throw RunError(shown_ + ": cannot be written: " + std::strerror(errno));
  working_.clear();
}

}  // namespace vantro::app

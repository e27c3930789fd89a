#include "app/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <system_error>

#include "app/failure.h"

namespace vantro::app {
namespace {

namespace fs = std::filesystem;

// The file that a path leads to, which need not exist yet.
fs::path FollowLinks(const std::string& path, std::error_code& error) {
  fs::path target = fs::weakly_canonical(path, error);
  // What is left is the way to a missing file, and may be a link itself.
  while (!error && fs::is_symlink(fs::symlink_status(target, error))) {
    const fs::path next = fs::read_symlink(target, error);
    if (!error) target = fs::weakly_canonical(target.parent_path() / next, error);
  }
  if (error == std::errc::no_such_file_or_directory) error.clear();
  return target;
}

// A short one: that of the file may be as long as names can be.
std::string WorkingName() {
  static std::atomic<int> count = 0;
  return "vantro-" + std::to_string(getpid()) + "-" + std::to_string(++count) + ".part";
}

std::string ExistsMessage(const std::string& path) {
  return path + ": exists already; give --overwrite to replace it";
}

}  // namespace

OutputFile::OutputFile(const std::string& path, bool overwrite)
    : shown_(path), overwrite_(overwrite) {
  std::error_code error;
  final_ = FollowLinks(path, error);
  if (error) throw RunError(path + ": " + error.message());
  const fs::file_status status = fs::status(final_, error);
  if (fs::exists(status)) {
    if (fs::is_directory(status)) throw RunError(path + ": is a folder; give the name of a file");
    if (!fs::is_regular_file(status)) throw RunError(path + ": is not a regular file");
    if (!overwrite) throw RunError(ExistsMessage(path));
    replaced_mode_ = static_cast<mode_t>(status.permissions() & fs::perms::all);
  }
  const std::string working = (final_.parent_path() / WorkingName()).string();
  aborted_.emplace(working);
  // Nobody else may read it who could not read the file that it replaces.
  const mode_t mode = replaced_mode_ ? *replaced_mode_ | S_IRUSR | S_IWUSR : 0666;
  const int file = open(working.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
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
  // Some file systems have no modes.
  if (replaced_mode_) chmod(working_.c_str(), *replaced_mode_);
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

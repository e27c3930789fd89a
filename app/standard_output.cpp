#include "app/standard_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace vantro::app {

StandardOutput::StandardOutput() {
  std::fflush(stdout);
  saved_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nowhere < 0) return;
  dup2(nowhere, STDOUT_FILENO);
  if (nowhere != STDOUT_FILENO) close(nowhere);
}

StandardOutput::~StandardOutput() {
  std::fflush(stdout);
  if (saved_ < 0) return;
  dup2(saved_, STDOUT_FILENO);
  close(saved_);
}

}  // namespace vantro::app

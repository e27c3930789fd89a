#include "app/interrupt.h"

#include <signal.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <csignal>
#include <cstring>

namespace vantro::app {
namespace {

constexpr std::array kWatched = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t received = 0;
std::array<struct sigaction, kWatched.size()> earlier;
char abort_path[PATH_MAX];

void Take(int signal_number) {
  if (received != 0) {
    if (abort_path[0] != '\0') unlink(abort_path);
    _exit(128 + signal_number);
  }
  received = signal_number;
}

}  // namespace

InterruptWatch::InterruptWatch() {
  received = 0;
  struct sigaction action {};
  // No SA_RESTART: a read that waits for a pipe must return so that the program can stop.
  action.sa_handler = &Take;
  for (size_t i = 0; i < kWatched.size(); ++i) sigaction(kWatched[i], &action, &earlier[i]);
}

InterruptWatch::~InterruptWatch() {
  for (size_t i = 0; i < kWatched.size(); ++i) sigaction(kWatched[i], &earlier[i], nullptr);
  RemoveOnAbort({});
}

int InterruptWatch::Signal() { return received; }

void InterruptWatch::RemoveOnAbort(const std::string& path) {
  abort_path[0] = '\0';
  if (path.size() < sizeof(abort_path)) std::memcpy(abort_path, path.c_str(), path.size() + 1);
}

}  // namespace vantro::app

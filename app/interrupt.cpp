#include "app/interrupt.h"

#include <signal.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <climits>
#include <csignal>
#include <cstring>

namespace vantro::app {
namespace {

constexpr std::array kWatched = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t received = 0;
std::array<struct sigaction, kWatched.size()> earlier;

// Fixed, since a signal handler may not allocate; a picture and its mask for each of the workers.
struct Slot {
  enum State { kFree, kFilling, kAlive };
  std::atomic<int> state;
  char path[PATH_MAX];
};
std::array<Slot, 160> slots;
static_assert(std::atomic<int>::is_always_lock_free);

std::atomic<bool> ending = false;

void RemoveWorkingFiles() {
  for (const Slot& slot : slots) {
    if (slot.state == Slot::kAlive) unlink(slot.path);
  }
}

void Take(int signal_number) {
  if (received != 0) {
    ending = true;
    RemoveWorkingFiles();
    // Another thread may have been about to create the file that it announced.
    constexpr timespec kMeanwhile = {0, 20'000'000};
    nanosleep(&kMeanwhile, nullptr);
    RemoveWorkingFiles();
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
  for (size_t i = 0; i < kWatched.size(); ++i) {
    sigaction(kWatched[i], nullptr, &earlier[i]);
    if (earlier[i].sa_handler != SIG_IGN) sigaction(kWatched[i], &action, nullptr);
  }
}

InterruptWatch::~InterruptWatch() {
  for (size_t i = 0; i < kWatched.size(); ++i) sigaction(kWatched[i], &earlier[i], nullptr);
}

int InterruptWatch::Signal() { return received; }

AbortedFile::AbortedFile(const std::string& path) : slot_(-1) {
  if (path.size() >= sizeof(Slot::path)) return;
  for (size_t i = 0; i < slots.size(); ++i) {
    int free = Slot::kFree;
    if (!slots[i].state.compare_exchange_strong(free, Slot::kFilling)) continue;
    std::memcpy(slots[i].path, path.c_str(), path.size() + 1);
    slots[i].state = Slot::kAlive;
    slot_ = static_cast<int>(i);
    while (ending) pause();  // create nothing any more
    return;
  }
}

AbortedFile::~AbortedFile() {
  if (slot_ >= 0) slots[static_cast<size_t>(slot_)].state = Slot::kFree;
}

}  // namespace vantro::app

// Ctrl-C and its relatives: the first one asks the program to stop after the frame in work, a
// second one ends it at once.
#ifndef VANTRO_APP_INTERRUPT_H_
#define VANTRO_APP_INTERRUPT_H_

#include <string>

namespace vantro::app {

// Thrown where an interrupt ends the work before there is anything to keep.
struct Interrupted {
  int signal;
};

// Watches SIGINT, SIGTERM and SIGHUP for its lifetime; one at a time.
class InterruptWatch {
 public:
  InterruptWatch();
  ~InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

  // The signal that arrived, or 0.
  static int Signal();
  // The file that a second signal removes before it ends the program; empty for none.
  static void RemoveOnAbort(const std::string& path);
};

}  // namespace vantro::app

#endif  // VANTRO_APP_INTERRUPT_H_

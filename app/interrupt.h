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

// Watches SIGINT, SIGTERM and SIGHUP for its lifetime; one at a time. A signal that the program was
// started to ignore (by nohup, or in the background of a script) stays ignored.
class InterruptWatch {
 public:
  InterruptWatch();
  ~InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

  // The signal that arrived, or 0.
  static int Signal();
};

// A file that a second signal removes before it ends the program. When more of them are alive than
// a run of this program needs, the rest stay behind.
class AbortedFile {
 public:
  explicit AbortedFile(const std::string& path);
  ~AbortedFile();
  AbortedFile(const AbortedFile&) = delete;
  AbortedFile& operator=(const AbortedFile&) = delete;

 private:
  int slot_;  // -1 for none
};

}  // namespace vantro::app

#endif  // VANTRO_APP_INTERRUPT_H_

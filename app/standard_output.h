// Keeps standard output for the program's own data.
#ifndef VANTRO_APP_STANDARD_OUTPUT_H_
#define VANTRO_APP_STANDARD_OUTPUT_H_

namespace vantro::app {

// The library writes its timing lines to standard output as well as to the log. While this object
// lives, the process's standard output leads to /dev/null, and the real one stays open under
// another descriptor.
class StandardOutput {
 public:
  StandardOutput();
  ~StandardOutput();
  StandardOutput(const StandardOutput&) = delete;
  StandardOutput& operator=(const StandardOutput&) = delete;

  // Descriptor of the real standard output; -1 when it was closed.
  int descriptor() const { return saved_; }

 private:
  int saved_;
};

}  // namespace vantro::app

#endif  // VANTRO_APP_STANDARD_OUTPUT_H_

// What the user sees while frames or pictures are rendered, on standard error.
#ifndef VANTRO_APP_PROGRESS_H_
#define VANTRO_APP_PROGRESS_H_

#include <chrono>
#include <cstdint>
#include <string>

namespace vantro::app {

using Clock = std::chrono::steady_clock;

inline double Seconds(Clock::duration span) { return std::chrono::duration<double>(span).count(); }

// "1:02:03", "2:03"
std::string ClockText(double seconds);

// A bar that is redrawn on a terminal, a line every few seconds elsewhere.
class Progress {
 public:
  // With `plain` there is no bar on a terminal either. `unit` names what is counted.
  explicit Progress(bool plain, std::string unit = "frames");
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // After each of them; `share` of the work is done (0 to 1, negative when unknown).
  void Update(int64_t count, double share);
  // Writes a remark on a line of its own.
  void Note(const std::string& text);
  // Takes the bar away.
  void Close();

 private:
  void Erase();

  std::string unit_;
  bool bar_;
  bool bar_shown_ = false;
  Clock::time_point start_ = Clock::now();
  Clock::time_point next_;
};

}  // namespace vantro::app

#endif  // VANTRO_APP_PROGRESS_H_

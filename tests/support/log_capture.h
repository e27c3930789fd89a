// Takes the library's log lines and properties in the test program: it defines the two platform
// entry points, so this also checks that a host can replace them.
#ifndef VANTRO_TESTS_SUPPORT_LOG_CAPTURE_H_
#define VANTRO_TESTS_SUPPORT_LOG_CAPTURE_H_

#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace vantro::test {

struct LogLine {
  int level;
  std::string tag;
  std::string text;
  bool operator==(const LogLine&) const = default;
};

std::ostream& operator<<(std::ostream& out, const LogLine& line);

// Collects every line from its construction to its destruction; one at a time.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  // The lines so far, in order, without the timing lines.
  std::vector<LogLine> lines() const;
  // The labels of the timing lines so far, in order, trailing blanks cut.
  std::vector<std::string> timing_labels() const;
  bool contains(const std::string& text) const;
  void clear();
  // Keeps no further line: for long runs.
  void Stop();
};

// Values that __system_property_get answers; cleared by the caller.
std::map<std::string, std::string>& Properties();

}  // namespace vantro::test

#endif  // VANTRO_TESTS_SUPPORT_LOG_CAPTURE_H_

#include "tests/support/log_capture.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "platform/platform.h"

namespace vantro::test {
namespace {

std::mutex mutex;
bool capturing = false;
std::vector<LogLine> captured;

constexpr char kTimingStart[] = "[QZA_MVANTRO]===[ ";

bool IsTimingLine(const LogLine& line) { return line.text.rfind(kTimingStart, 0) == 0; }

}  // namespace

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
  return out << line.level << ' ' << line.tag << ": " << line.text;
}

LogCapture::LogCapture() {
  const std::lock_guard lock(mutex);
  captured.clear();
  capturing = true;
}

LogCapture::~LogCapture() { Stop(); }

void LogCapture::Stop() {
  const std::lock_guard lock(mutex);
  capturing = false;
}

std::vector<LogLine> LogCapture::lines() const {
  const std::lock_guard lock(mutex);
  std::vector<LogLine> lines;
  std::remove_copy_if(captured.begin(), captured.end(), std::back_inserter(lines), IsTimingLine);
  return lines;
}

std::vector<std::string> LogCapture::timing_labels() const {
  const std::lock_guard lock(mutex);
  std::vector<std::string> labels;
  for (const LogLine& line : captured) {
    // The copy at DEBUG stands for all three.
    if (!IsTimingLine(line) || line.level != ANDROID_LOG_DEBUG) continue;
    std::string label = line.text.substr(std::strlen(kTimingStart), 40);
    label.erase(label.find_last_not_of(' ') + 1);
    labels.push_back(label);
  }
  return labels;
}

bool LogCapture::contains(const std::string& text) const {
  const std::vector<LogLine> all = lines();
  return std::any_of(all.begin(), all.end(),
                     [&](const LogLine& line) { return line.text == text; });
}

void LogCapture::clear() {
  const std::lock_guard lock(mutex);
  captured.clear();
}

std::map<std::string, std::string>& Properties() {
  static std::map<std::string, std::string> properties;
  return properties;
}

}  // namespace vantro::test

extern "C" __attribute__((visibility("default"))) int __android_log_print(int prio, const char* tag,
                                                                          const char* fmt, ...) {
  char text[4096];
  std::va_list args;
  va_start(args, fmt);
  const int length = std::vsnprintf(text, sizeof(text), fmt, args);
  va_end(args);
  const std::lock_guard lock(vantro::test::mutex);
  if (vantro::test::capturing) vantro::test::captured.push_back({prio, tag, text});
  return length;
}

extern "C" __attribute__((visibility("default"))) int __system_property_get(const char* name,
                                                                            char* value) {
  const auto& properties = vantro::test::Properties();
  const auto found = properties.find(name);
  value[0] = '\0';
  if (found == properties.end()) return 0;
  return std::snprintf(value, PROP_VALUE_MAX, "%s", found->second.c_str());
}

#include "app/library_log.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string_view>
#include <utility>

#include "vantro/export.h"

extern "C" {
VANTRO_API int __android_log_print(int level, const char* tag, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
VANTRO_API int __system_property_get(const char* name, char* value);
}

namespace vantro::app {
namespace {

constexpr int kLevelError = 6;
constexpr size_t kMostErrors = 8;

// The library's function that the program's own one of the same name stands in front of.
template <typename Function>
Function* Replaced(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

class LibraryLog {
 public:
  static LibraryLog& Get() {
    static LibraryLog log;
    return log;
  }

  int Take(int level, const char* tag, const char* text) {
    const std::lock_guard lock(mutex_);  // the segmentation thread logs too
    if (std::strncmp(text, kTiming.data(), kTiming.size()) == 0) {
      // Each timing line comes twice, at DEBUG and, under the photo's tag, at ERROR.
      if (level >= kLevelError) return 0;
      TallyTiming(text + kTiming.size());
    } else {
      TallyMessage(text);
      if (level >= kLevelError) KeepError(text);
    }
    return show_ ? Forward(level, tag, text) : 0;
  }

  void Show() {
    const std::lock_guard lock(mutex_);
    show_ = true;
  }
  LibraryTally tally() {
    const std::lock_guard lock(mutex_);
    return tally_;
  }
  std::vector<std::string> TakeErrors() {
    const std::lock_guard lock(mutex_);
    return std::exchange(errors_, {});
  }

 private:
  static constexpr std::string_view kTiming = "[QZA_MVANTRO]===[ ";

  void TallyTiming(std::string_view line) {
    const std::string_view label = line.substr(0, line.find(' '));
    if (label == "FLAG_23_TIME") ++tally_.subject_frames;
    const size_t cost = line.find("cost:");
    if (label == "CLEAN" && cost != line.npos) tally_.wait_ms += std::atof(&line[cost + 5]);
  }

  void TallyMessage(std::string_view line) {
    if (line.starts_with("flash flag:")) {
      if (line.find(" flag:3,") != line.npos) ++tally_.coloured_frames;
    } else if (line.starts_with("Plimra_process is error")) {
      ++tally_.failed_segmentations;
    }
  }

  void KeepError(std::string_view line) {
    std::string text(line.substr(0, line.find('\n')));
    if (errors_.size() < kMostErrors && std::ranges::find(errors_, text) == errors_.end()) {
      errors_.push_back(std::move(text));
    }
  }

  static int Forward(int level, const char* tag, const char* text) {
    static auto* const print = Replaced<decltype(__android_log_print)>("__android_log_print");
    return print == nullptr ? 0 : print(level, tag, "%s", text);
  }

  std::mutex mutex_;
  LibraryTally tally_;
  std::vector<std::string> errors_;
  bool show_ = false;
};

}  // namespace

LibraryTally ReadLibraryTally() { return LibraryLog::Get().tally(); }
void ShowLibraryLog() { LibraryLog::Get().Show(); }
std::vector<std::string> TakeLibraryErrors() { return LibraryLog::Get().TakeErrors(); }

}  // namespace vantro::app

extern "C" int __android_log_print(int level, const char* tag, const char* format, ...) {
  char text[1024];
  std::va_list args;
  va_start(args, format);
  std::vsnprintf(text, sizeof(text), format, args);
  va_end(args);
  return vantro::app::LibraryLog::Get().Take(level, tag, text);
}

extern "C" int __system_property_get(const char* name, char* value) {
  if (std::strcmp(name, "vendor.qzVantro.printlog") == 0) {
    std::strcpy(value, "1");
    return 1;
  }
  static auto* const get =
      vantro::app::Replaced<decltype(__system_property_get)>("__system_property_get");
  if (get != nullptr) return get(name, value);
  value[0] = '\0';
  return 0;
}

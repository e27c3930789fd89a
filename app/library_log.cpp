#include "app/library_log.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string_view>
#include <thread>
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
constexpr ptrdiff_t kMostErrors = 8;  // a thread

// Logged as errors, but none: the photo handle's progress, the motion check's word, on every frame,
// that it uses its smaller pyramid level unblurred, and that the system refuses the segmentation
// thread a priority or processors of its own, which changes no picture.
constexpr std::string_view kNoErrors[] = {
    "VantroPhoto_Init VERSION", "VantroPhoto_Deinit VERSION",
    "Vantro_Init load ",        "init success",
    "vantro_photo_dinit",       "flag is [",
    "cxt->maskupheight is",     "[VANTRO] ATTENTION: k_length is wrong!k_length[1]",
    "Set Priority for Thread",  "Fail to Set CPU Affinity"};

thread_local int last_photo_flag = 0;

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
  bool shown() {
    const std::lock_guard lock(mutex_);
    return show_;
  }
  void ForgetTally() {
    const std::lock_guard lock(mutex_);
    tally_ = {};
  }
  LibraryCall TakeCall() {
    const std::lock_guard lock(mutex_);
    return std::exchange(call_, {});
  }
  // Of one thread, or of all.
  std::vector<std::string> TakeErrors(std::thread::id thread = {}) {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> texts;
    std::erase_if(errors_, [&](const ErrorLine& error) {
      if (thread != std::thread::id() && error.thread != thread) return false;
      if (std::ranges::find(texts, error.text) == texts.end()) texts.push_back(error.text);
      return true;
    });
    return texts;
  }

 private:
  struct ErrorLine {
    std::thread::id thread;
    std::string text;
    bool operator==(const ErrorLine&) const = default;
  };

  static constexpr std::string_view kTiming = "[QZA_MVANTRO]===[ ";

  void TallyTiming(std::string_view line) {
    const std::string_view label = line.substr(0, line.find(' '));
    const size_t cost = line.find("cost:");
    const double ms = cost == line.npos ? 0 : std::atof(&line[cost + 5]);
    if (label == "FLAG_23_TIME") {
      ++tally_.subject_frames;
      call_.subject = true;
    } else if (label == "CLEAN") {
      tally_.wait_ms += ms;
      call_.wait = ms;
    } else if (label == "GetROI_") {
      call_.roi = ms;
    } else if (label == "connectionFilter_") {
      call_.filter = ms;
    } else if (label == "OpticalFlow_") {
      call_.flow = ms;
    } else if (label == "VantroObject_" || label == "Grayeffect_") {
      call_.render = ms;
    } else if (label == "Vantro_Process_") {
      call_.total = ms;
    }
  }

  static int NumberAfter(std::string_view line, std::string_view mark) {
    const size_t at = line.find(mark);
    return at == line.npos ? 0 : std::atoi(&line[at + mark.size()]);
  }

  void TallyMessage(std::string_view line) {
    if (line.starts_with("flash flag:")) {
      call_.flag = NumberAfter(line, ") flag:");
      call_.frame_index = NumberAfter(line, "frameIdx:");
      if (call_.flag == 3) ++tally_.coloured_frames;
    } else if (line.starts_with("Plimra_process is error")) {
      ++new_failures_;
    } else if (line.starts_with("MThread_Boot_begin")) {
      tally_.failed_segmentations += std::exchange(new_failures_, 0);
    } else if (line.starts_with("flag is [")) {
      last_photo_flag = std::atoi(&line[line.find('[') + 1]);
    }
  }

  void KeepError(std::string_view line) {
    const auto starts_line = [line](std::string_view start) { return line.starts_with(start); };
    if (std::ranges::any_of(kNoErrors, starts_line)) return;
    const std::thread::id self = std::this_thread::get_id();
    if (std::ranges::count(errors_, self, &ErrorLine::thread) >= kMostErrors) return;
    ErrorLine error{self, std::string(line.substr(0, line.find('\n')))};
    if (std::ranges::find(errors_, error) == errors_.end()) errors_.push_back(std::move(error));
  }

  static int Forward(int level, const char* tag, const char* text) {
    static auto* const print = Replaced<decltype(__android_log_print)>("__android_log_print");
    return print == nullptr ? 0 : print(level, tag, "%s", text);
  }

  std::mutex mutex_;
  LibraryTally tally_;
  LibraryCall call_;
  int64_t new_failures_ = 0;  // since a segmentation was started last
  std::vector<ErrorLine> errors_;
  bool show_ = false;
};

}  // namespace

LibraryTally ReadLibraryTally() { return LibraryLog::Get().tally(); }
void ForgetLibraryTally() { LibraryLog::Get().ForgetTally(); }
LibraryCall TakeLibraryCall() { return LibraryLog::Get().TakeCall(); }
void ShowLibraryLog() { LibraryLog::Get().Show(); }
std::vector<std::string> TakeLibraryErrors() { return LibraryLog::Get().TakeErrors(); }

RunError LibraryError(const std::string& what, int32_t code) {
  std::string message = what + " (code " + std::to_string(code) + ")";
  const char* separator = ": ";
  for (const std::string& line : LibraryLog::Get().TakeErrors(std::this_thread::get_id())) {
    message += separator + line;
    separator = "; ";
  }
  return RunError(message);
}

RunError CannotStart(int32_t code) {
  return RunError(
      LibraryError("the effect cannot start", code).what() +
      std::string("; it needs a segmentation engine (libPlimra.so beside libvantro.so, or "
                  "--engine FILE), and the included one its network (in "
                  "../share/vantro from there, or in VANTRO_MODEL_DIR)"));
}

int LastPhotoFlag() { return last_photo_flag; }

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
  // The photo handle logs what is needed whatever its switch.
  if (std::strcmp(name, "vendor.qzVantro.printlog") == 0 ||
      (std::strcmp(name, "vendor.qzVantroPhoto.printlog") == 0 &&
       vantro::app::LibraryLog::Get().shown())) {
    std::memcpy(value, "1", sizeof("1"));
    return 1;
  }
  static auto* const get =
      vantro::app::Replaced<decltype(__system_property_get)>("__system_property_get");
  if (get != nullptr) return get(name, value);
  value[0] = '\0';
  return 0;
}

#include "app/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vantro::app {
namespace {

constexpr auto kBarPeriod = std::chrono::milliseconds(100);
constexpr auto kLinePeriod = std::chrono::seconds(5);
constexpr int kBarWidth = 30;

}  // namespace

std::string ClockText(double seconds) {
  const long long whole = std::llround(std::max(seconds, 0.0));
  char text[48];
  if (whole >= 3600) {
    std::snprintf(text, sizeof(text), "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60,
                  whole % 60);
  } else {
    std::snprintf(text, sizeof(text), "%lld:%02lld", whole / 60, whole % 60);
  }
  return text;
}

Progress::Progress(bool plain)
    : bar_(!plain && isatty(STDERR_FILENO) != 0),
      next_(start_ + (bar_ ? Clock::duration(kBarPeriod) : kLinePeriod)) {}

Progress::~Progress() { Close(); }

void Progress::Update(int64_t frames, double share) {
  const Clock::time_point now = Clock::now();
  if (now < next_) return;
  next_ = now + (bar_ ? Clock::duration(kBarPeriod) : kLinePeriod);
  const double elapsed = Seconds(now - start_);

  char text[160];
  int length = std::snprintf(text, sizeof(text), "%lld frames, %.1f frames/s",
                             static_cast<long long>(frames), static_cast<double>(frames) / elapsed);
  std::string line(text, static_cast<size_t>(length));
  if (share > 0) {
    line += ", " + ClockText(elapsed * (1 - share) / share) + " left";
    length = std::snprintf(text, sizeof(text), "%3d%%", static_cast<int>(100 * share));
    const std::string percent(text, static_cast<size_t>(length));
    const auto filled = static_cast<size_t>(share * kBarWidth);
    line = bar_ ? "[" + std::string(filled, '=') + std::string(kBarWidth - filled, ' ') + "] " +
                      percent + "  " + line
                : percent + ", " + line;
  }
  if (bar_) {
    Erase();
    std::fprintf(stderr, "%s", line.c_str());
    bar_shown_ = true;
  } else {
    std::fprintf(stderr, "vantro: %s\n", line.c_str());
  }
  std::fflush(stderr);
}

void Progress::Note(const std::string& text) {
  Erase();
  std::fprintf(stderr, "vantro: %s\n", text.c_str());
}

void Progress::Close() { Erase(); }

void Progress::Erase() {
  if (bar_shown_) std::fprintf(stderr, "\r\033[K");
  bar_shown_ = false;
}

}  // namespace vantro::app

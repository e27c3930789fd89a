#include "app/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "app/printable.h"

namespace vantro::app {
namespace {

constexpr auto kBarPeriod = std::chrono::milliseconds(100);
constexpr auto kLinePeriod = std::chrono::seconds(5);
constexpr int kBarWidth = 30;

[[gnu::format(printf, 1, 0)]] std::string Format(const char* format, double value) {
  char text[64];
  std::snprintf(text, sizeof(text), format, value);
  return text;
}

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

Progress::Progress(bool plain, std::string unit)
    : unit_(std::move(unit)),
      bar_(!plain && isatty(STDERR_FILENO) != 0),
      next_(start_ + (bar_ ? Clock::duration(kBarPeriod) : kLinePeriod)) {}

Progress::~Progress() { Close(); }

void Progress::Update(int64_t count, double share) {
  const Clock::time_point now = Clock::now();
  if (now < next_) return;
  next_ = now + (bar_ ? Clock::duration(kBarPeriod) : kLinePeriod);
  const double elapsed = Seconds(now - start_);

  std::string line;
  if (share > 0) {
    if (bar_) {
      line.append(1, '[');
      line.append(static_cast<size_t>(share * kBarWidth), '=');
      line.resize(1 + kBarWidth, ' ');
      line.append("] ");
    }
    line.append(Format("%3.0f%%, ", 100 * share));
  }
  line.append(Format("%.0f ", static_cast<double>(count))).append(unit_);
  line.append(Format(", %.1f ", static_cast<double>(count) / elapsed)).append(unit_).append("/s");
  if (share > 0) line.append(", ").append(ClockText(elapsed * (1 - share) / share)).append(" left");
  if (bar_) {
    Erase();
    std::fprintf(stderr, "%s", line.c_str());
    bar_shown_ = true;
  } else {
    PrintMessage(line);
  }
  std::fflush(stderr);
}

void Progress::Note(const std::string& text) {
  Erase();
  PrintMessage(text);
}

void Progress::Close() { Erase(); }

void Progress::Erase() {
  if (bar_shown_) std::fprintf(stderr, "\r\033[K");
  bar_shown_ = false;
}

}  // namespace vantro::app

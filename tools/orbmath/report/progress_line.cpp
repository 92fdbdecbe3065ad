// The line on a terminal, and none where there is no terminal.

#include "report/progress_line.h"

#include <unistd.h>

#include <cstdio>

#include "report/fixed_digits.h"

namespace orbmath_tool {

namespace {

constexpr std::chrono::milliseconds kFirst{1000};
constexpr std::chrono::milliseconds kEvery{200};

}  // namespace

ProgressLine::ProgressLine()
    : enabled_(isatty(STDERR_FILENO) == 1 && isatty(STDOUT_FILENO) == 0), next_(Clock::now() + kFirst) {}

ProgressLine::~ProgressLine() {
  if (shown_) std::fputs("\r\033[K", stderr);
}

bool ProgressLine::IsDue() const { return enabled_ && Clock::now() >= next_; }

void ProgressLine::Show(const std::string& text) {
  next_ = Clock::now() + kEvery;
  shown_ = true;
  std::fprintf(stderr, "\r\033[K%s", text.c_str());
  std::fflush(stderr);
}

bool WorkProgress::Progress(double fraction) {
  if (line_.IsDue()) line_.Show(what_ + " " + Fixed(100.0 * fraction, 0) + " %");
  return true;
}

}  // namespace orbmath_tool

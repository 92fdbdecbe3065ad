// The line on a terminal, and none where there is no terminal.

#include "report/progress_line.h"

#include <cstdio>

#include "errors.h"
#include "report/fixed_digits.h"
#include "report/interruption.h"
#include "system/system.h"

namespace orbmath_tool {

namespace {

constexpr std::chrono::milliseconds kFirst{2000};
constexpr std::chrono::milliseconds kEvery{200};

}  // namespace

ProgressLine::ProgressLine(bool results_come)
    : enabled_(!IsQuiet() && IsTerminal(kStandardError) && !(results_come && IsTerminal(kStandardOutput))),
      start_(Clock::now()),
      next_(start_ + kFirst) {}

ProgressLine::~ProgressLine() {
  if (shown_) std::fputs("\r\033[K", stderr);
}

bool ProgressLine::IsDue() const { return enabled_ && Clock::now() >= next_; }

void ProgressLine::Show(const std::string& text, double fraction) {
  const Clock::time_point now = Clock::now();
  next_ = now + kEvery;
  shown_ = true;
  const std::string left = ProgressText(fraction, std::chrono::duration<double>(now - start_).count());
  std::fprintf(stderr, "\r\033[K%s%s%s", text.c_str(), left.empty() ? "" : ", ", left.c_str());
  std::fflush(stderr);
}

std::string ProgressText(double fraction, double seconds) {
  if (!(fraction > 0.0)) return "";
  std::string text = Fixed(100.0 * fraction, 0) + " %";
  // The first hundredth says little about the rest.
  constexpr double kEnough = 0.01;
  if (fraction < kEnough || fraction >= 1.0) return text;
  const double left = seconds * (1.0 - fraction) / fraction;
  constexpr double kMinute = 60.0;
  return text + ", " + (left < 2.0 * kMinute ? Fixed(left, 0) + " s left" : Fixed(left / kMinute, 0) + " min left");
}

bool WorkProgress::Progress(double fraction) {
  if (line_.IsDue()) line_.Show(what_, fraction);
  return !Interruption::IsAsked();
}

}  // namespace orbmath_tool

// Time left, from the time so far.

#include "report/time_left.h"

#include "report/fixed_digits.h"
#include "report/interruption.h"

namespace orbmath_tool {

bool TimeLeft::Progress(double fraction) {
  if (line_.IsDue() && fraction > 0.0) {
    const double seconds = std::chrono::duration<double>(Clock::now() - begin_).count();
    line_.Show(what_ + " " + Fixed(100.0 * fraction, 0) + " %, " + Fixed(seconds * (1.0 - fraction) / fraction, 0) +
               " s left");
  }
  return !Interruption::IsAsked();
}

}  // namespace orbmath_tool

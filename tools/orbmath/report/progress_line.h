#pragma once
/// \file
/// One line on a terminal that says how far the work is.

#include <chrono>
#include <string>
#include <utility>

#include "frame/zxstd/progress.h"

namespace orbmath_tool {

/// Shows progress on standard error when that is a terminal and standard output is not; otherwise does nothing.
/// The line appears after a second, so that quick work stays silent, and is wiped in the end.
class ProgressLine {
 public:
  ProgressLine();
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// True when it is time to show something.
  bool IsDue() const;
  void Show(const std::string& text);

 private:
  using Clock = std::chrono::steady_clock;

  bool enabled_;
  bool shown_ = false;
  Clock::time_point next_;
};

/// The progress of long work of the library.
class WorkProgress : public SatCommonUtils::TZxProgressHandler {
 public:
  /// \param what the work, e.g. "fitting".
  explicit WorkProgress(std::string what) : what_(std::move(what)) {}
  bool Progress(double fraction) override;

 private:
  std::string what_;
  ProgressLine line_;
};

}  // namespace orbmath_tool

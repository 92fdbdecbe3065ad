#pragma once
/// \file
/// One line on a terminal that says how far the work is.

#include <chrono>
#include <string>
#include <utility>

#include "frame/zxstd/progress.h"

namespace orbmath_tool {

/// Shows progress on standard error when that is a terminal, unless the tool was asked to be quiet. The line appears
/// after two seconds, so that quick work stays silent, and is wiped in the end.
class ProgressLine {
 public:
  /// \param results_come whether results go to standard output meanwhile; on a terminal they then show how far the work
  /// is.
  explicit ProgressLine(bool results_come);
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// True when it is time to show something.
  bool IsDue() const;
  /// \param fraction share of the work that is done, from which the time left follows; 0: unknown.
  void Show(const std::string& text, double fraction);

 private:
  using Clock = std::chrono::steady_clock;

  bool enabled_;
  bool shown_ = false;
  Clock::time_point start_;
  Clock::time_point next_;
};

/// "42 %, 75 s left" of work that has taken `seconds` so far; nothing where the share is not known.
std::string ProgressText(double fraction, double seconds);

/// The progress of long work of the library, which an `Interruption` stops.
class WorkProgress : public SatCommonUtils::TZxProgressHandler {
 public:
  /// \param what the work, e.g. "fitting".
  explicit WorkProgress(std::string what) : what_(std::move(what)), line_(false) {}
  bool Progress(double fraction) override;

 private:
  std::string what_;
  ProgressLine line_;
};

}  // namespace orbmath_tool

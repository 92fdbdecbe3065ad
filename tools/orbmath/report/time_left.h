#pragma once
/// \file
/// The progress of work that takes minutes: share done and time left; Ctrl-C stops it.

#include <chrono>
#include <string>
#include <utility>

#include "frame/zxstd/progress.h"
#include "report/progress_line.h"

namespace orbmath_tool {

/// One call at a time, from any thread.
class TimeLeft : public SatCommonUtils::TZxProgressHandler {
 public:
  /// \param what the work, e.g. "ortho".
  explicit TimeLeft(std::string what) : what_(std::move(what)), begin_(Clock::now()) {}
  bool Progress(double fraction) override;

 private:
  using Clock = std::chrono::steady_clock;

  std::string what_;
  Clock::time_point begin_;
  ProgressLine line_;
};

}  // namespace orbmath_tool

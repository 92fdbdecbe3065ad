#pragma once
// Progress of an adjustment, told by the thread that was called.

#include <algorithm>

#include "frame/zxstd/progress.h"

namespace SatCommonUtils::block {

/// Tells the handler, if there is one, and remembers its wish to stop.
class TProgress {
 public:
  explicit TProgress(TZxProgressHandler* handler) : handler_(handler) {}

  /// \param share of the work that is done; it never goes back. \return false to stop.
  bool Tell(double share) {
    done_ = std::max(done_, std::min(share, 1.0));
    if (handler_ != nullptr && !stopped_) stopped_ = !handler_->Progress(done_);
    return !stopped_;
  }
  /// A little more of what is left.
  bool Advance() { return Tell(done_ + 0.05 * (1.0 - done_)); }
  bool IsStopped() const { return stopped_; }

 private:
  TZxProgressHandler* handler_;
  double done_ = 0.0;
  bool stopped_ = false;
};

}  // namespace SatCommonUtils::block

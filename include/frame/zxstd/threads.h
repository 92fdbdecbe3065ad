#pragma once
/// \file
/// How many threads parallel loops may use.

#include "../api.h"

namespace SatCommonUtils {

/// Number of worker threads of a parallel loop that the calling thread starts, at least 1: that of its innermost
/// `TZxThreadsScope`, or else the process's, which is the machine's processor count unless it was set. Thread-safe.
ORBMATH_API int ZxGetThreadsCount();
/// Sets that number for the whole process; a value below 1 returns to the machine's. Thread-safe.
ORBMATH_API void ZxSetThreadsCount(int count);

/// The number of threads for the calls that the thread which makes it makes during its life; other threads and the
/// process's number are not touched. Scopes nest, and end in the reverse order of their making, on the same thread:
///
///     {
///       const TZxThreadsScope two(2);
///       model.CalculateLineSampleArray(...);  // on up to two threads
///     }
class ORBMATH_API TZxThreadsScope {
 public:
  /// \param count threads; below 1: the process's number, also within a scope that asks for another.
  explicit TZxThreadsScope(int count) noexcept;
  TZxThreadsScope(const TZxThreadsScope&) = delete;
  TZxThreadsScope& operator=(const TZxThreadsScope&) = delete;
  ~TZxThreadsScope();

 private:
  int previous_;
};

}  // namespace SatCommonUtils

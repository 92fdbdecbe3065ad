#pragma once
/// \file
/// How many threads parallel loops may use.

#include "../api.h"

namespace SatCommonUtils {

/// Number of worker threads of a parallel loop, at least 1; the machine's processor count unless it was set.
/// Thread-safe.
ORBMATH_API int ZxGetThreadsCount();
/// Sets that number for the whole process; a value below 1 returns to the machine's. Thread-safe.
ORBMATH_API void ZxSetThreadsCount(int count);

}  // namespace SatCommonUtils

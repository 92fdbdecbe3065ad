#pragma once
// How tests watch a call that ends the process.

#include <gtest/gtest.h>

namespace orbmath_test {

/// The call is made in a program started anew, since threads of the solvers may be there. Under an emulator, which
/// starts no programs, it is made in a copy of the process.
inline void WatchEndsInAProcessOfTheirOwn() {
#if defined(ORBMATH_EMULATED)
  GTEST_FLAG_SET(death_test_style, "fast");
#else
  GTEST_FLAG_SET(death_test_style, "threadsafe");
#endif
}

}  // namespace orbmath_test

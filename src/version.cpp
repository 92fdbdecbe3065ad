// The version that the library was built as.
#include "version.h"

#define ORBMATH_TEXT(number) #number
#define ORBMATH_JOIN(major, minor, patch) ORBMATH_TEXT(major) "." ORBMATH_TEXT(minor) "." ORBMATH_TEXT(patch)

namespace SatCommonUtils {

int GetOrbmathVersion() noexcept { return ORBMATH_VERSION; }

const char* GetOrbmathVersionText() noexcept {
  return ORBMATH_JOIN(ORBMATH_VERSION_MAJOR, ORBMATH_VERSION_MINOR, ORBMATH_VERSION_PATCH);
}

}  // namespace SatCommonUtils

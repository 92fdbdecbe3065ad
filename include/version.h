#pragma once
/// \file
/// The version of the library: of the headers that a host is compiled with, and of the library that it runs with.
///
/// What a change of each number means for a host stands in docs/abi.md. The build takes the version of everything (file
/// names, packages, the tool) from this file.

#include "frame/api.h"

#define ORBMATH_VERSION_MAJOR 0  ///< what a change of it means: docs/abi.md
#define ORBMATH_VERSION_MINOR 1  ///< see above
#define ORBMATH_VERSION_PATCH 0  ///< see above
/// One number that grows with the version, for comparisons in the preprocessor: major * 1000000 + minor * 1000 + patch.
#define ORBMATH_VERSION (ORBMATH_VERSION_MAJOR * 1000000 + ORBMATH_VERSION_MINOR * 1000 + ORBMATH_VERSION_PATCH)

namespace SatCommonUtils {

/// The version of the library at run time as `ORBMATH_VERSION` counts it. A host that finds another major and minor
/// number than it was compiled with runs with a library that it does not fit. Any number of threads may call.
ORBMATH_API int GetOrbmathVersion() noexcept;

/// The version of the library at run time as text, "major.minor.patch"; valid for as long as the library is loaded.
ORBMATH_API const char* GetOrbmathVersionText() noexcept;

}  // namespace SatCommonUtils

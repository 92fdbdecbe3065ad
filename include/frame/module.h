#pragma once
/// \file
/// Start and stop of the library.

#include <string>

#include "api.h"

namespace SatCommonUtils {

/// Adds a user of the library. The first one starts it: the data container is started, the library finds its own file,
/// and the plane affine transform is registered under "sat_affine", so that saved transforms of that name can be
/// loaded. Nothing fails; calls are serialized.
ORBMATH_API void Init_Orbmath(void);
/// Removes a user; the last one's leaving undoes the start. Without a user nothing happens.
ORBMATH_API void Deinit_Orbmath(void);

/// What the library knows of itself.
struct TOrbmathModuleInfo {
  unsigned long long users = 0;  ///< Starts without their stops.
  std::string path;              ///< Full path of the library's file, UTF-8; empty before the first start.
  std::string directory;         ///< The path up to its last separator.
  std::string base_name;         ///< The file's name up to its last point.
  std::string extension;         ///< What follows that point.
  void* handle = nullptr;        ///< The system's handle (Windows) or load address of the library's file.
};

/// A copy of it.
ORBMATH_API TOrbmathModuleInfo GetOrbmathModuleInfo();

}  // namespace SatCommonUtils

#pragma once
/// \file
/// Extensions of file names.
///
/// The extension is what begins with the last point of the name behind the last "/" or "\"; a point that begins the
/// name (".profile", "..") begins no extension.

#include <string>

#include "../api.h"

namespace SatCommonUtils {

/// The name with another extension, or with one where it had none.
/// \param extension with or without its point; an empty one removes the extension.
ORBMATH_API std::string ChangeFileExt(const std::string& name, const std::string& extension);

/// The name without its extension and the point before it.
ORBMATH_API std::string CutFileExt(const std::string& name);

}  // namespace SatCommonUtils

#pragma once
/// \file
/// Writing files so that a reader never meets half of one.

#include <string>

namespace orbmath_tool {

/// Writes `content` as the file `path` ("-" is standard output). A regular file is written beside the old one and
/// then takes its place, with the old one's permissions; on failure the old one is still there.
/// \throws Failure naming the file and what the system says.
void WriteFile(const std::string& path, const std::string& content);

}  // namespace orbmath_tool

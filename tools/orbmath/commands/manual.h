#pragma once
/// \file
/// The tool's help and manual pages, made from what the commands declare.

#include <string>

#include "commands/registry.h"

namespace orbmath_tool {

/// Prints what `orbmath --help` prints.
void PrintOverview();

/// The manual page of the tool as a whole, orbmath(1), in the man macros of roff.
std::string ManualPage();
/// The manual page of a command, e.g. orbmath-project(1).
std::string ManualPage(const CommandEntry& entry);

}  // namespace orbmath_tool

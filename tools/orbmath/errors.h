#pragma once
/// \file
/// How the tool fails and how it talks to the person at the shell.

#include <stdexcept>
#include <string>

namespace orbmath_tool {

/// Exit statuses, also named in docs/tool.md.
enum ExitStatus : int {
  kSuccess = 0,
  kFailure = 1,     ///< A point, a file or a computation failed; what and why is in the output or on standard error.
  kWrongUsage = 2,  ///< The command line cannot be understood.
};

/// The command line is wrong; the text is one line that says what to do.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A command cannot do its work; the text says which file, line or number is in the way.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Prints one line to standard error, with the name of the tool in front, unless the tool was asked to be quiet.
void Note(const std::string& text);
/// The same for what is wrong, quiet or not; in red on a terminal, unless the environment has NO_COLOR.
void Complain(const std::string& text);

/// Whether notes and progress are left out from now on.
void SetQuiet(bool quiet);
bool IsQuiet();

}  // namespace orbmath_tool

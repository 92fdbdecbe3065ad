#pragma once
// A run of a program with files as its standard streams. One source file for Linux and its like, one for Windows.

#include <string>
#include <vector>

namespace orbmath_test {

/// How a process ended.
struct ProcessEnd {
  int status = -1;          ///< exit status, or minus the number of the signal that ended it
  long peak_kilobytes = 0;  ///< largest resident size; 0 where the system does not say
};

/// Runs a program in a folder, its standard streams being the files stdin, stdout and stderr there.
ProcessEnd RunProcess(const std::string& program, const std::vector<std::string>& arguments, const std::string& folder);

}  // namespace orbmath_test

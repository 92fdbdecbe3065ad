#pragma once
// Runs the real tool as a process, and the small model files that the tests give it.

#include <string>
#include <vector>

#include "rpc/rpc_data.h"

namespace orbmath_test {

/// What a run of the tool left behind.
struct ToolRun {
  int status = -1;  ///< exit status, or minus the number of the signal that ended it
  std::string out;
  std::string err;
  long peak_kilobytes = 0;  ///< largest resident size
};

/// Runs the tool in the directory of `Workspace` with `input` as its standard input.
ToolRun RunTool(const std::vector<std::string>& arguments, const std::string& input = "");
/// The same with the arguments as one text, split at blanks.
ToolRun RunToolLine(const std::string& arguments, const std::string& input = "");

/// A temporary directory with model files, made at the first call and removed at the end of the program.
///
/// - flat.RPB: line = 1000 - 10000 (lat - 45), sample = 2000 + 10000 (lon - 7) + 0.4 (height - 500), exact numbers of a
///   satellite "SAT1", band "P", bias error 1.25 m, random error 0.5 m; 1,000 lines above and below the offset,
///   2,000 samples, heights 0 to 1,000 m.
/// - right.RPB: the same ground with sample = 2000 + 10000 (lon - 7) - 0.4 (height - 500).
/// - cubic.xml: a bent model with all eighty coefficients.
const std::string& Workspace();

/// The record of cubic.xml.
SatCommonUtils::TRPCData CubicRecord();

/// The whole of a file in the workspace; empty when there is none.
std::string ReadText(const std::string& name);
void WriteText(const std::string& name, const std::string& text);

}  // namespace orbmath_test

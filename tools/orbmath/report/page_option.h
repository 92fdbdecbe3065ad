#pragma once
/// \file
/// The option of commands that write a page.

#include <optional>
#include <string>

#include "commands/command_line.h"
#include "report/output_file.h"

namespace orbmath_tool {

/// The option `--html FILE`.
class PageOption {
 public:
  void Declare(CommandLine& line);
  bool IsGiven() const { return !path_.empty(); }
  const std::string& Path() const { return path_; }
  bool IsStandardOutput() const { return path_ == "-"; }
  /// The file that the page goes into, begun before the work; nothing without the option. \throws Failure
  std::optional<OutputFile> Open() const;
  /// Prints results to standard output, or, when that is taken by the page, to standard error. \throws Failure
  void Say(const std::string& text) const;

 private:
  std::string path_;
};

}  // namespace orbmath_tool

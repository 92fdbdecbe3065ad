// The option --html.

#include "report/page_option.h"

#include <cstdio>

namespace orbmath_tool {

void PageOption::Declare(CommandLine& line) {
  line.Text("--html", "FILE", &path_, "write the report as a page to look at, one HTML file");
}

std::optional<OutputFile> PageOption::Open() const {
  if (path_.empty()) return std::nullopt;
  return std::optional<OutputFile>(std::in_place, path_);
}

void PageOption::Say(const std::string& text) const {
  if (IsStandardOutput()) {
    std::fputs(text.c_str(), stderr);
  } else {
    WriteToStandardOutput(text);
  }
}

}  // namespace orbmath_tool

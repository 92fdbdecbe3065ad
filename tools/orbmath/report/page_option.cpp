// The option --html.

#include "report/page_option.h"

namespace orbmath_tool {

void PageOption::Declare(CommandLine& line) {
  line.Text("--html", "FILE", &path_, "write the report as a page to look at, one HTML file");
}

std::optional<OutputFile> PageOption::Open() const {
  if (path_.empty()) return std::nullopt;
  return std::optional<OutputFile>(std::in_place, path_);
}

}  // namespace orbmath_tool

// The manual page holds the help texts that the tool prints.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>

#include "tool/run_tool.h"

namespace orbmath_test {

namespace {

TEST(ManualTest, HelpTextsAreThoseOfTheTool) {
  std::ifstream file(ORBMATH_TESTS_DIR "/../docs/tool.md");
  const std::string page{std::istreambuf_iterator<char>(file), {}};
  std::istringstream overview(RunToolLine("--help").out);
  std::vector<std::string> arguments{"--help"};
  bool in_list = false;
  for (std::string line; std::getline(overview, line);) {
    if (in_list && line.empty()) break;
    std::string name;
    if (in_list && std::istringstream(line) >> name) arguments.push_back(name + " --help");
    in_list = in_list || line == "Commands:";
  }
  EXPECT_GE(arguments.size(), 7u);
  for (const std::string& line : arguments) {
    const std::string block = "```\n$ orbmath " + line + "\n" + RunToolLine(line).out + "```\n";
    EXPECT_NE(page.find(block), std::string::npos)
        << "docs/tool.md has another text for 'orbmath " << line << "': bash tools/orbmath/update_manual.sh";
  }
}

}  // namespace

}  // namespace orbmath_test

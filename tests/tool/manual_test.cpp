// The manual page holds the help texts that the tool prints.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "support/system.h"
#include "tool/run_tool.h"

namespace orbmath_test {

namespace {

TEST(ManualTest, HelpTextsAreThoseOfTheTool) {
  std::ifstream file(ORBMATH_TESTS_DIR "/../docs/tool-help.md");
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
        << "docs/tool-help.md has another text for 'orbmath " << line << "': bash tools/orbmath/update_manual.sh";
  }
}

TEST(ManualTest, ExamplesPrintWhatThePageSays) {
  namespace fs = std::filesystem;
  if (!HaveShell()) GTEST_SKIP() << "there is no bash";
  const std::string folder = Workspace() + "/examples";
  fs::remove_all(folder);
  fs::create_directories(folder + "/bin");
  fs::create_symlink(ORBMATH_TOOL, folder + "/bin/orbmath");
  fs::copy(ORBMATH_TESTS_DIR "/../examples/data", folder + "/data");
  std::ifstream page(ORBMATH_TESTS_DIR "/../docs/tool.md");
  std::size_t count = 0;
  for (std::string line; std::getline(page, line);) {
    if (line.compare(0, 2, "$ ") != 0) continue;
    std::string expected;
    for (std::string printed; std::getline(page, printed) && printed != "```";) expected += printed + "\n";
    WriteText("examples/command.sh",
              "cd '" + folder + "/data'\nPATH='" + folder + "/bin':$PATH\n" + line.substr(2) + "\n");
    // Some examples show errors; that a command ran is seen in what it printed.
    ASSERT_NE(std::system(("bash '" + folder + "/command.sh' > '" + folder + "/printed' 2>&1 < /dev/null").c_str()),
              -1);
    const std::string printed = ReadText("examples/printed");
    ++count;
    if (printed.find("reference systems are known by") != std::string::npos) continue;  // built without GDAL
    EXPECT_EQ(printed, expected) << line << "\nrenew docs/tool.md: bash tools/orbmath/update_manual.sh TOOL";
  }
  EXPECT_GE(count, 10u);
}

TEST(ManualTest, PagesAndCompletionsHaveEveryOptionOfTheHelp) {
  const std::string bash = RunToolLine("completion bash").out;
  const std::string zsh = RunToolLine("completion zsh").out;
  const std::string fish = RunToolLine("completion fish").out;
  EXPECT_NE(RunToolLine("help --man").out.find(".BR orbmath\\-locate (1)"), std::string::npos);
  for (const char* command : {"info", "project", "locate", "intersect", "convert", "fit", "refine", "help"}) {
    const std::string help = RunToolLine(std::string("help ") + command).out;
    EXPECT_EQ(help, RunToolLine(std::string(command) + " --help").out);
    const std::string page = RunToolLine(std::string("help --man ") + command).out;
    std::size_t options = 0;
    std::istringstream lines(help);
    for (std::string line; std::getline(lines, line);) {
      if (line.compare(0, 4, "  --") != 0) continue;
      const std::string option = line.substr(2, line.find(' ', 2) - 2);
      std::string dashes;
      for (const char c : option) dashes += c == '-' ? std::string("\\-") : std::string(1, c);
      EXPECT_NE(page.find("\n.B " + dashes), std::string::npos) << command << " " << option;
      EXPECT_NE(bash.find(" " + option), std::string::npos) << command << " " << option;
      EXPECT_NE(zsh.find("'" + option + "["), std::string::npos) << command << " " << option;
      EXPECT_NE(fish.find(std::string("from ") + command + "' -l " + option.substr(2)), std::string::npos)
          << command << " " << option;
      ++options;
    }
    EXPECT_GE(options, 1u) << command;
  }
}

TEST(ManualTest, BashCompletesCommandsOptionsAndWords) {
  if (!HaveShell()) GTEST_SKIP() << "there is no bash";
  WriteText("complete.sh", "source <('" ORBMATH_TOOL
                           "' completion bash)\n"
                           "c() { COMP_WORDS=(orbmath \"$@\"); COMP_CWORD=$#; _orbmath; echo \"${COMPREPLY[*]}\"; }\n"
                           "c loc; c locate --prec; c locate --origin c; c help inv; c locate a\n");
  const std::string out = Workspace() + "/completed";
  ASSERT_EQ(std::system(("bash '" + Workspace() + "/complete.sh' > '" + out + "'").c_str()), 0);
  EXPECT_EQ(ReadText("completed"), "locate\n--precision\ncenter corner\ninvert\n\n");
}

}  // namespace

}  // namespace orbmath_test

// orbmath help: the help of a command, or its manual page.

#include <cstdio>
#include <string>
#include <vector>

#include "commands/command.h"
#include "commands/manual.h"
#include "commands/registry.h"
#include "errors.h"

namespace orbmath_tool {

namespace {

class Help : public Command {
 public:
  const char* Notes() const override {
    return "Without COMMAND, the list of commands.\n\n"
           "Examples:\n"
           "  orbmath help locate\n"
           "  orbmath help locate --man | man -l -";
  }

  void Declare(CommandLine& line) override {
    line.Arguments("COMMAND", &names_, 0, "the command");
    line.Flag("--man", &man_, "the manual page, for man(1)");
  }

  int Run() override {
    if (names_.size() > 1) throw UsageError("one command at a time");
    if (man_) {
      const std::string page = names_.empty() ? ManualPage() : ManualPage(FindCommand(names_.front()));
      std::fwrite(page.data(), 1, page.size(), stdout);
    } else if (names_.empty()) {
      PrintOverview();
    } else {
      orbmath_tool::Declare(FindCommand(names_.front())).line->Parse({"--help"});
    }
    return kSuccess;
  }

 private:
  std::vector<std::string> names_;
  bool man_ = false;
};

}  // namespace

std::unique_ptr<Command> MakeHelp() { return std::make_unique<Help>(); }

}  // namespace orbmath_tool

// The command-line tool: finds the command, reads its options, runs it.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "commands/manual.h"
#include "commands/registry.h"
#include "errors.h"
#include "system/system.h"
#include "version.h"

namespace orbmath_tool {

namespace {

/// The usage errors of a command end with where its help is.
int RunCommand(const CommandEntry& entry, const std::vector<std::string>& arguments) {
  try {
    const DeclaredCommand declared = Declare(entry);
    return declared.line->Parse(arguments) ? declared.command->Run() : kSuccess;
  } catch (const UsageError& error) {
    throw UsageError(std::string(entry.name) + ": " + error.what() + " (see 'orbmath " + entry.name + " --help')");
  }
}

int Dispatch(const std::vector<std::string>& arguments) {
  if (arguments.empty()) throw UsageError("no command given, 'orbmath --help' lists them");
  const std::string& first = arguments.front();
  if (first == "--help" || first == "-h") {
    PrintOverview();
    return kSuccess;
  }
  if (first == "--version") {
    std::printf("orbmath %s\n", SatCommonUtils::GetOrbmathVersionText());
    return kSuccess;
  }
  return RunCommand(FindCommand(first), {arguments.begin() + 1, arguments.end()});
}

}  // namespace

namespace {

bool is_quiet = false;

}  // namespace

void SetQuiet(bool quiet) { is_quiet = quiet; }

bool IsQuiet() { return is_quiet; }

void Note(const std::string& text) {
  if (!is_quiet) std::fprintf(stderr, "orbmath: %s\n", text.c_str());
}

void Complain(const std::string& text) {
  const char* const no_color = std::getenv("NO_COLOR");
  const bool color = IsTerminal(kStandardError) && (no_color == nullptr || *no_color == '\0');
  std::fprintf(stderr, "%sorbmath: %s%s\n", color ? "\033[31m" : "", text.c_str(), color ? "\033[0m" : "");
}

}  // namespace orbmath_tool

int main(int argc, char** argv) {
  using namespace orbmath_tool;
  try {
    const int status = Dispatch(CommandLineWords(argc, argv));
    // The flush knows only of what was left in the buffer.
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return status;
    Complain("standard output cannot be written");
  } catch (const UsageError& error) {
    Complain(error.what());
    return kWrongUsage;
  } catch (const std::bad_alloc&) {
    Complain("out of memory");
  } catch (const std::exception& error) {
    Complain(error.what());
  }
  return kFailure;
}

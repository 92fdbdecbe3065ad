// The command-line tool: finds the command, reads its options, runs it.

#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "commands/command.h"
#include "errors.h"
#include "version.h"

namespace orbmath_tool {

namespace {

struct Entry {
  const char* name;
  const char* summary;
  std::unique_ptr<Command> (*make)();
};

constexpr Entry kCommands[] = {
    {"info", "Say what a model file holds and how well its approximation and inversion do.", MakeInfo},
    {"project", "Ground points to image points.", MakeProject},
    {"locate", "Image points to ground points at a known height.", MakeLocate},
    {"intersect", "Points seen in several images to ground points.", MakeIntersect},
    {"convert", "Write a model file in another form.", MakeConvert},
    {"fit", "Fit a model to points whose ground and image coordinates are known.", MakeFit},
    {"invert", "Fit the inverse of a model: image and height to latitude and longitude.", MakeInvert},
    {"refine", "Correct a model in image space with ground control or image ties.", MakeRefine},
    {"export", "Write an adjusted model as a plain one that carries its refinement.", MakeExport},
    {"compare", "Compare two models field by field and pixel by pixel.", MakeCompare},
};

void PrintHelp() {
  std::puts("Rational polynomial camera models (RPC) at the shell.\n\nUsage: orbmath COMMAND [arguments] [options]\n");
  std::puts("Commands:");
  for (const Entry& entry : kCommands) std::printf("  %-10s %s\n", entry.name, entry.summary);
  std::puts(
      "\n'orbmath COMMAND --help' tells more, 'orbmath --version' prints the version.\n\n"
      "Angles are degrees, heights metres above the ellipsoid, image coordinates pixels. Ground points are\n"
      "'lat lon height', image points 'line sample', one point a line, between blanks, tabs or commas; '#' starts a\n"
      "comment. A line that cannot be computed becomes a line beginning with 'ERROR: ' in its place.\n\n"
      "Exit status: 0 when all went well, 1 when a point, a file or a computation failed, 2 for wrong usage.");
}

/// The usage errors of a command end with where its help is.
int RunCommand(const Entry& entry, const std::vector<std::string>& arguments) {
  const std::string name = std::string("orbmath ") + entry.name;
  try {
    const std::unique_ptr<Command> command = entry.make();
    CommandLine line(name, entry.summary, command->Notes());
    command->Declare(line);
    return line.Parse(arguments) ? command->Run() : kSuccess;
  } catch (const UsageError& error) {
    throw UsageError(std::string(entry.name) + ": " + error.what() + " (see '" + name + " --help')");
  }
}

int Dispatch(const std::vector<std::string>& arguments) {
  const std::string first = arguments.empty() ? "" : arguments.front();
  if (first == "--help" || first == "-h") {
    PrintHelp();
    return kSuccess;
  }
  if (first == "--version") {
    std::printf("orbmath %s\n", SatCommonUtils::GetOrbmathVersionText());
    return kSuccess;
  }
  for (const Entry& entry : kCommands) {
    if (first == entry.name) return RunCommand(entry, {arguments.begin() + 1, arguments.end()});
  }
  const std::string what = arguments.empty() ? "no command given" : "'" + first + "' is no command";
  throw UsageError(what + ", 'orbmath --help' lists them");
}

}  // namespace

void Note(const std::string& text) { std::fprintf(stderr, "orbmath: %s\n", text.c_str()); }

}  // namespace orbmath_tool

int main(int argc, char** argv) {
  using namespace orbmath_tool;
  try {
    const int status = Dispatch({argv + (argc > 0 ? 1 : 0), argv + argc});
    // The flush knows only of what was left in the buffer.
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return status;
    Note("standard output cannot be written");
  } catch (const UsageError& error) {
    Note(error.what());
    return kWrongUsage;
  } catch (const std::bad_alloc&) {
    Note("out of memory");
  } catch (const std::exception& error) {
    Note(error.what());
  }
  return kFailure;
}

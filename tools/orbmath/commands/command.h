#pragma once
/// \file
/// What a command is: its options and its work. One file a command holds the class; `registry.cpp` lists them.

#include <memory>

#include "commands/command_line.h"

namespace orbmath_tool {

class Command {
 public:
  virtual ~Command() = default;
  /// Text behind the options in the help: paragraphs of one line each (they are wrapped), and examples, indented.
  virtual const char* Notes() const = 0;
  /// Names the arguments and options.
  virtual void Declare(CommandLine& line) = 0;
  /// Does the work after the options have been read. \return the exit status.
  /// \throws UsageError, Failure
  virtual int Run() = 0;
};

std::unique_ptr<Command> MakeInfo();
std::unique_ptr<Command> MakeProject();
std::unique_ptr<Command> MakeLocate();
std::unique_ptr<Command> MakeIntersect();
std::unique_ptr<Command> MakeConvert();
std::unique_ptr<Command> MakeFit();
std::unique_ptr<Command> MakeInvert();
std::unique_ptr<Command> MakeRefine();
std::unique_ptr<Command> MakeAdjust();
std::unique_ptr<Command> MakeExport();
std::unique_ptr<Command> MakeCompare();
std::unique_ptr<Command> MakeOrtho();
std::unique_ptr<Command> MakeCheck();
std::unique_ptr<Command> MakeGrid();
std::unique_ptr<Command> MakePairs();
std::unique_ptr<Command> MakeHelp();
std::unique_ptr<Command> MakeCompletion();

}  // namespace orbmath_tool

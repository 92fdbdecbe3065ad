#pragma once
/// \file
/// The commands of the tool: the one list that dispatching, help texts, manual pages and completions are made from.

#include <memory>
#include <string>
#include <vector>

#include "commands/command.h"

namespace orbmath_tool {

struct CommandEntry {
  const char* name;
  const char* summary;  ///< one sentence
  std::unique_ptr<Command> (*make)();
};

/// All commands in the order of the help text.
const std::vector<CommandEntry>& Commands();
/// The command of that name. \throws UsageError, with the one that was probably meant.
const CommandEntry& FindCommand(const std::string& name);

/// A command with all that it has declared.
struct DeclaredCommand {
  std::unique_ptr<Command> command;
  std::unique_ptr<CommandLine> line;
};
DeclaredCommand Declare(const CommandEntry& entry);

/// What stands in front of the list of commands in help and manual, and behind it.
extern const char* const kToolSummary;
extern const char* const kToolNotes;

}  // namespace orbmath_tool

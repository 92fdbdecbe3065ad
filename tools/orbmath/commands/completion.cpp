// orbmath completion: commands, options and their words for bash, zsh and fish.

#include <cstdio>
#include <string>
#include <vector>

#include "commands/command.h"
#include "commands/registry.h"
#include "errors.h"

namespace orbmath_tool {

namespace {

std::string Joined(const std::vector<std::string>& words) {
  std::string joined;
  for (const std::string& word : words) joined += (joined.empty() ? "" : " ") + word;
  return joined;
}

/// `text` in single quotes, for all three shells; `special` characters get a backslash in front.
std::string Quote(const std::string& text, const std::string& special = "") {
  std::string quoted = "'";
  for (const char c : text) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      if (special.find(c) != std::string::npos) quoted += '\\';
      quoted += c;
    }
  }
  return quoted + "'";
}

std::vector<std::string> CommandNames() {
  std::vector<std::string> names;
  for (const CommandEntry& entry : Commands()) names.push_back(entry.name);
  return names;
}

std::string Bash() {
  std::string script =
      "# Completion of orbmath for bash.\n"
      "_orbmath() {\n"
      "  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} options= words=\n"
      "  if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
      "    COMPREPLY=($(compgen -W '" +
      Joined(CommandNames()) +
      " --help --version' -- \"$word\"))\n"
      "    return\n"
      "  fi\n"
      "  case ${COMP_WORDS[1]} in\n";
  for (const CommandEntry& entry : Commands()) {
    std::vector<std::string> names;
    std::string words;
    const DeclaredCommand declared = Declare(entry);
    for (const OptionInfo& option : declared.line->DeclaredOptions()) {
      names.insert(names.end(), option.names.begin(), option.names.end());
      if (!option.words.empty())
        words += "        " + option.names.back() + ") words='" + Joined(option.words) + "' ;;\n";
    }
    if (std::string(entry.name) == "help") words += "        help) words='" + Joined(CommandNames()) + "' ;;\n";
    if (std::string(entry.name) == "completion") words += "        completion) words='bash zsh fish' ;;\n";
    script += std::string("    ") + entry.name + ")\n      options='" + Joined(names) + "'\n";
    if (!words.empty()) script += "      case $before in\n" + words + "      esac\n";
    script += "      ;;\n";
  }
  return script +
         "  esac\n"
         "  if [ -n \"$words\" ]; then\n"
         "    COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n"
         "  elif [[ $word == -* ]]; then\n"
         "    COMPREPLY=($(compgen -W \"$options\" -- \"$word\"))\n"
         "  else\n"
         "    COMPREPLY=()\n"
         "  fi\n"
         "}\n"
         "complete -o default -F _orbmath orbmath\n";
}

std::string Zsh() {
  std::string script =
      "#compdef orbmath\n# Completion of orbmath for zsh.\n_orbmath() {\n  local -a commands\n  commands=(\n";
  for (const CommandEntry& entry : Commands()) {
    script += "    " + Quote(std::string(entry.name) + ":" + entry.summary) + "\n";
  }
  script +=
      "  )\n"
      "  if (( CURRENT == 2 )); then\n"
      "    _describe command commands\n"
      "    return\n"
      "  fi\n"
      "  local command=$words[2]\n"
      "  shift words\n"
      "  (( CURRENT-- ))\n"
      "  case $command in\n";
  for (const CommandEntry& entry : Commands()) {
    script += std::string("    ") + entry.name + ") _arguments -s";
    const DeclaredCommand declared = Declare(entry);
    for (const OptionInfo& option : declared.line->DeclaredOptions()) {
      for (const std::string& name : option.names) {
        std::string text = name + "[" + option.help + "]";
        for (std::size_t at = name.size() + 1; at + 1 < text.size(); ++at) {
          if (text[at] == '[' || text[at] == ']') text[at] = text[at] == '[' ? '(' : ')';
        }
        if (!option.value_name.empty()) {
          text += ":value:" + (option.words.empty() ? std::string("_files") : "(" + Joined(option.words) + ")");
        }
        script += " \\\n      " + Quote(text);
      }
    }
    const bool help = std::string(entry.name) == "help";
    const bool completion = std::string(entry.name) == "completion";
    const std::string what = help ? "(" + Joined(CommandNames()) + ")" : completion ? "(bash zsh fish)" : "_files";
    script += " \\\n      '*:argument:" + what + "' ;;\n";
  }
  return script + "  esac\n}\n_orbmath \"$@\"\n";
}

std::string Fish() {
  std::string script = "# Completion of orbmath for fish.\n";
  for (const CommandEntry& entry : Commands()) {
    script += std::string("complete -c orbmath -n __fish_use_subcommand -f -a ") + entry.name + " -d " +
              Quote(entry.summary) + "\n";
    const std::string of = std::string("complete -c orbmath -n '__fish_seen_subcommand_from ") + entry.name + "'";
    const DeclaredCommand declared = Declare(entry);
    for (const OptionInfo& option : declared.line->DeclaredOptions()) {
      script += of;
      for (const std::string& name : option.names) {
        script += name.substr(0, 2) == "--" ? " -l " + name.substr(2) : " -s " + name.substr(1);
      }
      if (!option.words.empty()) script += " -x -a '" + Joined(option.words) + "'";
      if (option.words.empty() && !option.value_name.empty()) script += " -r";
      script += " -d " + Quote(option.help) + "\n";
    }
    if (std::string(entry.name) == "help") script += of + " -f -a '" + Joined(CommandNames()) + "'\n";
    if (std::string(entry.name) == "completion") script += of + " -f -a 'bash zsh fish'\n";
  }
  return script;
}

class Completion : public Command {
 public:
  const char* Notes() const override {
    return "An installed tool has these files where the shells look for them.\n\n"
           "Examples:\n"
           "  source <(orbmath completion bash)\n"
           "  orbmath completion zsh > ~/.zsh/completion/_orbmath\n"
           "  orbmath completion fish > ~/.config/fish/completions/orbmath.fish";
  }

  void Declare(CommandLine& line) override { line.Argument("SHELL", &shell_, "bash, zsh or fish"); }

  int Run() override {
    if (shell_ != "bash" && shell_ != "zsh" && shell_ != "fish") {
      throw UsageError("'" + shell_ + "' is none of bash|zsh|fish");
    }
    const std::string script = shell_ == "bash" ? Bash() : shell_ == "zsh" ? Zsh() : Fish();
    std::fwrite(script.data(), 1, script.size(), stdout);
    return kSuccess;
  }

 private:
  std::string shell_;
};

}  // namespace

std::unique_ptr<Command> MakeCompletion() { return std::make_unique<Completion>(); }

}  // namespace orbmath_tool

// Help and manual pages. The macros of the pages are those of man(7).

#include "commands/manual.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

#include "report/fixed_digits.h"
#include "version.h"

namespace orbmath_tool {

namespace {

constexpr std::size_t kNameWidth = 11;

/// A text as roff shows it unchanged: dashes that can be copied, and no line that is taken for a request.
std::string Roff(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '\\') {
      escaped += "\\e";
    } else if (c == '-') {
      escaped += "\\-";
    } else {
      if (escaped.empty() && (c == '.' || c == '\'')) escaped += "\\&";
      escaped += c;
    }
  }
  return escaped;
}

std::string Head(const std::string& title, const std::string& summary, const std::string& synopsis) {
  return ".TH " + title + " 1 \"\" \"orbmath " + SatCommonUtils::GetOrbmathVersionText() +
         "\" \"Orbmath\"\n.SH NAME\n" + Roff(title) + " \\- " + Roff(summary.substr(0, summary.size() - 1)) +
         "\n.SH SYNOPSIS\n.nf\n" + Roff(synopsis) + "\n.fi\n";
}

/// Paragraphs, and lines that begin with a blank as they stand. "Example:" opens a section of its own.
std::string Body(const std::string& text) {
  std::string body;
  bool as_it_stands = false;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const bool example = !line.empty() && line.front() == ' ';
    if (example != as_it_stands) body += example ? ".nf\n" : ".fi\n";
    as_it_stands = example;
    if (line == "Example:" || line == "Examples:") {
      body += ".SH EXAMPLES\n";
    } else {
      body += line.empty() ? ".PP\n" : Roff(example ? line.substr(line.find_first_not_of(' ')) : line) + "\n";
    }
  }
  return body + (as_it_stands ? ".fi\n" : "");
}

std::string Entry(const std::string& term, const std::string& value, const std::string& help) {
  return ".TP\n.B " + Roff(term) + (value.empty() ? "" : " \\fI" + Roff(value) + "\\fR") + "\n" + Roff(help) + "\n";
}

}  // namespace

void PrintOverview() {
  std::printf("%s\n\nUsage: orbmath COMMAND [arguments] [options]\n\nCommands:\n", kToolSummary);
  for (const CommandEntry& entry : Commands()) {
    std::printf("  %s %s\n", PadRight(entry.name, kNameWidth).c_str(), entry.summary);
  }
  std::printf("\n'orbmath help COMMAND' tells more, 'orbmath --version' prints the version.\n\n%s\n", kToolNotes);
}

std::string ManualPage() {
  std::string page = Head("orbmath", kToolSummary, "orbmath COMMAND [arguments] [options]");
  page += ".SH DESCRIPTION\n" + Body(kToolNotes) + ".SH COMMANDS\n";
  for (const CommandEntry& entry : Commands()) page += Entry(entry.name, "", entry.summary);
  std::string list;
  for (const CommandEntry& entry : Commands()) {
    list += std::string(".BR orbmath\\-") + entry.name + " (1)" + (&entry == &Commands().back() ? "\n" : ",\n");
  }
  return page + ".SH SEE ALSO\n" + list;
}

std::string ManualPage(const CommandEntry& entry) {
  const DeclaredCommand declared = Declare(entry);
  std::string page = Head(std::string("orbmath-") + entry.name, entry.summary, declared.line->Usage());
  const std::string notes = declared.command->Notes();
  const std::size_t examples = std::min(notes.find("Example:\n"), notes.find("Examples:\n"));
  page += ".SH DESCRIPTION\n" + Body(notes.substr(0, examples));
  if (!declared.line->DeclaredArguments().empty()) page += ".SH ARGUMENTS\n";
  for (const ArgumentInfo& argument : declared.line->DeclaredArguments()) {
    page += Entry(argument.name + (argument.many ? "..." : ""), "", argument.help);
  }
  page += ".SH OPTIONS\n";
  for (const OptionInfo& option : declared.line->DeclaredOptions()) {
    std::string names;
    for (const std::string& name : option.names) names += (names.empty() ? "" : ", ") + name;
    page += Entry(names, option.value_name, option.help);
  }
  if (examples != std::string::npos) page += Body(notes.substr(examples));
  page += ".SH EXIT STATUS\n0 when all went well, 1 when a point, a file or a computation failed, 2 for wrong usage.\n";
  return page + ".SH SEE ALSO\n.BR orbmath (1)\n";
}

}  // namespace orbmath_tool

// The option parser behind the declarations, and its messages in our words.

#include "commands/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <system_error>

#include "commands/did_you_mean.h"
#include "errors.h"
#include "frame/zxstd/number_text.h"
#include "report/output_file.h"

namespace orbmath_tool {

namespace {

/// Joins words as "a|b|c".
std::string Alternatives(const std::vector<std::string>& words) {
  std::string joined;
  for (const std::string& word : words) joined += (joined.empty() ? "" : "|") + word;
  return joined;
}

/// The parser's texts may run over lines; the tool promises one.
std::string OneLine(std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

/// The parser says "--height: 1 required H missing" or "--height: At Most 1 required but received 2".
std::string MismatchText(const std::string& text) {
  const std::size_t colon = text.find(": ");
  if (colon == std::string::npos) return OneLine(text);
  if (text.find("At Most") != std::string::npos) return text.substr(0, colon) + " may be given once only";
  if (text.find("missing") != std::string::npos) return text.substr(0, colon) + " needs a value behind it";
  // "--bounds: At least 4 required but received 3"
  const std::size_t count = text.find("At least ");
  if (count == colon + 2 && text.compare(0, 2, "--") == 0) {
    return text.substr(0, colon) + " needs " + text.substr(count + 9, text.find(' ', count + 9) - count - 9) +
           " values behind it";
  }
  return OneLine(text);
}

/// Appends `text` to `out` as lines that begin at column `indent` and end before column `width`. The text so far ends
/// at column `at`.
void Wrap(const std::string& text, std::size_t at, std::size_t indent, std::size_t width, std::string* out) {
  if (at > 0 && at + 1 > indent) {
    *out += "\n";
    at = 0;
  }
  *out += std::string(indent - at, ' ');
  at = indent;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    if (at > indent && at + 1 + word.size() > width) {
      *out += "\n" + std::string(indent, ' ');
      at = indent;
    }
    *out += (at > indent ? " " : "") + word;
    at += word.size() + (at > indent ? 1 : 0);
  }
  *out += "\n";
}

constexpr std::size_t kPageWidth = 110;
constexpr const char* kQuietHelp = "no notes and no progress on standard error, errors alone";

/// Usage line, arguments and options wrapped to a page, notes.
class HelpLayout : public CLI::Formatter {
 public:
  HelpLayout() { label("Positionals", "Arguments"); }

  std::string make_usage(const CLI::App* /*app*/, std::string /*name*/) const override {
    return "\nUsage: " + usage_ + "\n";
  }
  void SetUsage(const std::string& usage) { usage_ = usage; }

  std::string make_option(const CLI::Option* option, bool is_positional) const override {
    std::string shown = "  " + option->get_name(is_positional, !is_positional);
    if (option->get_type_size() > 0 && !option->get_type_name().empty()) shown += " " + option->get_type_name();
    const std::size_t at = shown.size();
    Wrap(option->get_description(), at, kIndent, kPageWidth, &shown);
    return shown;
  }

  std::string make_footer(const CLI::App* app) const override { return WrapParagraphs(app->get_footer(), kPageWidth); }

 private:
  static constexpr std::size_t kIndent = 22;
  std::string usage_;
};

}  // namespace

std::string WrapParagraphs(const std::string& text, std::size_t width) {
  std::string shown;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line.front() == ' ') {
      shown += line + "\n";
    } else {
      Wrap(line, 0, 0, width, &shown);
    }
  }
  return shown;
}

struct CommandLine::Parser {
  explicit Parser(const std::string& summary) : app(summary) {}

  CLI::Option* Add(const std::string& name, const std::string& value_name, std::function<void(const std::string&)> take,
                   const std::string& help) {
    TakeValues(name, 1);
    return app.add_option_function<std::string>(name, take, help)->type_name(value_name);
  }

  void Note(const std::string& name, const std::string& value_name, const std::string& help,
            const std::vector<std::string>& words = {}) {
    options.push_back({{name}, value_name, words, help});
  }

  void TakeValues(const std::string& name, std::size_t count) { values[name] = count; }
  std::vector<std::string> WithNamesRepeated(const std::vector<std::string>& given);

  /// The unknown option and the one that was probably meant.
  std::string UnknownText(const std::string& given) const {
    if (given.empty() || given.front() != '-') return "'" + given + "' is one argument too many";
    std::vector<std::string> names = {"--help"};
    for (const OptionInfo& option : options) names.insert(names.end(), option.names.begin(), option.names.end());
    return "there is no option " + given + DidYouMean(given.substr(0, given.find('=')), names);
  }

  CLI::App app;
  std::shared_ptr<HelpLayout> layout = std::make_shared<HelpLayout>();
  std::string full_name;
  std::vector<ArgumentInfo> arguments;
  std::vector<OptionInfo> options;
  std::size_t least_arguments = 0;
  std::map<std::string, std::size_t> values;  ///< how many words an option takes, of those that take any
  std::set<std::string> repeated;             ///< options that may be repeated
  std::set<std::string> behind_values;        ///< arguments that might have been one more value of such an option
  std::vector<const std::string*> outputs;    ///< arguments that name what is written
};

constexpr const char* kNumbers = "numbers";

/// What the words of one pattern or list have in common: the suffix of a file's name, or that they are numbers.
std::string KindOf(const std::string& word) {
  constexpr const char* kBetween = " \t,;";
  const std::size_t first = word.find_first_of(kBetween);
  double number = 0.0;
  const bool is_point = first != std::string::npos && SatCommonUtils::ParseDouble(word.substr(0, first), &number) &&
                        SatCommonUtils::ParseDouble(word.substr(word.find_last_of(kBetween) + 1), &number);
  return is_point ? kNumbers : SuffixOf(word);
}

/// A pattern of the shell puts several words behind an option that may be repeated (`--dem tiles/*.tif`). Those of the
/// kind of the first are its values too, and get the option's name in front; others, and all of them as long as
/// arguments are missing, are arguments: `locate --dem srtm.tif image.RPB` and `locate image.RPB --dem srtm.tif
/// points.txt` mean what they seem to.
std::vector<std::string> CommandLine::Parser::WithNamesRepeated(const std::vector<std::string>& given) {
  std::vector<std::string> words;
  std::size_t arguments_seen = 0;
  for (std::size_t i = 0; i < given.size(); ++i) {
    const std::string& word = given[i];
    words.push_back(word);
    if (word == "--") {
      words.insert(words.end(), given.begin() + static_cast<std::ptrdiff_t>(i) + 1, given.end());
      return words;
    }
    const auto option = values.find(word);
    if (option == values.end()) {
      arguments_seen += word.size() > 1 && word.front() == '-' ? 0 : 1;
      continue;
    }
    for (std::size_t k = 0; k < option->second && i + 1 < given.size(); ++k) words.push_back(given[++i]);
    if (repeated.count(word) == 0) continue;
    const std::string kind = KindOf(words.back());
    if (arguments_seen < least_arguments) {
      if (i + 1 < given.size() && KindOf(given[i + 1]) == kind) behind_values.insert(given[i + 1]);
      continue;
    }
    const auto is_option = [&kind](const std::string& next) { return next.rfind('-', 0) == 0 && kind != kNumbers; };
    while (i + 1 < given.size() && !is_option(given[i + 1]) && KindOf(given[i + 1]) == kind) {
      words.push_back(word);
      words.push_back(given[++i]);
    }
  }
  return words;
}

CommandLine::CommandLine(const std::string& name, const std::string& summary, const std::string& notes)
    : parser_(new Parser(summary)) {
  parser_->app.name(name);
  parser_->app.footer(notes);
  parser_->full_name = name;
  parser_->app.formatter(parser_->layout);
  // A word that begins with a slash is a path everywhere.
  parser_->app.allow_windows_style_options(false);
  parser_->app.set_help_flag("-h,--help", "print this help and stop");
  parser_->options.push_back({{"-h", "--help"}, "", {}, "print this help and stop"});
  parser_->app.add_flag_callback(
      "--quiet", [] { SetQuiet(true); }, kQuietHelp);
  parser_->Note("--quiet", "", kQuietHelp);
}

CommandLine::~CommandLine() = default;

void CommandLine::Argument(const std::string& name, std::string* target, const std::string& help) {
  parser_->app.add_option(name, *target, help)->required()->type_name("");
  ++parser_->least_arguments;
  parser_->arguments.push_back({name, help, true, false});
}

void CommandLine::OutputArgument(const std::string& name, std::string* target, const std::string& help) {
  Argument(name, target, help);
  parser_->outputs.push_back(target);
}

void CommandLine::Arguments(const std::string& name, std::vector<std::string>* target, int least,
                            const std::string& help) {
  CLI::Option* option = parser_->app.add_option(name, *target, help)->type_name("");
  if (least > 0) option->required()->expected(least, CLI::detail::expected_max_vector_size);
  parser_->least_arguments += static_cast<std::size_t>(std::max(least, 0));
  parser_->arguments.push_back({name, help, least > 0, true});
}

void CommandLine::Flag(const std::string& name, bool* target, const std::string& help) {
  parser_->app.add_flag(name, *target, help);
  parser_->Note(name, "", help);
}

void CommandLine::Text(const std::string& name, const std::string& value_name, std::string* target,
                       const std::string& help) {
  parser_->app.add_option(name, *target, help)->type_name(value_name);
  parser_->TakeValues(name, 1);
  parser_->Note(name, value_name, help);
}

void CommandLine::Texts(const std::string& name, const std::string& value_name, std::vector<std::string>* target,
                        const std::string& help) {
  parser_->app.add_option(name, *target, help)->type_name(value_name)->expected(1)->take_all()->allow_extra_args(false);
  parser_->TakeValues(name, 1);
  parser_->repeated.insert(name);
  parser_->Note(name, value_name, help);
}

namespace {

double FiniteNumber(const std::string& name, const std::string& text) {
  double value = 0.0;
  if (!SatCommonUtils::ParseDouble(text, &value) || !std::isfinite(value)) {
    throw CLI::ValidationError(name, "'" + text + "' is not a number (digits with a decimal point)");
  }
  return value;
}

}  // namespace

void CommandLine::Number(const std::string& name, const std::string& value_name, std::optional<double>* target,
                         const std::string& help) {
  const auto take = [name, target](const std::string& text) { *target = FiniteNumber(name, text); };
  parser_->Add(name, value_name, take, help);
  parser_->Note(name, value_name, help);
}

void CommandLine::Numbers(const std::string& name, const std::string& value_names, std::size_t count,
                          std::vector<double>* target, const std::string& help) {
  const auto take = [name, target](const std::vector<std::string>& texts) {
    target->clear();
    for (const std::string& text : texts) target->push_back(FiniteNumber(name, text));
  };
  parser_->app.add_option_function<std::vector<std::string>>(name, take, help)
      ->type_name(value_names)
      ->expected(static_cast<int>(count));
  parser_->TakeValues(name, count);
  parser_->Note(name, value_names, help);
}

void CommandLine::Count(const std::string& name, const std::string& value_name, int least, int most,
                        std::optional<int>* target, const std::string& help) {
  const auto take = [name, target, least, most](const std::string& text) {
    int value = 0;
    if (!SatCommonUtils::ParseInt(text, &value) || value < least || value > most) {
      throw CLI::ValidationError(
          name, "'" + text + "' is not a whole number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    *target = value;
  };
  parser_->Add(name, value_name, take, help);
  parser_->Note(name, value_name, help);
}

void CommandLine::Choice(const std::string& name, const std::vector<std::string>& words, int* target,
                         const std::string& help) {
  const auto take = [name, words, target](const std::string& text) {
    const auto found = std::find(words.begin(), words.end(), text);
    if (found == words.end()) throw CLI::ValidationError(name, "'" + text + "' is none of " + Alternatives(words));
    *target = static_cast<int>(found - words.begin());
  };
  parser_->Add(name, Alternatives(words), take, help);
  parser_->Note(name, Alternatives(words), help, words);
}

const std::vector<ArgumentInfo>& CommandLine::DeclaredArguments() const { return parser_->arguments; }

const std::vector<OptionInfo>& CommandLine::DeclaredOptions() const { return parser_->options; }

std::string CommandLine::Usage() const {
  std::string usage = parser_->full_name;
  for (const ArgumentInfo& argument : parser_->arguments) {
    const std::string shown = argument.name + (argument.many ? "..." : "");
    usage += argument.required ? " " + shown : " [" + shown + "]";
  }
  return usage + " [options]";
}

bool CommandLine::Parse(const std::vector<std::string>& arguments) {
  parser_->layout->SetUsage(Usage());
  const std::vector<std::string> words = parser_->WithNamesRepeated(arguments);
  // The parser takes its arguments from the back.
  try {
    parser_->app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
  } catch (const CLI::CallForHelp&) {
    const std::string help = parser_->app.help();
    std::fwrite(help.data(), 1, help.size(), stdout);
    return false;
  } catch (const CLI::ArgumentMismatch& error) {
    throw UsageError(MismatchText(error.what()));
  } catch (const CLI::ExtrasError&) {
    throw UsageError(parser_->UnknownText(parser_->app.remaining().front()));
  } catch (const CLI::ParseError& error) {
    throw UsageError(OneLine(error.what()));
  }
  for (const std::string* output : parser_->outputs) {
    std::error_code none;  // what cannot be looked at is not lost either
    if (parser_->behind_values.count(*output) > 0 && std::filesystem::exists(std::filesystem::u8path(*output), none)) {
      throw UsageError(*output + " is there and stands behind a value of an option: was the file to write forgotten? " +
                       "Name it in front of the options");
    }
  }
  return true;
}

}  // namespace orbmath_tool

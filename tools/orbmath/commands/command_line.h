#pragma once
/// \file
/// Declaring and reading the options of a command. The option parser itself stays behind this file.

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orbmath_tool {

/// What a command line accepts, as manual pages and completions need to know it.
struct ArgumentInfo {
  std::string name;
  std::string help;
  bool required = true;
  bool many = false;
};
struct OptionInfo {
  std::vector<std::string> names;  ///< with their dashes
  std::string value_name;          ///< empty: takes no value
  std::vector<std::string> words;  ///< the values it takes, when they are words of a list
  std::string help;
};

/// Paragraphs of one line each are wrapped before column `width`; lines that begin with a blank stay as they are.
std::string WrapParagraphs(const std::string& text, std::size_t width);

/// The command line of one command: what it accepts, and its help. Targets must outlive `Parse`.
///
/// Every error is a `UsageError` with one line. Numbers are read by the library's routine, so a negative number may
/// follow an option ("--height -5"), and a decimal comma or a trailing letter is refused.
class CommandLine {
 public:
  /// \param name e.g. "orbmath project". \param summary one sentence. \param notes text behind the options in the help.
  CommandLine(const std::string& name, const std::string& summary, const std::string& notes);
  ~CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  /// A required argument without a name in front.
  void Argument(const std::string& name, std::string* target, const std::string& help);
  /// A required argument that names the file to be written. Right behind a value of an option that may be repeated it
  /// is refused when there is such a file: `ortho IMAGE --dem a.tif b.tif` has most likely forgotten it.
  void OutputArgument(const std::string& name, std::string* target, const std::string& help);
  /// Any number of arguments, at least `least`.
  void Arguments(const std::string& name, std::vector<std::string>* target, int least, const std::string& help);

  void Flag(const std::string& name, bool* target, const std::string& help);
  void Text(const std::string& name, const std::string& value_name, std::string* target, const std::string& help);
  /// A text option that may be repeated.
  void Texts(const std::string& name, const std::string& value_name, std::vector<std::string>* target,
             const std::string& help);
  /// A finite number.
  void Number(const std::string& name, const std::string& value_name, std::optional<double>* target,
              const std::string& help);
  /// Exactly `count` finite numbers behind one name; the target stays empty without it.
  void Numbers(const std::string& name, const std::string& value_names, std::size_t count, std::vector<double>* target,
               const std::string& help);
  /// A whole number from `least` to `most`.
  void Count(const std::string& name, const std::string& value_name, int least, int most, std::optional<int>* target,
             const std::string& help);
  /// One of some words; the target becomes the number of the word.
  void Choice(const std::string& name, const std::vector<std::string>& words, int* target, const std::string& help);

  /// What has been declared, in its order.
  const std::vector<ArgumentInfo>& DeclaredArguments() const;
  const std::vector<OptionInfo>& DeclaredOptions() const;
  /// "orbmath project MODEL [POINTS...] [options]"
  std::string Usage() const;

  /// Reads the arguments behind the command's name.
  /// \return false when help was asked for and has been printed. \throws UsageError
  bool Parse(const std::vector<std::string>& arguments);

 private:
  struct Parser;
  std::unique_ptr<Parser> parser_;
};

}  // namespace orbmath_tool

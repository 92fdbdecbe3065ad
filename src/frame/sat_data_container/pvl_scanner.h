#pragma once
// The characters of a PVL text, with their line.

#include <cstddef>
#include <string>
#include <string_view>

namespace SatCommonUtils {

/// Thrown, within the conversion only, where a text stops being PVL.
struct PvlFault {
  std::size_t line;
  std::string text;
};

/// Walks a PVL text. A line ends with CR, LF or CR LF.
class PvlScanner {
 public:
  /// A place to come back to.
  struct Mark {
    std::size_t position;
    std::size_t line;
  };

  explicit PvlScanner(std::string_view text) : text_(text) {}

  Mark Save() const { return {position_, line_}; }
  void Restore(const Mark& mark);
  std::size_t Line() const { return line_; }

  /// Passes over blanks, line ends and comments: "/* */", "#" to the end of the line.
  void SkipBlanks();
  /// As above, and over "//" to the end of the line, which is a comment only where no value can stand.
  void SkipBlanksBeforeStatement();
  /// Passes over blanks and a unit in angle brackets after a value.
  void SkipUnit();

  bool AtEnd() const { return position_ == text_.size(); }
  /// The next character, or NUL at the end.
  char Peek() const { return AtEnd() ? '\0' : text_[position_]; }
  /// Passes over `c` when it is the next character. \return whether it was.
  bool Take(char c);
  /// The characters up to a blank, a comment or one of `stops`; may be empty.
  std::string_view TakeWord(std::string_view stops);
  /// The text between quotes; the next character is the first of them.
  std::string_view TakeQuoted();

 private:
  bool StartsWith(std::string_view prefix) const { return text_.substr(position_, prefix.size()) == prefix; }
  std::string_view Advance(std::size_t count);
  // Up to and with the next `mark`. \throws PvlFault naming `what` when there is none.
  std::string_view TakeThrough(std::string_view mark, const char* what);

  std::string_view text_;
  std::size_t position_ = 0;
  std::size_t line_ = 1;
};

}  // namespace SatCommonUtils

#pragma once
/// \file
/// JSON cut into records, one a line: lines of objects, an array of objects, or the features of a collection.

#include <string>
#include <string_view>

namespace orbmath_tool {

/// Whether a file that begins like this holds JSON.
bool LooksLikeJson(std::string_view front);

/// Cuts JSON (RFC 8259, RFC 7464, RFC 7946) into its objects as the bytes come, each as one line: objects one after the
/// other, those of an array, or those of a member "features". What is between them, commas and the collection's other
/// members, is left out; what is no JSON or no object stays a line, for whoever parses it to refuse, and so does the
/// end of a file whose brackets are not all closed. An object's bytes beyond the longest line are dropped, so that no
/// input makes it grow.
class JsonRecordCutter {
 public:
  /// Appends the lines that are complete with these bytes.
  void Feed(std::string_view bytes, std::string* lines);
  /// Appends what is left at the end of the input.
  void Finish(std::string* lines);

 private:
  void Take(char c, std::string* lines);
  void TakeInString(char c);
  void Open(char c);
  void Close(char c, std::string* lines);
  void Keep(char c);
  void Emit(std::string* lines);

  std::string record_;
  std::string last_string_;  ///< The string that ended last, at the depth of a collection's members.
  std::string key_;
  int depth_ = 0;
  int base_ = 0;  ///< The depth at which records begin.
  bool recording_ = false;
  bool in_string_ = false;
  bool escaped_ = false;
  bool garbage_ = false;  ///< The record is a line that is no JSON.
  bool scalar_ = false;   ///< The record is a number, a text or a word where an object should stand.
};

}  // namespace orbmath_tool

#pragma once
/// \file
/// Named results of a command, as a table for people or as one JSON object.

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "report/json.h"

namespace orbmath_tool {

/// Rows in the order they are added. Each has a key for programs, a label for people and a unit.
class Report {
 public:
  /// Shortest digits from which the number comes back.
  static constexpr int kExact = -1;

  /// A line between the rows, for people only.
  void Heading(const std::string& text);
  void Text(const std::string& key, const std::string& label, const std::string& value);
  void Count(const std::string& key, const std::string& label, std::size_t value);
  /// A number that is not finite is "none" for people and null for programs.
  void Number(const std::string& key, const std::string& label, double value, int digits, const std::string& unit);
  /// Rows for programs with a value of their own making, and for people lines that are already laid out.
  void Json(const std::string& key, const JsonWriter& value);
  void Json(const std::string& key, JsonWriter&& value);
  void Lines(std::string lines);
  /// A long array: its elements for programs and its lines for people are made while they are printed. What `text`
  /// refers to must live until then. \param text of row `row`, for programs or for people.
  void Rows(const std::string& key, std::size_t count, std::function<std::string(std::size_t row, bool json)> text);

  /// Prints everything to standard output, or, when that is taken by a file, to standard error.
  void Print(bool json, bool output_is_taken = false) const;

 private:
  struct Row {
    std::string key;  ///< Empty: for people only.
    std::string json;
    std::string label;  ///< Empty: `text` is a whole line, or, when that is empty too, for programs only.
    std::string text;
    std::size_t count = 0;
    std::function<std::string(std::size_t, bool)> rows{};  ///< Empty: the texts are all.
  };
  std::vector<Row> rows_;
};

}  // namespace orbmath_tool

#pragma once
/// \file
/// Points that a command needs all at once: read whole, with columns by name, and refused with line numbers.

#include <cstddef>
#include <string>
#include <vector>

#include "commands/command_line.h"
#include "points/line_block.h"

namespace orbmath_tool {

/// A column that a table may or must have.
struct TableColumn {
  std::string name;
  std::vector<std::string> other_names;  ///< What headers call it too, in lower case.
  bool required = true;
  double fallback = 0.0;  ///< The value of an optional column that a line or the whole file does not have.
};

/// Names of the columns that occur in tables of points, for the commands to choose from.
namespace columns {
extern const TableColumn kLat, kLon, kHeight, kLine, kSample, kMeasuredLine, kMeasuredSample, kSigma;
}

/// A table of points: columns of numbers, and where each row stood.
class PointTable {
 public:
  /// Declares the option `--columns`.
  static void DeclareColumns(CommandLine& line, std::string* target);

  /// Reads a file ("-" is standard input).
  /// \param wanted the columns in the order in which a file without names has them; optional ones come last.
  /// \param named the names of the file's columns joined by commas, others are passed over; empty: the first line of
  /// the file if it consists of names, or else the order of `wanted`.
  /// \throws UsageError when `named` lacks a required column.
  /// \throws Failure naming file and line, after notes about the first refused lines, when a line is no point.
  PointTable(const std::string& file, const std::vector<TableColumn>& wanted, const std::string& named);

  /// The file's name, for messages.
  const std::string& Name() const { return name_; }
  std::size_t size() const { return lines_.size(); }
  /// The values of the wanted column number `column`.
  const std::vector<double>& Values(std::size_t column) const { return values_[column]; }
  /// Where row `row` stood, as "file:line".
  std::string Place(std::size_t row) const { return name_ + ":" + std::to_string(lines_[row]); }
  std::size_t Line(std::size_t row) const { return lines_[row]; }

  /// Refuses rows of which `why(row)` gives a reason; an empty one is none. \throws Failure as the constructor.
  template <class Why>
  void Refuse(Why why) const {
    Refusals refused;
    for (std::size_t row = 0; row < size(); ++row) {
      std::string reason = why(row);
      if (!reason.empty()) refused.push_back({lines_[row], std::move(reason)});
    }
    ThrowRefused(refused);
  }

 private:
  /// Lines by their numbers in the file.
  using Refusals = std::vector<Refusal>;

  void ThrowRefused(const Refusals& refused) const;

  std::string name_;
  std::vector<std::vector<double>> values_;
  std::vector<std::size_t> lines_;
};

/// Refuses rows whose latitude or longitude cannot be one. \param lat, lon columns of the table.
void RefuseBadGround(const PointTable& table, std::size_t lat, std::size_t lon);
/// Refuses rows whose standard deviation is not above 0.
void RefuseBadSigma(const PointTable& table, std::size_t sigma);

}  // namespace orbmath_tool

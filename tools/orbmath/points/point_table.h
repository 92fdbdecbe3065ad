#pragma once
/// \file
/// Tables that a command needs all at once: read whole, with columns by name, and refused with line numbers.

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commands/command_line.h"
#include "points/line_block.h"
#include "points/table_layout.h"

namespace orbmath_tool {

class CharBuffer;

/// A table: columns of numbers and of texts, and where each row stood.
class PointTable {
 public:
  /// Declares the option `--columns`.
  static void DeclareColumns(CommandLine& line, std::string* target);

  /// Reads a file ("-" is standard input).
  /// \param wanted the columns in the order in which a file without names has them; optional ones come last.
  /// \param named the names of the file's columns joined by commas, others are passed over; empty: the first line of
  /// the file if it consists of names, or such a comment before it, or else the order of `wanted`.
  /// \throws UsageError when `named` lacks a required column.
  /// \throws Failure naming file and line, after notes about the first refused lines, when a line is no row.
  PointTable(const std::string& file, const std::vector<TableColumn>& wanted, const std::string& named);

  /// The file's name, for messages.
  const std::string& Name() const { return name_; }
  std::size_t size() const { return lines_.size(); }
  /// Whether the file has the wanted column number `column`, by name or, without names, perhaps in some of its rows.
  bool Has(std::size_t column) const { return column < found_.size() && found_[column]; }
  /// The values of the wanted column number `column`, one that is a number.
  const std::vector<double>& Values(std::size_t column) const { return values_[column]; }
  /// The same for a caller who keeps them: the table has them no more.
  std::vector<double> TakeValues(std::size_t column) { return std::exchange(values_[column], {}); }
  /// A value of a column that is a text; it lives as long as the table or a subset of it.
  std::string_view Text(std::size_t column, std::size_t row) const {
    return row < texts_[column].size() ? texts_[column][row] : std::string_view();
  }
  /// The name of row `row` (`columns::kId`), or an empty text.
  std::string_view Id(std::size_t row) const { return id_ == kNone ? std::string_view() : Text(id_, row); }
  /// What a message calls row `row`: where it stood, as "file:line", behind its name, where it has one.
  std::string Place(std::size_t row) const;
  /// The same without the name of the file, for tables whose file has been said.
  std::string ShortPlace(std::size_t row) const;
  /// How long the longest of them can be.
  std::size_t ShortPlaceWidth() const;
  std::size_t Line(std::size_t row) const { return lines_[row]; }

  /// The table of these rows alone, in their order. \param rows ascending.
  PointTable Subset(const std::vector<std::size_t>& rows) const;

  /// Refuses rows of which `why(row)` gives a reason; an empty one is none. \throws Failure as the constructor.
  template <class Why>
  void Refuse(Why why) const {
    Refusals refused;
    for (std::size_t row = 0; row < size(); ++row) {
      std::string reason = why(row);
      if (!reason.empty()) refused.push_back({row, std::move(reason)});
    }
    ThrowRefused(refused, true);
  }

 private:
  /// Rows, or lines by their numbers in the file.
  using Refusals = std::vector<Refusal>;
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  PointTable() = default;

  /// \param line number of the block's first line in the file.
  void Append(const LineBlock& block, std::size_t line);
  std::string_view Keep(std::string_view text);
  void ThrowRefused(const Refusals& refused, bool rows) const;

  std::string name_;
  std::vector<bool> found_;
  std::vector<std::vector<double>> values_;
  /// Columns without a single text have no elements.
  std::vector<std::vector<std::string_view>> texts_;
  /// What the texts refer to, in pieces that are never moved.
  std::shared_ptr<std::deque<std::string>> kept_ = std::make_shared<std::deque<std::string>>();
  std::vector<std::size_t> lines_;
  std::size_t id_ = kNone;
};

/// Refuses rows whose latitude or longitude cannot be one. \param lat, lon columns of the table.
void RefuseBadGround(const PointTable& table, std::size_t lat, std::size_t lon);
/// Refuses rows whose standard deviation is not above 0.
void RefuseBadSigma(const PointTable& table, std::size_t sigma);

}  // namespace orbmath_tool

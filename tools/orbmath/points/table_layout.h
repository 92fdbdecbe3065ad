#pragma once
/// \file
/// What the columns of a table are: their names, how its fields are kept apart, and the way from its rows to a block.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "points/line_block.h"

namespace orbmath_tool {

/// A column that a table may or must have.
struct TableColumn {
  std::string name;
  /// What headers call it too, as `KeyOfName` gives it; earlier ones count first.
  std::vector<std::string> other_names;
  bool required = true;
  double fallback = 0.0;  ///< The value of an optional number that a line or the whole file does not have.
  bool is_text = false;   ///< Kept as it stands; an optional text that is not there is empty.
  Quantity quantity = Quantity::Plain;
  bool may_be_missing = false;  ///< As `InputColumn::may_be_missing`.
  std::string hint{};           ///< What else helps where a required column is not there, for messages.

  /// The same column where a file need not have it.
  TableColumn Optional(double value = 0.0) const {
    TableColumn copy = *this;
    copy.required = false;
    copy.fallback = value;
    return copy;
  }
};

/// Names of the columns that occur in tables of points, for the commands to choose from.
namespace columns {
extern const TableColumn kLat, kLon, kHeight, kLine, kSample, kMeasuredLine, kMeasuredSample, kSigma;
/// Texts: the name of a point, of an image, and what a point is for ("control", "check"); optional as they stand.
extern const TableColumn kId, kImage, kRole;
/// Coordinates of a reference system in the place of longitude and latitude.
extern const TableColumn kEast, kNorth;
/// Line and sample of tables that hold image points alone, where y and x can mean nothing else.
extern const TableColumn kLineOrY, kSampleOrX;
}  // namespace columns

/// What stands between the fields of a table.
enum class Separator : unsigned char { Blanks, Comma, Semicolon, Tab };

/// The columns of a file, in its order, and what becomes of them.
struct TableLayout {
  struct Field {
    enum class Kind : unsigned char { Number, Text, Ignored };
    Kind kind = Kind::Ignored;
    std::size_t target = 0;  ///< place in `LineBlock::in`, or in `LineBlock::texts`
  };

  Separator separator = Separator::Blanks;
  bool is_json = false;  ///< The lines are JSON records, whose members have the names of the fields.
  std::vector<std::string> names;
  std::vector<Field> fields;
  /// The wanted columns that are numbers, as `LineBlock::in` has them; texts have a place there too, which stays empty.
  std::vector<InputColumn> numbers;
  std::vector<bool> found;  ///< Of each wanted column, whether the file has it.
  /// Names of `LineBlock::texts`: the wanted texts in their places (of numbers: empty names and no values), and behind
  /// them the file's other columns where they are kept.
  std::vector<std::string> texts;
  std::size_t wanted = 0;
  bool more_allowed = false;  ///< Fields behind the last one are passed over instead of being an error.
  std::string missing;        ///< The first required column that is not there; empty: none.
  std::string hint;           ///< That column's.
  std::string twice;          ///< A number's name that two columns have; empty: none.

  /// Whether texts travel to the output: a row goes along then even when its numbers cannot be read.
  bool Travels() const { return texts.size() > wanted; }
  /// Why the names cannot be used: a column is missing, or which one is meant is not clear. Empty: they can.
  std::string Problem() const;
};

/// A name as names are compared: in lower case, without a unit in brackets, quotes, blanks, and `_`, `-`, `.` within
/// it.
std::string KeyOfName(std::string_view name);

/// Names of columns from the text of an option or a header: between semicolons, commas or tabs, or, where there are
/// none of these, between blanks.
std::vector<std::string> ColumnNames(std::string_view line);

/// The layout of a file whose columns have these names.
/// \param keep_others whether columns that are not wanted are kept as texts.
TableLayout LayoutOfNames(const std::vector<TableColumn>& wanted, const std::vector<std::string>& names,
                          Separator separator, bool keep_others);
/// The layout of a file that has the wanted columns in their order, optional ones perhaps missing at the end; optional
/// texts are in no such file.
TableLayout LayoutOfOrder(const std::vector<TableColumn>& wanted, Separator separator);

/// Finds out from the front of a file how it is laid out.
class LayoutFinder {
 public:
  /// How much a first line of words must look like a header to be taken for one.
  enum class Header : unsigned char { Words, KnownNames };

  /// \param wanted must outlive the finder. \param names from an option; empty: those of the file.
  LayoutFinder(const std::vector<TableColumn>& wanted, std::vector<std::string> names, bool keep_others, Header header);

  /// Looks at the next lines of the file. A header may stand in a comment, when it has as many names as the first row
  /// has fields and two of them are known. \return true when the layout is known: there was a header or a row.
  /// \param is_json whether the lines are JSON records.
  bool Look(std::string_view text, bool is_json = false);

  const TableLayout& Layout() const { return layout_; }
  /// The line of names among the lines looked at last, which is no row; empty when there was none.
  std::string_view HeaderLine() const { return header_line_; }
  /// Whether names say where the columns are, instead of their order.
  bool HasNames() const { return has_names_; }
  /// Whether the first row has words alone, as a line of names would have that are not known.
  bool StartsWithWords() const { return starts_with_words_; }

 private:
  std::size_t KnownAmong(const std::vector<std::string>& names) const;
  bool TakeFirstLine(std::string_view line);
  void TakeFirstRecord(std::string_view line);

  const std::vector<TableColumn>& wanted_;
  std::vector<std::string> names_;
  const bool keep_others_;
  const Header header_;
  std::string comment_;  ///< The last comment that may be a header.
  TableLayout layout_;
  std::string_view header_line_;
  bool has_names_ = false;
  bool starts_with_words_ = false;
};

/// Reads `text`, whole lines that must outlive the block, into numbers and texts of `block`; forgets what it held.
/// Fields may stand in quotes, within which a quote is doubled (RFC 4180), on one line.
void ParseRows(std::string_view text, const TableLayout& layout, LineBlock* block);

/// `ParseRows` of a layout that is JSON; texts that are not wanted stay JSON.
void ParseRecords(std::string_view text, const TableLayout& layout, LineBlock* block);

/// The fields of a line without quotes.
std::vector<std::string> SplitRow(std::string_view line, Separator separator);

}  // namespace orbmath_tool

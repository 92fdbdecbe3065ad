#pragma once
/// \file
/// Points as columns of numbers, and the way from text lines to them and back.

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "points/char_buffer.h"

namespace orbmath_tool {

/// What a number of the input is, as far as reading it goes.
enum class Quantity : unsigned char { Plain, Latitude, Longitude };

/// One number of a line of points.
struct InputColumn {
  std::string name;
  /// Stands in when the line ends before this field. Columns with a fallback are the last ones.
  std::optional<double> fallback{};
  /// Latitudes and longitudes may be written as degrees, minutes and seconds too (`ParseAngle`).
  Quantity quantity = Quantity::Plain;
  /// "-", "nan" or nothing between two separators is a NaN instead of an error.
  bool may_be_missing = false;
};

/// The fields that a line of points consists of.
struct LineLayout {
  std::vector<InputColumn> columns;
};

/// One field of a line of results.
struct OutputColumn {
  std::string name;
  int digits = 0;                    ///< Digits after the point.
  std::vector<std::string> words{};  ///< When not empty, the value is the number of a word.
  const char* letters = nullptr;     ///< Not null: an angle in degrees, minutes and seconds, see `PrintAngle`.
};

/// Where ground points stand in a block, for forms of output that say where a point is.
struct GroundPlace {
  bool is_input = false;  ///< Among the columns read, else among those computed.
  std::size_t lat = 0;
  std::size_t lon = 1;
  std::size_t height = 2;
};

/// The texts of a block that travel to the output.
struct Travellers {
  std::size_t first = 0;           ///< The first of them in `LineBlock::texts`.
  std::vector<std::string> names;  ///< Theirs, none that of a result.
  bool is_json = false;            ///< They are JSON as they stand.

  std::size_t size() const { return names.size(); }
};

/// Something wrong with one line or one point.
struct Refusal {
  std::size_t index;
  std::string reason;
};

/// One line of the input.
struct PointLine {
  enum class Kind : unsigned char { PassThrough, Point, Refused };
  Kind kind;
  /// The whole line when it passes through (comment or blank), else the comment behind the fields with its '#'.
  std::string_view text;
};

/// A block of points: what its lines say, the columns read from them and the columns computed from those.
struct LineBlock {
  std::size_t first_line = 1;  ///< Number of the first line in the input, from 1.
  std::size_t count = 0;       ///< Points.
  std::size_t filled = 0;      ///< Points for which a fallback stood in.
  std::vector<PointLine> lines;
  std::vector<Refusal> refused;         ///< Lines that are no points, by position in `lines`, ascending.
  std::vector<std::vector<double>> in;  ///< [column][point]
  /// [column][point]: the fields of a table that are kept as texts.
  std::vector<std::vector<std::string_view>> texts;
  std::deque<std::string> unquoted;  ///< What a text refers to that does not stand in its line as it reads.
  std::vector<std::vector<double>> out;
  std::vector<int> marks;  ///< What a command wants to remember of each point; the driver does not look at it.
  /// Points without numbers, by number, ascending: rows whose texts travel though a number of theirs cannot be read.
  std::vector<Refusal> unread;
  std::vector<Refusal> failed;  ///< Points that could not be computed, by number, ascending.

  /// Notes that point `index` has no result. Calls come in ascending order.
  void Fail(std::size_t index, std::string reason) { failed.push_back({index, std::move(reason)}); }
};

/// Reads `text`, whole lines that must outlive the block, into lines, refusals and input columns of `block`; forgets
/// what it held. Fields stand between blanks, tabs or commas; '#' starts a comment; a carriage return ends a line too.
void ParseLines(std::string_view text, const LineLayout& layout, LineBlock* block);

/// Appends one line of output for each line of `block`: passed through, computed, or "ERROR: " and the reason; behind
/// results the texts that travel. \return how many of them are errors.
std::size_t PrintLines(const LineBlock& block, const std::vector<OutputColumn>& columns, const Travellers& travellers,
                       CharBuffer* out);
/// The same as one JSON object a point; comments and blank lines give nothing.
std::size_t PrintJson(const LineBlock& block, const std::vector<OutputColumn>& columns, const Travellers& travellers,
                      CharBuffer* out);
/// The same as CSV (RFC 4180): the texts that travel, the results, and the error of a point without any.
std::size_t PrintCsv(const LineBlock& block, const std::vector<OutputColumn>& columns, const Travellers& travellers,
                     CharBuffer* out);
/// The same as features of GeoJSON (RFC 7946) between commas, each on a line; a point without results is one without a
/// place.
std::size_t PrintGeoJson(const LineBlock& block, const std::vector<OutputColumn>& columns, const Travellers& travellers,
                         const GroundPlace& place, CharBuffer* out);

/// The names of the columns of `PrintCsv`, as a line.
std::string CsvHeader(const std::vector<OutputColumn>& columns, const Travellers& travellers);

}  // namespace orbmath_tool

// Whole tables of points: header, columns, and what refuses a row.

#include "points/point_table.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "errors.h"
#include "frame/zxstd/number_text.h"
#include "points/ground_marks.h"
#include "points/line_block.h"
#include "points/line_source.h"

namespace orbmath_tool {

namespace columns {

const TableColumn kLat{"lat", {"latitude"}};
const TableColumn kLon{"lon", {"longitude", "long", "lng"}};
const TableColumn kHeight{"height", {"h", "hgt", "alt", "altitude", "z"}};
const TableColumn kLine{"line", {"row"}};
const TableColumn kSample{"sample", {"samp", "column", "col"}};
const TableColumn kMeasuredLine{"measured_line", {"measured_row"}};
const TableColumn kMeasuredSample{"measured_sample", {"measured_column", "measured_col"}};
const TableColumn kSigma{"sigma", {"sigma_px"}, false, 1.0};

}  // namespace columns

namespace {

/// How many refused lines are named.
constexpr std::size_t kNamedRefusals = 10;
/// Columns of a file beyond this one are not looked at.
constexpr std::size_t kMostColumns = 1000;

/// A name as headers write it: without quotes, without a unit behind, in lower case.
std::string PlainName(std::string_view text) {
  std::string name;
  for (const char c : text.substr(0, text.find_first_of("(["))) {
    if (c == '"' || c == '\'' || c <= ' ') continue;
    name += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return name;
}

bool IsNumber(std::string_view text) {
  double value = 0.0;
  return SatCommonUtils::ParseDouble(text, &value);
}

/// Which wanted column each column of a file is.
class ColumnMap {
 public:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  /// Without names: the wanted columns in their order, the optional ones perhaps missing.
  explicit ColumnMap(const std::vector<TableColumn>& wanted) {
    for (std::size_t i = 0; i < wanted.size(); ++i) {
      targets_.push_back(i);
      layout_.columns.push_back({wanted[i].name});
      if (!wanted[i].required) layout_.columns.back().fallback = wanted[i].fallback;
    }
  }

  /// With names. `Missing` tells whether all required ones were there.
  ColumnMap(const std::vector<TableColumn>& wanted, const std::vector<std::string>& names) {
    layout_.more_allowed = true;
    std::vector<bool> found(wanted.size());
    for (const std::string& name : names) {
      const std::size_t target = Find(wanted, name);
      const bool taken = target != kNone && !found[target];
      targets_.push_back(taken ? target : kNone);
      layout_.columns.push_back({name, std::nullopt, !taken});
      if (taken) found[target] = true;
    }
    // What stands behind the last column of use does not matter.
    while (!targets_.empty() && targets_.back() == kNone) {
      targets_.pop_back();
      layout_.columns.pop_back();
    }
    for (std::size_t i = 0; i < wanted.size() && missing_.empty(); ++i) {
      if (wanted[i].required && !found[i]) missing_ = wanted[i].name;
    }
  }

  const LineLayout& Layout() const { return layout_; }
  /// Appends the points of a block to the wanted columns.
  void Append(const LineBlock& block, std::vector<std::vector<double>>* wanted) const {
    for (std::size_t c = 0; c < targets_.size(); ++c) {
      if (targets_[c] == kNone) continue;
      std::vector<double>& values = (*wanted)[targets_[c]];
      values.insert(values.end(), block.in[c].begin(), block.in[c].end());
    }
  }
  /// The first required column that has no name, or nothing.
  const std::string& Missing() const { return missing_; }

 private:
  static std::size_t Find(const std::vector<TableColumn>& wanted, const std::string& name) {
    for (std::size_t i = 0; i < wanted.size(); ++i) {
      const std::vector<std::string>& others = wanted[i].other_names;
      if (wanted[i].name == name || std::find(others.begin(), others.end(), name) != others.end()) return i;
    }
    return kNone;
  }

  LineLayout layout_;
  std::vector<std::size_t> targets_;
  std::string missing_;
};

/// Names between commas, in which blanks may stand, or, when there are no commas, between blanks.
std::vector<std::string> NamesOf(std::string_view line) {
  std::vector<std::string> names;
  if (line.find(',') == std::string_view::npos) {
    for (const std::string_view field : SplitFields(line, kMostColumns)) names.push_back(PlainName(field));
    return names;
  }
  for (std::size_t begin = 0; begin <= line.size() && names.size() < kMostColumns;) {
    const std::size_t end = std::min(line.find(',', begin), line.size());
    names.push_back(PlainName(line.substr(begin, end - begin)));
    begin = end + 1;
  }
  return names;
}

/// The first line of `text`, whole lines, that is neither blank nor a comment, and what comes behind it.
struct FirstLine {
  explicit FirstLine(std::string_view text) {
    std::size_t begin = 0;
    while (begin < text.size() && !found) {
      const std::size_t end = text.find('\n', begin);
      line = text.substr(begin, end - begin);
      ++number;
      begin = end + 1;
      found = !SplitFields(line, 1).empty();
    }
    rest = text.substr(begin);
  }

  std::string_view line;
  std::string_view rest;
  std::size_t number = 0;  ///< Counted from the front of the text, from 1.
  bool found = false;
};

/// The columns that the first line of a file names.
/// \param place the line, for messages.
ColumnMap MapOfHeader(const std::string& place, std::string_view header, const std::vector<TableColumn>& wanted) {
  ColumnMap map(wanted, NamesOf(header));
  if (map.Missing().empty()) return map;
  throw Failure(place + ": these names have no column '" + map.Missing() + "'; name the columns with --columns");
}

/// True when a line has fields and none of them is a number.
bool IsHeader(std::string_view line) {
  const std::vector<std::string_view> fields = SplitFields(line, kMostColumns);
  return !fields.empty() && std::none_of(fields.begin(), fields.end(), IsNumber);
}

}  // namespace

void PointTable::DeclareColumns(CommandLine& line, std::string* target) {
  line.Text("--columns", "NAMES", target,
            "names of the file's columns joined by commas, any name for one that is passed over (default: the first "
            "line of the file when it holds names, or else the order said below)");
}

PointTable::PointTable(const std::string& file, const std::vector<TableColumn>& wanted, const std::string& named)
    : values_(wanted.size()) {
  ColumnMap map = named.empty() ? ColumnMap(wanted) : ColumnMap(wanted, NamesOf(named));
  if (!map.Missing().empty()) throw UsageError("--columns names no column '" + map.Missing() + "'");
  LineSource source({file});
  name_ = source.Name();
  CharBuffer text;
  LineBlock block;
  Refusals refused;
  std::size_t line = 1;
  bool before_points = true;  // names may still come; comments alone may fill a block
  while (source.Next(&text)) {
    std::string_view points = text.view();
    if (before_points) {
      const FirstLine first(points);
      before_points = !first.found;
      if (IsHeader(first.line)) {
        if (named.empty()) map = MapOfHeader(name_ + ":" + std::to_string(line + first.number - 1), first.line, wanted);
        points = first.rest;
        line += first.number;
      }
    }
    ParseLines(points, map.Layout(), &block);
    for (const Refusal& refusal : block.refused) refused.push_back({line + refusal.index, refusal.reason});
    for (std::size_t i = 0; i < block.lines.size(); ++i) {
      if (block.lines[i].kind == PointLine::Kind::Point) lines_.push_back(line + i);
    }
    map.Append(block, &values_);
    line += block.lines.size();
  }
  ThrowRefused(refused);
  // An optional column that the file does not have.
  for (std::size_t i = 0; i < wanted.size(); ++i) values_[i].resize(lines_.size(), wanted[i].fallback);
}

void PointTable::ThrowRefused(const Refusals& refused) const {
  if (refused.empty()) return;
  for (std::size_t i = 0; i < std::min(refused.size(), kNamedRefusals); ++i) {
    Note(name_ + ":" + std::to_string(refused[i].index) + ": " + refused[i].reason);
  }
  throw Failure(name_ + ": " + std::to_string(refused.size()) +
                (refused.size() == 1 ? " line is not" : " lines are not") + " a usable point; nothing was computed");
}

void RefuseBadGround(const PointTable& table, std::size_t lat, std::size_t lon) {
  table.Refuse([&](std::size_t row) -> std::string {
    const double latitude = table.Values(lat)[row];
    const double longitude = table.Values(lon)[row];
    return IsGround(latitude, longitude) ? "" : WhyNoGround(latitude, longitude);
  });
}

void RefuseBadSigma(const PointTable& table, std::size_t sigma) {
  table.Refuse(
      [&](std::size_t row) -> std::string { return table.Values(sigma)[row] > 0.0 ? "" : "sigma must be above 0"; });
}

}  // namespace orbmath_tool

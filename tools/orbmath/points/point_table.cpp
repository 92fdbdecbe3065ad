// Whole tables: header, columns, and what refuses a row.

#include "points/point_table.h"

#include <algorithm>

#include "errors.h"
#include "points/ground_marks.h"
#include "points/line_block.h"
#include "points/line_source.h"

namespace orbmath_tool {

namespace {

/// How many refused lines are named.
constexpr std::size_t kNamedRefusals = 10;
/// Bytes of texts that are kept in one piece.
constexpr std::size_t kPiece = 256 * 1024;

/// Elements of a column; a column without elements stays so.
template <class T>
std::vector<T> Chosen(const std::vector<T>& column, const std::vector<std::size_t>& rows) {
  std::vector<T> chosen;
  for (const std::size_t row : rows) {
    if (row < column.size()) chosen.push_back(column[row]);
  }
  return chosen;
}

template <class T>
std::vector<std::vector<T>> Chosen(const std::vector<std::vector<T>>& columns, const std::vector<std::size_t>& rows) {
  std::vector<std::vector<T>> chosen;
  chosen.reserve(columns.size());
  for (const std::vector<T>& column : columns) chosen.push_back(Chosen(column, rows));
  return chosen;
}

}  // namespace

void PointTable::DeclareColumns(CommandLine& line, std::string* target) {
  line.Text("--columns", "NAMES", target,
            "names of the file's columns joined by commas, any name for one that is passed over (default: the first "
            "line of the file when it holds names, or else the order said below)");
}

PointTable::PointTable(const std::string& file, const std::vector<TableColumn>& wanted, const std::string& named)
    : found_(wanted.size()), values_(wanted.size()), texts_(wanted.size()) {
  const std::vector<std::string> names = ColumnNames(named);
  if (!named.empty()) {
    const TableLayout layout = LayoutOfNames(wanted, names, Separator::Comma, false);
    if (!layout.missing.empty()) {
      throw UsageError("--columns names no column '" + layout.missing + "'" +
                       (layout.hint.empty() ? "" : "; " + layout.hint));
    }
  }
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    if (wanted[i].is_text && wanted[i].name == columns::kId.name) id_ = i;
  }
  LineSource source({file});
  name_ = source.Name();
  LayoutFinder finder(wanted, names, false, LayoutFinder::Header::Words);
  CharBuffer text;
  LineBlock block;
  Refusals refused;
  std::size_t line = 1;
  bool known = false;  // names may still come; comments alone may fill a block
  while (source.Next(&text)) {
    std::string_view rows = text.view();
    if (!known && (known = finder.Look(rows, source.IsJson()))) {
      const std::string_view header = finder.HeaderLine();
      if (!header.empty()) {
        const std::string_view before = rows.substr(0, static_cast<std::size_t>(header.data() - rows.data()));
        line += static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n')) + 1;
        rows.remove_prefix(std::min(before.size() + header.size() + 1, rows.size()));
      }
      const std::string problem = finder.Layout().Problem();
      if (!problem.empty()) {
        throw Failure(name_ + ":" + std::to_string(std::max<std::size_t>(line, 2) - 1) + ": " + problem);
      }
      found_ = finder.Layout().found;
    }
    if (!known) {
      line += static_cast<std::size_t>(std::count(rows.begin(), rows.end(), '\n'));
      continue;
    }
    ParseRows(rows, finder.Layout(), &block);
    for (const Refusal& refusal : block.refused) refused.push_back({line + refusal.index, refusal.reason});
    Append(block, line);
    line += block.lines.size();
  }
  ThrowRefused(refused, false);
}

void PointTable::Append(const LineBlock& block, std::size_t line) {
  for (std::size_t i = 0; i < block.lines.size(); ++i) {
    if (block.lines[i].kind == PointLine::Kind::Point) lines_.push_back(line + i);
  }
  for (std::size_t c = 0; c < values_.size(); ++c) {
    values_[c].insert(values_[c].end(), block.in[c].begin(), block.in[c].end());
    const std::vector<std::string_view>& texts = block.texts[c];
    for (std::size_t i = 0; i < texts.size(); ++i) {
      if (texts_[c].empty() && !texts[i].empty()) texts_[c].resize(lines_.size() - texts.size() + i);
      if (!texts_[c].empty() || !texts[i].empty()) texts_[c].push_back(Keep(texts[i]));
    }
  }
}

std::string_view PointTable::Keep(std::string_view text) {
  std::deque<std::string>& pieces = *kept_;
  if (pieces.empty() || pieces.back().size() + text.size() > pieces.back().capacity()) {
    pieces.emplace_back();
    pieces.back().reserve(std::max(kPiece, text.size()));
  }
  std::string& piece = pieces.back();
  const std::size_t at = piece.size();
  piece += text;
  return std::string_view(piece).substr(at);
}

PointTable PointTable::Subset(const std::vector<std::size_t>& rows) const {
  PointTable subset;
  subset.name_ = name_;
  subset.found_ = found_;
  subset.values_ = Chosen(values_, rows);
  subset.texts_ = Chosen(texts_, rows);
  subset.kept_ = kept_;
  subset.lines_ = Chosen(lines_, rows);
  subset.id_ = id_;
  return subset;
}

std::string PointTable::Place(std::size_t row) const {
  const std::string place = name_ + ":" + std::to_string(lines_[row]);
  return Id(row).empty() ? place : std::string(Id(row)) + " (" + place + ")";
}

std::string PointTable::ShortPlace(std::size_t row) const {
  const std::string place = "line " + std::to_string(lines_[row]);
  return Id(row).empty() ? place : std::string(Id(row)) + " (" + place + ")";
}

std::size_t PointTable::ShortPlaceWidth() const {
  std::size_t id = 0;
  for (std::size_t row = 0; row < lines_.size(); ++row) id = std::max(id, Id(row).size());
  const std::string last = lines_.empty() ? "" : std::to_string(lines_.back());
  return (id == 0 ? 0 : id + 3) + 5 + last.size();
}

void PointTable::ThrowRefused(const Refusals& refused, bool rows) const {
  if (refused.empty()) return;
  for (std::size_t i = 0; i < std::min(refused.size(), kNamedRefusals); ++i) {
    const std::size_t index = refused[i].index;
    Complain((rows ? Place(index) : name_ + ":" + std::to_string(index)) + ": " + refused[i].reason);
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

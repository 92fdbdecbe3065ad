// Tables too large to be kept: read, parsed and handed on block by block.

#include "block/table_rows.h"

#include <algorithm>

#include "errors.h"
#include "points/line_source.h"

namespace orbmath_tool {

namespace {

/// How many refused rows are named.
constexpr std::size_t kNamedRefusals = 10;

/// Lines of `text` in front of `at`, counted.
std::size_t LinesBefore(std::string_view text, const char* at) {
  return static_cast<std::size_t>(std::count(text.data(), at, '\n'));
}

}  // namespace

void RowRefusals::Add(std::string place, const std::string& reason) {
  if (++count_ <= kNamedRefusals) first_.push_back(std::move(place) + ": " + reason);
}

void RowRefusals::Throw(const std::string& file, const std::string& what) const {
  if (count_ == 0) return;
  for (const std::string& each : first_) Note(each);
  throw Failure(file + ": " + std::to_string(count_) + (count_ == 1 ? " line is no " : " lines are no ") + what +
                "; nothing was computed");
}

void ForEachBlock(const std::string& file, const std::vector<TableColumn>& wanted, const std::string& named,
                  const std::string& what,
                  const std::function<void(const LineBlock&, const RowPlaces&, RowRefusals*)>& take) {
  LayoutFinder finder(wanted, ColumnNames(named), false, LayoutFinder::Header::KnownNames);
  LineSource source({file});
  const std::string name = source.Name();
  CharBuffer text;
  LineBlock block;
  RowRefusals refused;
  std::vector<std::size_t> lines;
  std::size_t line = 1;
  bool found = false;
  while (source.Next(&text)) {
    std::string_view rows = text.view();
    if (!found) {
      found = finder.Look(rows, source.IsJson());
      if (!found) {
        line += LinesBefore(rows, rows.data() + rows.size());
        continue;
      }
      const TableLayout& layout = finder.Layout();
      if (!layout.missing.empty()) {
        if (!named.empty()) throw UsageError("--columns names no column '" + layout.missing + "'");
        throw Failure(name + ": its columns lack '" + layout.missing + "'; name them in a header line or by --columns");
      }
      if (!layout.Problem().empty()) throw Failure(name + ": " + layout.Problem());
      if (!finder.HeaderLine().empty()) {
        const char* const behind = finder.HeaderLine().data() + finder.HeaderLine().size();
        const std::size_t feed = rows.find('\n', static_cast<std::size_t>(behind - rows.data()));
        line += LinesBefore(rows, rows.data() + feed + 1);
        rows.remove_prefix(feed + 1);
      }
    }
    ParseRows(rows, finder.Layout(), &block);
    lines.clear();
    for (std::size_t i = 0; i < block.lines.size(); ++i) {
      if (block.lines[i].kind == PointLine::Kind::Point) lines.push_back(line + i);
    }
    for (const Refusal& refusal : block.refused) {
      refused.Add(name + ":" + std::to_string(line + refusal.index), refusal.reason);
    }
    take(block, {&name, &lines}, &refused);
    line += block.lines.size();
  }
  refused.Throw(name, what);
}

}  // namespace orbmath_tool

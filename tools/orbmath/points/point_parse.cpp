// Numbers of a line into the columns of a block.

#include <algorithm>
#include <cmath>
#include <cstring>

#include "frame/zxstd/number_text.h"
#include "points/line_block.h"
#include "points/line_source.h"

namespace orbmath_tool {

namespace {

const std::string kTooLong = "the line is longer than " + std::to_string(kLongestLine - 1) + " bytes";

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

const char* SkipBlanks(const char* at, const char* end) {
  while (at != end && IsBlank(*at)) ++at;
  return at;
}

bool EndsField(const char* at, const char* end) { return at == end || IsBlank(*at) || *at == ',' || *at == '#'; }

const char* FieldEnd(const char* at, const char* end) {
  while (!EndsField(at, end)) ++at;
  return at;
}

/// From the end of a field to the front of the next: blanks and at most one comma.
const char* SkipSeparator(const char* at, const char* end) {
  at = SkipBlanks(at, end);
  return at != end && *at == ',' ? SkipBlanks(at + 1, end) : at;
}

/// A field as it may stand in a message: printable ASCII, not too long.
std::string Quoted(std::string_view field) {
  constexpr std::size_t kShown = 32;
  std::string shown(field.substr(0, kShown));
  for (char& c : shown) c = c < ' ' || c > '~' ? '?' : c;
  return "'" + shown + (field.size() > kShown ? "...'" : "'");
}

std::string Expected(const LineLayout& layout) {
  std::string names;
  for (const InputColumn& column : layout.columns) {
    names += (names.empty() ? "" : " ") + (column.fallback ? "[" + column.name + "]" : column.name);
  }
  return names;
}

/// Reads the fields of one line. Kept apart from the class of a block so that the loop over lines stays readable.
class LineParser {
 public:
  explicit LineParser(const LineLayout& layout) : layout_(layout), values_(layout.columns.size()) {}

  /// Reads a line without its line feed. \return false when it is no point; `Reason` then says why.
  bool Parse(const char* at, const char* end);

  const std::vector<double>& Values() const { return values_; }
  bool Filled() const { return filled_; }
  const std::string& Reason() const { return reason_; }
  /// Where the parsing of a good line ended: its comment, or its end.
  const char* Behind() const { return behind_; }

 private:
  bool Refuse(std::string reason) {
    reason_ = std::move(reason);
    return false;
  }
  bool ReadField(std::size_t column, const char** at, const char* end);

  const LineLayout& layout_;
  std::vector<double> values_;
  bool filled_ = false;
  std::string reason_;
  const char* behind_ = nullptr;
};

bool LineParser::ReadField(std::size_t column, const char** at, const char* end) {
  if (layout_.columns[column].ignored) {
    *at = FieldEnd(*at, end);
    return true;
  }
  double* value = &values_[column];
  const std::size_t used = SatCommonUtils::ParseDoublePrefix({*at, static_cast<std::size_t>(end - *at)}, value);
  const char* stop = *at + used;
  if (used > 0 && EndsField(stop, end) && std::isfinite(*value)) {
    *at = stop;
    return true;
  }
  const std::string& name = layout_.columns[column].name;
  stop = FieldEnd(*at, end);
  if (stop == *at) return Refuse("the field for " + name + " is empty");
  return Refuse(Quoted({*at, static_cast<std::size_t>(stop - *at)}) + " is not a finite number (" + name + ")");
}

bool LineParser::Parse(const char* at, const char* end) {
  const std::size_t wanted = layout_.columns.size();
  std::size_t column = 0;
  for (at = SkipBlanks(at, end); column < wanted && at != end && *at != '#'; ++column) {
    if (!ReadField(column, &at, end)) return false;
    at = SkipSeparator(at, end);
  }
  filled_ = column < wanted;
  const std::size_t found = column;
  for (; column < wanted; ++column) {
    const std::optional<double>& fallback = layout_.columns[column].fallback;
    if (!fallback) {
      return Refuse(std::to_string(found) + (found == 1 ? " field" : " fields") + ", expected: " + Expected(layout_));
    }
    values_[column] = *fallback;
  }
  if (at != end && *at != '#') {
    if (!layout_.more_allowed) {
      return Refuse("more than " + std::to_string(wanted) + " fields, expected: " + Expected(layout_));
    }
    at = std::find(at, end, '#');
  }
  behind_ = at;
  return true;
}

}  // namespace

void ParseLines(std::string_view text, const LineLayout& layout, LineBlock* block) {
  LineParser parser(layout);
  block->count = 0;
  block->filled = 0;
  block->lines.clear();
  block->refused.clear();
  block->failed.clear();
  block->in.resize(layout.columns.size());
  for (std::vector<double>& column : block->in) column.clear();

  const char* at = text.data();
  const char* const text_end = at + text.size();
  while (at != text_end) {
    const auto* feed = static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(text_end - at)));
    const char* const next = feed == nullptr ? text_end : feed + 1;
    const char* end = feed == nullptr ? text_end : feed;
    if (end != at && end[-1] == '\r') --end;
    const char* const first = SkipBlanks(at, end);
    if (static_cast<std::size_t>(end - at) >= kLongestLine) {
      block->refused.push_back({block->lines.size(), kTooLong});
      block->lines.push_back({PointLine::Kind::Refused, {}});
    } else if (first == end || *first == '#') {
      block->lines.push_back({PointLine::Kind::PassThrough, {at, static_cast<std::size_t>(end - at)}});
    } else if (parser.Parse(at, end)) {
      const char* const behind = parser.Behind();
      block->lines.push_back({PointLine::Kind::Point, {behind, static_cast<std::size_t>(end - behind)}});
      for (std::size_t i = 0; i < block->in.size(); ++i) block->in[i].push_back(parser.Values()[i]);
      block->filled += parser.Filled() ? 1 : 0;
      ++block->count;
    } else {
      const char* const comment = std::find(at, end, '#');
      block->refused.push_back({block->lines.size(), parser.Reason()});
      block->lines.push_back({PointLine::Kind::Refused, {comment, static_cast<std::size_t>(end - comment)}});
    }
    at = next;
  }
}

std::vector<std::string_view> SplitFields(std::string_view line, std::size_t most) {
  std::vector<std::string_view> fields;
  const char* const end = line.data() + line.size();
  const char* at = SkipBlanks(line.data(), end);
  while (at != end && *at != '#' && fields.size() < most) {
    const char* const stop = FieldEnd(at, end);
    fields.emplace_back(at, static_cast<std::size_t>(stop - at));
    at = SkipSeparator(stop, end);
  }
  return fields;
}

}  // namespace orbmath_tool

// Numbers of a line into the columns of a block.

#include <algorithm>
#include <cmath>

#include "frame/zxstd/number_text.h"
#include "points/field_text.h"
#include "points/line_block.h"
#include "points/line_walk.h"

namespace orbmath_tool {

namespace {

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
  double* value = &values_[column];
  const std::size_t used = SatCommonUtils::ParseDoublePrefix({*at, static_cast<std::size_t>(end - *at)}, value);
  const char* stop = *at + used;
  if (used > 0 && EndsField(stop, end) && std::isfinite(*value)) {
    *at = stop;
    return true;
  }
  stop = FieldEnd(*at, end);
  const std::string_view field(*at, static_cast<std::size_t>(stop - *at));
  *at = stop;
  return ReadUnusualNumber(field, layout_.columns[column], value, &reason_);
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
      return Refuse(std::to_string(found) + (found == 1 ? " field" : " fields") +
                    ", expected: " + NamesOf(layout_.columns));
    }
    values_[column] = *fallback;
  }
  if (at != end && *at != '#') {
    return Refuse("more than " + std::to_string(wanted) + " fields, expected: " + NamesOf(layout_.columns));
  }
  behind_ = at;
  return true;
}

}  // namespace

void ParseLines(std::string_view text, const LineLayout& layout, LineBlock* block) {
  LineParser parser(layout);
  block->in.resize(layout.columns.size());
  for (std::vector<double>& column : block->in) column.clear();
  WalkLines(text, block, [&](const char* at, const char* end, const char** behind, std::string* reason) {
    if (!parser.Parse(at, end)) {
      *behind = std::find(at, end, '#');
      *reason = parser.Reason();
      return false;
    }
    for (std::size_t i = 0; i < block->in.size(); ++i) block->in[i].push_back(parser.Values()[i]);
    block->filled += parser.Filled() ? 1 : 0;
    *behind = parser.Behind();
    return true;
  });
}

}  // namespace orbmath_tool

// Rows of a table into the columns of a block. Quotes as in RFC 4180, within one line.

#include <algorithm>
#include <cmath>
#include <cstring>

#include "points/field_text.h"
#include "points/line_walk.h"
#include "points/parsed_row.h"
#include "points/table_layout.h"

namespace orbmath_tool {

namespace {

char CharOf(Separator separator) {
  return separator == Separator::Comma ? ',' : separator == Separator::Semicolon ? ';' : '\t';
}

/// One field as it stands in its line.
struct Field {
  std::string_view text;  ///< without the outer quotes
  bool has_quotes = false;
  bool has_doubled = false;  ///< quotes are doubled within it
};

/// Cuts a line into its fields, one call of `Next` each.
class FieldCutter {
 public:
  FieldCutter(const char* begin, const char* end, Separator separator)
      : at_(begin), end_(end), separator_(separator), mark_(CharOf(separator)) {
    SkipGap();
    more_ = at_ != end_ && !(separator_ == Separator::Blanks && *at_ == '#');
  }

  /// Whether there is one more field.
  bool More() const { return more_; }
  /// Where the next field begins, or what stands behind the last one.
  const char* At() const { return at_; }

  /// \param is_last fields of the row end with this one: what stands behind a '#' is a comment.
  /// \return false when a quote is not closed, or is followed by something else than the end of its field.
  bool Next(bool is_last, Field* field) {
    *field = Field();
    if (at_ != end_ && *at_ == '"') {
      if (!CutQuotes(field)) return false;
    } else {
      const char* const begin = at_;
      at_ = separator_ == Separator::Blanks ? EndAmongBlanks() : EndAtMark(is_last);
      const char* stop = at_;
      while (stop != begin && IsGap(stop[-1])) --stop;
      field->text = {begin, static_cast<std::size_t>(stop - begin)};
    }
    SkipSeparator();
    return true;
  }

 private:
  bool IsGap(char c) const { return separator_ == Separator::Tab ? c == ' ' || c == '\r' : IsBlank(c); }
  void SkipGap() {
    while (at_ != end_ && IsGap(*at_)) ++at_;
  }

  const char* EndAmongBlanks() const {
    return std::find_if(at_, end_, [](char c) { return IsBlank(c) || c == ',' || c == '#'; });
  }

  const char* EndAtMark(bool is_last) const {
    const auto* found = static_cast<const char*>(std::memchr(at_, mark_, static_cast<std::size_t>(end_ - at_)));
    const char* const stop = found == nullptr ? end_ : found;
    if (!is_last) return stop;
    for (const char* c = at_; c != stop; ++c) {
      if (*c == '#' && (c == at_ || IsBlank(c[-1]))) return c;
    }
    return stop;
  }

  bool CutQuotes(Field* field) {
    field->has_quotes = true;
    const char* const begin = ++at_;
    while (true) {
      at_ = std::find(at_, end_, '"');
      if (at_ == end_) return false;
      if (at_ + 1 == end_ || at_[1] != '"') break;
      field->has_doubled = true;
      at_ += 2;
    }
    field->text = {begin, static_cast<std::size_t>(at_ - begin)};
    ++at_;
    if (separator_ == Separator::Blanks) return at_ == end_ || IsBlank(*at_) || *at_ == ',' || *at_ == '#';
    SkipGap();
    return at_ == end_ || *at_ == mark_ || *at_ == '#';
  }

  /// To the front of the next field.
  void SkipSeparator() {
    SkipGap();
    if (separator_ == Separator::Blanks) {
      if (at_ != end_ && *at_ == ',') ++at_;
      SkipGap();
      more_ = at_ != end_ && *at_ != '#';
      return;
    }
    more_ = at_ != end_ && *at_ == mark_;
    if (!more_) return;
    ++at_;
    SkipGap();
  }

  const char* at_;
  const char* const end_;
  const Separator separator_;
  const char mark_;
  bool more_ = false;
};

/// Whether commas between digits and lone blanks both part the fields of a line, as in "47,3 8,5": to its writer those
/// are two numbers, not four.
bool HasDecimalCommas(const char* begin, const char* end) {
  const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
  bool comma = false;
  bool blank = false;
  bool inside = false;  // a pair of quotes
  char last = ',';      // the last character that is no blank
  for (const char* at = begin; at != end && (inside || *at != '#'); ++at) {
    inside = inside != (*at == '"');
    if (IsBlank(*at)) continue;
    if (!inside && at != begin) {
      comma = comma || (*at == ',' && is_digit(at[-1]) && at + 1 != end && is_digit(at[1]));
      blank = blank || (IsBlank(at[-1]) && *at != ',' && last != ',');
    }
    last = *at;
  }
  return comma && blank;
}

std::string WithoutDoubled(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    plain += text[i];
    if (text[i] == '"') ++i;
  }
  return plain;
}

/// Reads the fields of rows into values and texts, which join the block when the whole row is good.
class RowParser {
 public:
  RowParser(const TableLayout& layout, LineBlock* block)
      : layout_(layout),
        block_(block),
        row_{std::vector<double>(layout.numbers.size()), std::vector<std::string_view>(layout.texts.size())} {}

  bool Parse(const char* at, const char* end, const char** behind, std::string* reason) {
    // A line without the table's separator is one of blanks.
    const bool has_mark = layout_.separator == Separator::Blanks || layout_.fields.size() < 2 ||
                          std::memchr(at, CharOf(layout_.separator), static_cast<std::size_t>(end - at)) != nullptr;
    const Separator separator = has_mark ? layout_.separator : Separator::Blanks;
    FieldCutter cutter(at, end, separator);
    *behind = end;
    if (separator == Separator::Blanks && HasDecimalCommas(at, end)) {
      *reason = "commas and blanks both stand between numbers" + std::string(kPointHint);
      return false;
    }
    StartRow();
    std::string unread;
    std::size_t count = 0;
    for (; count < layout_.fields.size() && cutter.More(); ++count) {
      Field field;
      if (!cutter.Next(count + 1 == layout_.fields.size(), &field)) {
        *reason = "a quote is not closed, or something stands behind it";
        return false;
      }
      if (Take(layout_.fields[count], field, reason)) continue;
      if (!layout_.Travels()) return false;
      if (unread.empty()) unread = *reason;
    }
    if (!FillMissing(count, reason)) {
      if (!layout_.Travels()) return false;
      if (unread.empty()) unread = *reason;
    }
    const bool rest_is_empty = SkipBlanks(cutter.At(), end) == end || *cutter.At() == '#';
    if (cutter.More() && !layout_.more_allowed && !rest_is_empty) {
      *reason = "more than " + std::to_string(layout_.fields.size()) + " fields, expected: " + NamesOf(layout_.numbers);
      return false;
    }
    *behind = cutter.More() ? std::find(cutter.At(), end, '#') : cutter.At();
    if (!unread.empty()) {
      std::fill(row_.values.begin(), row_.values.end(), std::nan(""));
      block_->unread.push_back({block_->count, std::move(unread)});
    }
    row_.AppendTo(layout_, block_);
    return true;
  }

 private:
  using Kind = TableLayout::Field::Kind;

  void StartRow() {
    row_.filled = false;
    for (std::size_t i = 0; i < row_.values.size(); ++i) {
      if (layout_.found[i] || !layout_.numbers[i].fallback) continue;
      row_.values[i] = *layout_.numbers[i].fallback;
      row_.filled = true;
    }
  }

  bool Take(const TableLayout::Field& to, const Field& field, std::string* reason) {
    if (to.kind == Kind::Ignored) return true;
    std::string_view text = field.text;
    if (field.has_doubled) text = block_->unquoted.emplace_back(WithoutDoubled(text));
    if (to.kind == Kind::Text) {
      row_.texts[to.target] = text;
      return true;
    }
    const InputColumn& column = layout_.numbers[to.target];
    if (text.empty() && column.fallback) {
      row_.values[to.target] = *column.fallback;
      row_.filled = true;
      return true;
    }
    return ReadNumber(text, column, &row_.values[to.target], reason);
  }

  /// What a row that ends early has in its further columns. \param count fields that it has.
  bool FillMissing(std::size_t count, std::string* reason) {
    for (std::size_t i = count; i < layout_.fields.size(); ++i) {
      const TableLayout::Field& field = layout_.fields[i];
      if (field.kind == Kind::Text) row_.texts[field.target] = {};
      if (field.kind != Kind::Number) continue;
      const InputColumn& column = layout_.numbers[field.target];
      if (!column.fallback && !column.may_be_missing) {
        *reason = layout_.names.empty() ? std::to_string(count) + (count == 1 ? " field" : " fields") +
                                              ", expected: " + NamesOf(layout_.numbers)
                                        : "the row ends before its column '" + layout_.names[i] + "'";
        return false;
      }
      row_.values[field.target] = column.fallback.value_or(std::nan(""));
      row_.filled = true;
    }
    return true;
  }

  const TableLayout& layout_;
  LineBlock* const block_;
  ParsedRow row_;
};

}  // namespace

void ParseRows(std::string_view text, const TableLayout& layout, LineBlock* block) {
  block->unquoted.clear();
  block->in.resize(layout.numbers.size());
  for (std::vector<double>& column : block->in) column.clear();
  block->texts.resize(layout.texts.size());
  for (std::vector<std::string_view>& column : block->texts) column.clear();
  if (layout.is_json) return ParseRecords(text, layout, block);
  RowParser parser(layout, block);
  WalkLines(text, block, [&parser](const char* at, const char* end, const char** behind, std::string* reason) {
    return parser.Parse(at, end, behind, reason);
  });
}

std::vector<std::string> SplitRow(std::string_view line, Separator separator) {
  std::vector<std::string> fields;
  FieldCutter cutter(line.data(), line.data() + line.size(), separator);
  Field field;
  while (cutter.More() && cutter.Next(false, &field)) {
    fields.push_back(field.has_doubled ? WithoutDoubled(field.text) : std::string(field.text));
  }
  return fields;
}

}  // namespace orbmath_tool

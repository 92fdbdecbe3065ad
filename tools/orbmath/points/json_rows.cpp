// Records of JSON into the columns of a block, their members found by name.

#include <algorithm>
#include <cmath>

#include "points/field_text.h"
#include "points/json_members.h"
#include "points/line_walk.h"
#include "points/parsed_row.h"
#include "points/table_layout.h"

namespace orbmath_tool {

namespace {

/// Reads the members of records into values and texts.
class RecordParser {
 public:
  RecordParser(const TableLayout& layout, LineBlock* block)
      : layout_(layout),
        block_(block),
        row_{std::vector<double>(layout.numbers.size()), std::vector<std::string_view>(layout.texts.size())} {}

  bool Parse(std::string_view record, std::string* reason) {
    if (!SplitRecord(record, &members_, reason)) return false;
    has_value_.assign(row_.values.size(), false);
    row_.filled = false;
    row_.texts.assign(row_.texts.size(), {});
    std::string unread;
    std::size_t next = 0;
    for (const JsonMember& member : members_) {
      const std::size_t field = FieldOf(member.key, next);
      if (field == kNone) continue;
      next = field + 1;
      if (!Take(layout_.fields[field], member.value, reason) && unread.empty()) unread = *reason;
    }
    if (!FillMissing(reason) && unread.empty()) unread = *reason;
    if (!unread.empty()) {
      if (!layout_.Travels()) {
        *reason = unread;
        return false;
      }
      std::fill(row_.values.begin(), row_.values.end(), std::nan(""));
      block_->unread.push_back({block_->count, std::move(unread)});
    }
    row_.AppendTo(layout_, block_);
    return true;
  }

 private:
  using Kind = TableLayout::Field::Kind;
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  /// Records of a file have their members in one order as a rule. \param next where the search begins.
  std::size_t FieldOf(std::string_view key, std::size_t next) const {
    const std::size_t count = layout_.fields.size();
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t field = next + i < count ? next + i : next + i - count;
      if (layout_.names[field] == key) return field;
    }
    return kNone;
  }

  bool Take(const TableLayout::Field& to, std::string_view value, std::string* reason) {
    if (to.kind == Kind::Ignored) return true;
    if (to.kind == Kind::Text) {
      // What travels to the output stays JSON; what a command reads itself is a text.
      const bool travels = to.target >= layout_.wanted;
      row_.texts[to.target] = travels ? value : std::string_view(block_->unquoted.emplace_back(TextOfJson(value)));
      return true;
    }
    const InputColumn& column = layout_.numbers[to.target];
    // Of members of one name the first counts: a feature's coordinates come before its properties.
    if (value == "null" || has_value_[to.target]) return true;
    has_value_[to.target] = true;
    return value.front() == '"' ? ReadNumber(TextOfJson(value), column, &row_.values[to.target], reason)
                                : ReadNumber(value, column, &row_.values[to.target], reason);
  }

  bool FillMissing(std::string* reason) {
    for (std::size_t i = 0; i < row_.values.size(); ++i) {
      const InputColumn& column = layout_.numbers[i];
      if (has_value_[i] || !layout_.texts[i].empty()) continue;
      if (!column.fallback && !column.may_be_missing) {
        *reason = "the record has no " + column.name;
        return false;
      }
      row_.values[i] = column.fallback.value_or(std::nan(""));
      row_.filled = true;
    }
    return true;
  }

  const TableLayout& layout_;
  LineBlock* const block_;
  std::vector<JsonMember> members_;
  std::vector<bool> has_value_;
  ParsedRow row_;
};

}  // namespace

void ParseRecords(std::string_view text, const TableLayout& layout, LineBlock* block) {
  RecordParser parser(layout, block);
  WalkLines(text, block, [&parser](const char* at, const char* end, const char**, std::string* reason) {
    return parser.Parse({at, static_cast<std::size_t>(end - at)}, reason);
  });
}

}  // namespace orbmath_tool

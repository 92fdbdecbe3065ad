// Numbers of fields, and fields in messages.

#include "points/field_text.h"

#include <cmath>

#include "frame/zxstd/number_text.h"
#include "points/angle_text.h"
#include "points/line_source.h"

namespace orbmath_tool {

const std::string kTooLongLine = "the line is longer than " + std::to_string(kLongestLine - 1) + " bytes";

const char* const kPointHint = "; decimals are written with a point";

std::string Quoted(std::string_view field) {
  constexpr std::size_t kShown = 32;
  std::string shown(field.substr(0, kShown));
  for (char& c : shown) c = c < ' ' || c > '~' ? '?' : c;
  return "'" + shown + (field.size() > kShown ? "...'" : "'");
}

bool IsMissing(std::string_view field) {
  if (field.empty() || field == "-") return true;
  return field.size() == 3 && (field[0] | 0x20) == 'n' && (field[1] | 0x20) == 'a' && (field[2] | 0x20) == 'n';
}

bool ReadUnusualNumber(std::string_view field, const InputColumn& column, double* value, std::string* reason) {
  if (column.may_be_missing && IsMissing(field)) {
    *value = std::nan("");
    return true;
  }
  if (column.quantity != Quantity::Plain &&
      ParseAngle(field, column.quantity == Quantity::Latitude ? "NS" : "EW", value)) {
    return true;
  }
  *reason = field.empty() ? "the field for " + column.name + " is empty"
                          : Quoted(field) + " is not a finite number (" + column.name + ")";
  if (field.find(',') != std::string_view::npos) *reason += kPointHint;
  return false;
}

bool ReadNumber(std::string_view field, const InputColumn& column, double* value, std::string* reason) {
  const std::size_t used = SatCommonUtils::ParseDoublePrefix(field, value);
  if (used > 0 && used == field.size() && std::isfinite(*value)) return true;
  return ReadUnusualNumber(field, column, value, reason);
}

std::string NamesOf(const std::vector<InputColumn>& columns) {
  std::string names;
  for (const InputColumn& column : columns) {
    if (column.name.empty()) continue;
    names += (names.empty() ? "" : " ") + (column.fallback ? "[" + column.name + "]" : column.name);
  }
  return names;
}

}  // namespace orbmath_tool

// Named results printed both ways.

#include "report/report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "frame/zxstd/number_text.h"
#include "report/fixed_digits.h"
#include "report/json.h"

namespace orbmath_tool {

void Report::Heading(const std::string& text) {
  rows_.push_back({"", "", "", (rows_.empty() ? "" : "\n") + text + "\n"});
}

void Report::Text(const std::string& key, const std::string& label, const std::string& value) {
  rows_.push_back({key, JsonString(value), label, value});
}

void Report::Count(const std::string& key, const std::string& label, std::size_t value) {
  rows_.push_back({key, std::to_string(value), label, std::to_string(value)});
}

void Report::Number(const std::string& key, const std::string& label, double value, int digits,
                    const std::string& unit) {
  if (!std::isfinite(value)) {
    rows_.push_back({key, "null", label, "none"});
    return;
  }
  const std::string text = digits == kExact ? SatCommonUtils::FormatDouble(value) : Fixed(value, digits);
  rows_.push_back({key, text, label, unit.empty() ? text : text + " " + unit});
}

void Report::Json(const std::string& key, const JsonWriter& value) { rows_.push_back({key, value.Text(), "", ""}); }

void Report::Lines(const std::string& lines) { rows_.push_back({"", "", "", lines}); }

void Report::Print(bool json, bool output_is_taken) const {
  std::string out;
  if (json) {
    JsonWriter object;
    object.BeginObject();
    for (const Row& row : rows_) {
      if (!row.key.empty()) object.Key(row.key).Raw(row.json);
    }
    out = object.EndObject().Text() + "\n";
  } else {
    std::size_t width = 0;
    for (const Row& row : rows_) width = std::max(width, row.label.size());
    for (const Row& row : rows_) {
      if (row.label.empty()) {
        out += row.text;
      } else {
        out += row.label + std::string(width + 2 - row.label.size(), ' ') + row.text + "\n";
      }
    }
  }
  std::fwrite(out.data(), 1, out.size(), output_is_taken ? stderr : stdout);
}

}  // namespace orbmath_tool

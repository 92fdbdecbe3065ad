// Named results printed both ways.

#include "report/report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

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

void Report::Json(const std::string& key, JsonWriter&& value) {
  rows_.push_back({key, std::move(value).TakeText(), "", ""});
}

void Report::Lines(std::string lines) { rows_.push_back({"", "", "", std::move(lines)}); }

void Report::Rows(const std::string& key, std::size_t count, std::function<std::string(std::size_t, bool)> text) {
  rows_.push_back({key, "", "", "", count, std::move(text)});
}

void Report::Print(bool json, bool output_is_taken) const {
  std::FILE* const file = output_is_taken ? stderr : stdout;
  const auto put = [file](const std::string& text) { std::fwrite(text.data(), 1, text.size(), file); };
  if (json) {
    const char* before = "{";
    for (const Row& row : rows_) {
      if (row.key.empty()) continue;
      put(before + JsonString(row.key) + ":");
      put(row.json);
      if (row.rows) {
        put("[");
        for (std::size_t i = 0; i < row.count; ++i) put((i == 0 ? "" : ",") + row.rows(i, true));
        put("]");
      }
      before = ",";
    }
    put(*before == '{' ? "{}\n" : "}\n");
    return;
  }
  std::size_t width = 0;
  for (const Row& row : rows_) width = std::max(width, row.label.size());
  for (const Row& row : rows_) {
    if (!row.label.empty()) put(row.label + std::string(width + 2 - row.label.size(), ' '));
    put(row.text);
    for (std::size_t i = 0; i < row.count; ++i) put(row.rows(i, false));
    if (!row.label.empty()) put("\n");
  }
}

}  // namespace orbmath_tool

// Results of a block as CSV (RFC 4180) and as GeoJSON (RFC 7946).

#include <string>

#include "points/json_members.h"
#include "points/json_text.h"
#include "points/line_block.h"
#include "points/result_walk.h"
#include "report/json.h"

namespace orbmath_tool {

namespace {

/// Coordinates have these digits: some hundredths of a millimetre.
constexpr int kCoordinateDigits = 10;
constexpr int kHeightDigits = 4;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

/// A number in the grammar of JSON; "007" and "1." are none, and stay texts.
bool IsJsonNumber(std::string_view text) {
  std::size_t at = !text.empty() && text[0] == '-' ? 1 : 0;
  const auto digits = [&] {
    const std::size_t begin = at;
    while (at < text.size() && IsDigit(text[at])) ++at;
    return at - begin;
  };
  const std::size_t first = at;
  const std::size_t whole = digits();
  if (whole == 0 || (whole > 1 && text[first] == '0')) return false;
  if (at < text.size() && text[at] == '.') {
    ++at;
    if (digits() == 0) return false;
  }
  if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
    ++at;
    if (at < text.size() && (text[at] == '+' || text[at] == '-')) ++at;
    if (digits() == 0) return false;
  }
  return at == text.size();
}

void AppendField(std::string_view text, CharBuffer* out) {
  if (text.find_first_of(",\"\n\r") == std::string_view::npos) {
    out->Append(text);
  } else {
    out->Append(QuotedField(text));
  }
}

/// The texts that travel, each with a comma behind it; a line that is no point has empty ones.
void AppendTexts(const LineBlock& block, const Travellers& travellers, std::size_t point, CharBuffer* out) {
  for (std::size_t i = 0; i < travellers.size(); ++i) {
    if (point < block.count) {
      const std::string_view text = block.texts[travellers.first + i][point];
      AppendField(travellers.is_json ? std::string_view(TextOfJson(text)) : text, out);
    }
    out->Append(",");
  }
}

void AppendPosition(const LineBlock& block, const GroundPlace& place, std::size_t point, CharBuffer* out) {
  const std::vector<std::vector<double>>& columns = place.is_input ? block.in : block.out;
  out->Append("{\"type\":\"Point\",\"coordinates\":[");
  out->TakeUpTo(PrintFixed(columns[place.lon][point], kCoordinateDigits, out->Room(kNumberBytes)));
  out->Append(",");
  out->TakeUpTo(PrintFixed(columns[place.lat][point], kCoordinateDigits, out->Room(kNumberBytes)));
  out->Append(",");
  out->TakeUpTo(PrintFixed(columns[place.height][point], kHeightDigits, out->Room(kNumberBytes)));
  out->Append("]}");
}

}  // namespace

std::string QuotedField(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + '"';
}

std::string JsonOfField(std::string_view text) { return IsJsonNumber(text) ? std::string(text) : JsonString(text); }

std::string CsvHeader(const std::vector<OutputColumn>& columns, const Travellers& travellers) {
  CharBuffer line;
  for (const std::string& name : travellers.names) {
    AppendField(name, &line);
    line.Append(",");
  }
  for (const OutputColumn& column : columns) {
    AppendField(column.name, &line);
    line.Append(",");
  }
  line.Append("error\n");
  return std::string(line.view());
}

std::size_t PrintCsv(const LineBlock& block, const std::vector<OutputColumn>& columns, const Travellers& travellers,
                     CharBuffer* out) {
  return WalkResults(
      block, [](const PointLine&) {},
      [&](std::size_t, const PointLine&, std::size_t point) {
        AppendTexts(block, travellers, point, out);
        for (std::size_t i = 0; i < columns.size(); ++i) {
          char* const value = out->Room(kNumberBytes + 1);
          char* end = PrintValue(columns[i], block.out[i][point], value);
          if (columns[i].letters != nullptr) {
            out->Append(QuotedField(std::string(value, end)) + ",");
          } else {
            *end++ = ',';
            out->TakeUpTo(end);
          }
        }
        out->Append("\n");
      },
      [&](std::size_t, const PointLine&, std::string_view reason, std::size_t point) {
        AppendTexts(block, travellers, point, out);
        out->Append(std::string(columns.size(), ','));
        AppendField(reason, out);
        out->Append("\n");
      });
}

std::size_t PrintGeoJson(const LineBlock& block, const std::vector<OutputColumn>& columns, const Travellers& travellers,
                         const GroundPlace& place, CharBuffer* out) {
  const auto begin = [out] { out->Append(",\n{\"type\":\"Feature\",\"geometry\":"); };
  const auto properties = [&](std::size_t index) {
    out->Append(",\"properties\":{\"input_line\":");
    out->Append(std::to_string(block.first_line + index));
  };
  return WalkResults(
      block, [](const PointLine&) {},
      [&](std::size_t index, const PointLine&, std::size_t point) {
        begin();
        AppendPosition(block, place, point, out);
        properties(index);
        AppendMembers(block, columns, point, out);
        AppendTravellers(block, travellers, point, out);
        out->Append("}}");
      },
      [&](std::size_t index, const PointLine&, std::string_view reason, std::size_t point) {
        begin();
        out->Append("null");
        properties(index);
        out->Append(",\"error\":");
        out->Append(JsonString(reason));
        AppendTravellers(block, travellers, point, out);
        out->Append("}}");
      });
}

}  // namespace orbmath_tool

// Results of a block as lines of fields and as JSON lines.

#include <string>

#include "points/json_members.h"
#include "points/json_text.h"
#include "points/line_block.h"
#include "points/result_walk.h"
#include "report/json.h"

namespace orbmath_tool {

namespace {

void EndLine(std::string_view comment, CharBuffer* out) {
  if (!comment.empty()) {
    out->Append(" ");
    out->Append(comment);
  }
  out->Append("\n");
}

/// The texts of a point that travel, each with a blank before it; one with blanks in quotes, an empty one as '-'.
void AppendTexts(const LineBlock& block, const Travellers& travellers, std::size_t point, CharBuffer* out) {
  for (std::size_t i = 0; i < travellers.size(); ++i) {
    const std::string_view raw = block.texts[travellers.first + i][point];
    const std::string text = travellers.is_json ? TextOfJson(raw) : std::string(raw);
    out->Append(" ");
    if (text.empty()) {
      out->Append("-");
    } else if (text.find_first_of(" \t,\"#") == std::string::npos) {
      out->Append(text);
    } else {
      out->Append(QuotedField(text));
    }
  }
}

}  // namespace

std::size_t PrintLines(const LineBlock& block, const std::vector<OutputColumn>& columns, const Travellers& travellers,
                       CharBuffer* out) {
  return WalkResults(
      block,
      [out](const PointLine& line) {
        out->Append(line.text);
        out->Append("\n");
      },
      [&](std::size_t, const PointLine& line, std::size_t point) {
        char* to = out->Room(columns.size() * (kNumberBytes + 1));
        for (std::size_t i = 0; i < columns.size(); ++i) {
          if (i > 0) *to++ = ' ';
          to = PrintValue(columns[i], block.out[i][point], to);
        }
        out->TakeUpTo(to);
        if (travellers.size() > 0) AppendTexts(block, travellers, point, out);
        EndLine(line.text, out);
      },
      [&](std::size_t, const PointLine& line, std::string_view reason, std::size_t point) {
        out->Append("ERROR: ");
        out->Append(reason);
        if (travellers.size() > 0 && point < block.count) {
          out->Append(" #");
          AppendTexts(block, travellers, point, out);
        }
        EndLine(line.text, out);
      });
}

void AppendMembers(const LineBlock& block, const std::vector<OutputColumn>& columns, std::size_t point,
                   CharBuffer* out) {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    out->Append(",\"");
    out->Append(columns[i].name);
    out->Append("\":");
    char* const value = out->Room(kNumberBytes);
    char* const end = PrintValue(columns[i], block.out[i][point], value);
    if (IsNumber(columns[i])) {
      out->TakeUpTo(end);
    } else {
      out->Append(JsonString(std::string(value, end)));
    }
  }
}

void AppendTravellers(const LineBlock& block, const Travellers& travellers, std::size_t point, CharBuffer* out) {
  for (std::size_t i = 0; i < travellers.size() && point < block.count; ++i) {
    const std::string_view text = block.texts[travellers.first + i][point];
    out->Append(",");
    out->Append(JsonString(travellers.names[i]));
    out->Append(":");
    if (travellers.is_json) {
      out->Append(text.empty() ? "null" : text);
    } else {
      out->Append(JsonOfField(text));
    }
  }
}

std::size_t PrintJson(const LineBlock& block, const std::vector<OutputColumn>& columns, const Travellers& travellers,
                      CharBuffer* out) {
  const auto begin = [&](std::size_t index) {
    out->Append("{\"input_line\":");
    out->Append(std::to_string(block.first_line + index));
  };
  const auto end = [&](const PointLine& line, std::size_t point) {
    AppendTravellers(block, travellers, point, out);
    if (!line.text.empty()) {
      out->Append(",\"comment\":");
      out->Append(JsonString(line.text));
    }
    out->Append("}\n");
  };
  return WalkResults(
      block, [](const PointLine&) {},
      [&](std::size_t index, const PointLine& line, std::size_t point) {
        begin(index);
        AppendMembers(block, columns, point, out);
        end(line, point);
      },
      [&](std::size_t index, const PointLine& line, std::string_view reason, std::size_t point) {
        begin(index);
        out->Append(",\"error\":");
        out->Append(JsonString(reason));
        end(line, point);
      });
}

}  // namespace orbmath_tool

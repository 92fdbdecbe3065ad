// Results of a block as lines.

#include <cmath>

#include "points/line_block.h"
#include "report/fixed_digits.h"
#include "report/json.h"

namespace orbmath_tool {

namespace {

constexpr std::string_view kNotFinite = "the result is not finite";

bool IsFinite(const LineBlock& block, std::size_t point) {
  for (const std::vector<double>& column : block.out) {
    if (!std::isfinite(column[point])) return false;
  }
  return true;
}

/// Walks the lines of a block in step with its points and refusals. \return how many lines are errors.
template <class OnPassThrough, class OnPoint, class OnError>
std::size_t WalkLines(const LineBlock& block, OnPassThrough on_pass_through, OnPoint on_point, OnError on_error) {
  auto refused = block.refused.begin();
  auto failed = block.failed.begin();
  std::size_t point = 0;
  std::size_t errors = 0;
  for (std::size_t i = 0; i < block.lines.size(); ++i) {
    const PointLine& line = block.lines[i];
    if (line.kind == PointLine::Kind::PassThrough) {
      on_pass_through(line);
    } else if (line.kind == PointLine::Kind::Refused) {
      on_error(i, line, std::string_view((refused++)->reason));
      ++errors;
    } else {
      const std::size_t current = point++;
      if (failed != block.failed.end() && failed->index == current) {
        on_error(i, line, std::string_view((failed++)->reason));
        ++errors;
      } else if (!IsFinite(block, current)) {
        on_error(i, line, kNotFinite);
        ++errors;
      } else {
        on_point(i, line, current);
      }
    }
  }
  return errors;
}

char* PrintValue(const OutputColumn& column, double value, char* to) {
  if (column.words.empty()) return PrintFixed(value, column.digits, to);
  const std::string& word = column.words[static_cast<std::size_t>(value)];
  return std::copy(word.begin(), word.end(), to);
}

void EndLine(std::string_view comment, CharBuffer* out) {
  if (!comment.empty()) {
    out->Append(" ");
    out->Append(comment);
  }
  out->Append("\n");
}

}  // namespace

std::size_t PrintLines(const LineBlock& block, const std::vector<OutputColumn>& columns, CharBuffer* out) {
  return WalkLines(
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
        EndLine(line.text, out);
      },
      [out](std::size_t, const PointLine& line, std::string_view reason) {
        out->Append("ERROR: ");
        out->Append(reason);
        EndLine(line.text, out);
      });
}

std::size_t PrintJson(const LineBlock& block, const std::vector<OutputColumn>& columns, CharBuffer* out) {
  const auto begin = [&](std::size_t index) {
    out->Append("{\"input_line\":");
    out->Append(std::to_string(block.first_line + index));
  };
  const auto end = [out](const PointLine& line) {
    if (!line.text.empty()) {
      out->Append(",\"comment\":");
      out->Append(JsonString(line.text));
    }
    out->Append("}\n");
  };
  return WalkLines(
      block, [](const PointLine&) {},
      [&](std::size_t index, const PointLine& line, std::size_t point) {
        begin(index);
        for (std::size_t i = 0; i < columns.size(); ++i) {
          const char* quote = columns[i].words.empty() ? "" : "\"";
          out->Append(",\"");
          out->Append(columns[i].name);
          out->Append("\":");
          out->Append(quote);
          out->TakeUpTo(PrintValue(columns[i], block.out[i][point], out->Room(kNumberBytes)));
          out->Append(quote);
        }
        end(line);
      },
      [&](std::size_t index, const PointLine& line, std::string_view reason) {
        begin(index);
        out->Append(",\"error\":");
        out->Append(JsonString(reason));
        end(line);
      });
}

}  // namespace orbmath_tool

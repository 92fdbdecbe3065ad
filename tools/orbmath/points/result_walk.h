#pragma once
/// \file
/// The walk over the results of a block that every form of output makes, and what the forms share.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string_view>
#include <vector>

#include "points/angle_text.h"
#include "points/line_block.h"
#include "report/fixed_digits.h"

namespace orbmath_tool {

inline bool IsFinite(const LineBlock& block, std::size_t point) {
  for (const std::vector<double>& column : block.out) {
    if (!std::isfinite(column[point])) return false;
  }
  return true;
}

/// Walks the lines of a block in step with its points and refusals: calls `on_pass_through(line)`, `on_point(index,
/// line, point)` and `on_error(index, line, reason, point)`, the last one with the number of points for a line that is
/// none. \return how many lines are errors.
template <class OnPassThrough, class OnPoint, class OnError>
std::size_t WalkResults(const LineBlock& block, OnPassThrough on_pass_through, OnPoint on_point, OnError on_error) {
  constexpr std::string_view kNotFinite = "the result is not finite";
  auto refused = block.refused.begin();
  auto failed = block.failed.begin();
  std::size_t point = 0;
  std::size_t errors = 0;
  for (std::size_t i = 0; i < block.lines.size(); ++i) {
    const PointLine& line = block.lines[i];
    if (line.kind == PointLine::Kind::PassThrough) {
      on_pass_through(line);
    } else if (line.kind == PointLine::Kind::Refused) {
      on_error(i, line, std::string_view((refused++)->reason), block.count);
      ++errors;
    } else {
      const std::size_t current = point++;
      if (failed != block.failed.end() && failed->index == current) {
        on_error(i, line, std::string_view((failed++)->reason), current);
        ++errors;
      } else if (!IsFinite(block, current)) {
        on_error(i, line, kNotFinite, current);
        ++errors;
      } else {
        on_point(i, line, current);
      }
    }
  }
  return errors;
}

inline bool IsNumber(const OutputColumn& column) { return column.words.empty() && column.letters == nullptr; }

/// Writes a value into room for `kNumberBytes` characters. \return the first character behind it.
inline char* PrintValue(const OutputColumn& column, double value, char* to) {
  if (column.letters != nullptr) return PrintAngle(value, column.letters, column.digits, to);
  if (column.words.empty()) return PrintFixed(value, column.digits, to);
  const std::string& word = column.words[static_cast<std::size_t>(value)];
  return std::copy(word.begin(), word.end(), to);
}

}  // namespace orbmath_tool

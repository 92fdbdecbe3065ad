#pragma once
/// \file
/// Fields of a line: where they end, what number stands in one, and how one is shown in a message.

#include <string>
#include <string_view>

#include "points/line_block.h"

namespace orbmath_tool {

inline bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

inline const char* SkipBlanks(const char* at, const char* end) {
  while (at != end && IsBlank(*at)) ++at;
  return at;
}

/// A field as it may stand in a message: between quotes, printable ASCII, not too long.
std::string Quoted(std::string_view field);

/// Whether a field says that there is no value: "-", "nan" in any case, or nothing.
bool IsMissing(std::string_view field);

/// Reads a whole field that is not simply a finite number in digits: an angle, or a value that may be missing.
/// \return false with the reason to refuse it.
bool ReadUnusualNumber(std::string_view field, const InputColumn& column, double* value, std::string* reason);

/// Reads a whole field without blanks around it. \return as `ReadUnusualNumber`.
bool ReadNumber(std::string_view field, const InputColumn& column, double* value, std::string* reason);

/// "lat lon [height]", for messages.
std::string NamesOf(const std::vector<InputColumn>& columns);

/// What to say behind a complaint about a number with a comma.
extern const char* const kPointHint;

/// How a line that is not held whole is refused.
extern const std::string kTooLongLine;

}  // namespace orbmath_tool

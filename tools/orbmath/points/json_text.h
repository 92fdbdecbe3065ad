#pragma once
/// \file
/// Fields of tables in JSON and in quotes, and the members of a result.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "points/line_block.h"

namespace orbmath_tool {

/// A field between quotes, those within it doubled.
std::string QuotedField(std::string_view text);

/// A field as JSON: a number where it is written as JSON writes one, else a string.
std::string JsonOfField(std::string_view text);

/// Appends the results of a point as members, each with a comma before it.
void AppendMembers(const LineBlock& block, const std::vector<OutputColumn>& columns, std::size_t point,
                   CharBuffer* out);

/// Appends the texts of a point that travel as members, each with a comma before it; nothing for a line that is no
/// point.
void AppendTravellers(const LineBlock& block, const Travellers& travellers, std::size_t point, CharBuffer* out);

}  // namespace orbmath_tool

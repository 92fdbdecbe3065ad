#pragma once
/// \file
/// The little JSON that the tool prints.

#include <string>
#include <string_view>

namespace orbmath_tool {

/// `text` as a JSON string with its quotes. Bytes that are not UTF-8 become U+FFFD.
std::string JsonString(std::string_view text);
/// The shortest text of a number that comes back bit for bit, or null when it is not finite.
std::string JsonNumber(double value);

}  // namespace orbmath_tool

#pragma once
// Taking texts such as "(1;2;3)" apart from the front.

#include <string_view>

namespace SatCommonUtils {

/// Takes blanks, tabs and line ends.
void TakeBlanks(std::string_view* text);

/// Takes `expected` and the blanks on both sides of it. \return false when something else stands there.
bool Take(char expected, std::string_view* text);

/// Takes a number, in the form of `ParseDouble`, and then `terminator` as `Take` does.
/// \return false when something else stands there or the number is beyond the range of a double.
bool TakeNumber(char terminator, std::string_view* text, double* number);

}  // namespace SatCommonUtils

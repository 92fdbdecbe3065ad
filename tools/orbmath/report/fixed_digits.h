#pragma once
/// \file
/// Numbers as people read them: a fixed count of digits after a decimal point, whatever the process's locale is, and
/// columns of them.

#include <cstddef>
#include <string>

namespace orbmath_tool {

/// Most digits after the point that can be asked for.
constexpr int kMostDigits = 20;
/// Bytes that any double takes with `kMostDigits` digits after the point.
constexpr int kNumberBytes = 340;

/// Writes `value` with `digits` digits after the point, without a sign when all of them are zero.
/// \param to room for `kNumberBytes` characters. \return the first character behind the number.
char* PrintFixed(double value, int digits, char* to);

/// `PrintFixed` as a text.
std::string Fixed(double value, int digits);

/// `text` with blanks behind it up to `width`, at least one.
std::string PadRight(std::string text, std::size_t width);
/// `text` with blanks in front of it up to `width`, at least one.
std::string PadLeft(const std::string& text, std::size_t width);

}  // namespace orbmath_tool

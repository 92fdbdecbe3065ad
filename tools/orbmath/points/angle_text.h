#pragma once
/// \file
/// Angles as people write them: degrees, minutes and seconds with a hemisphere.

#include <string_view>

namespace orbmath_tool {

/// The whole of `text` as an angle in degrees: one to three numbers (degrees, minutes, seconds) with `°`, `d`, `:`,
/// `'`,
/// `"`, `′`, `″` or blanks behind them, a sign or one of the letters N, S, E, W in front, or the letter behind. Only
/// the last number may have a fraction; minutes and seconds are below 60. \param letters the hemispheres that the angle
/// may have, the positive one first: "NS" or "EW". \return false, `*degrees` untouched, for anything else.
bool ParseAngle(std::string_view text, const char* letters, double* degrees);

/// Writes degrees as `47d20'15.300"N`, the seconds with `digits` digits after the point.
/// \param to room for 64 characters and `digits`. \return the first character behind the text.
char* PrintAngle(double degrees, const char* letters, int digits, char* to);

}  // namespace orbmath_tool

#pragma once
/// \file
/// Numbers from text and back, whatever the process's locale is.

#include <cstddef>
#include <string>
#include <string_view>

#include "../api.h"

namespace SatCommonUtils {

/// The whole of `text` as a double, blanks, tabs and line ends around it apart: decimal digits with an optional sign
/// ("+" too), point and exponent, or "inf", "infinity", "nan" in any case. The nearest double is taken; a number too
/// small for a double is a zero with its sign. No hexadecimal numbers, no "D" exponents, no decimal comma.
/// \return false, `*value` untouched, when the text is anything else or beyond the range of a double.
ORBMATH_API bool ParseDouble(std::string_view text, double* value);

/// The number at the front of `text`, as `scanf("%lf")` finds it: blanks in front are passed over, then the longest
/// number counts and what follows does not matter. A number beyond the range of a double is an infinity.
/// \return how many bytes of `text` were used, blanks included; 0, `*value` untouched, when there is no number.
ORBMATH_API std::size_t ParseDoublePrefix(std::string_view text, double* value);

/// The whole of `text` as a decimal whole number, a sign ("+" too) in front and blanks around it allowed.
/// \return false, `*value` untouched, when it is anything else or does not fit.
ORBMATH_API bool ParseInt(std::string_view text, int* value);
/// As `ParseInt`, without a minus sign.
ORBMATH_API bool ParseUnsigned(std::string_view text, unsigned long long* value);
/// "true" or "false" in any case, "1" or "0"; blanks around it allowed. \return false, `*value` untouched, otherwise.
ORBMATH_API bool ParseBool(std::string_view text, bool* value);

/// The shortest text from which `ParseDouble` restores `value` bit for bit: subnormals, the sign of zero, infinities
/// ("inf") and NaNs included ("nan"; one with other bits than the usual ones carries them, as "nan(0x1)").
ORBMATH_API std::string FormatDouble(double value);

}  // namespace SatCommonUtils

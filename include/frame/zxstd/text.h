#pragma once
/// \file
/// Small text helpers. All of them ignore the process's locale.

#include <string>

#include "../api.h"

namespace Zentarix {

/// `printf`-style formatting into a string. Numbers have a decimal point whatever the process's locale is.
#if defined(__MINGW32__)
__attribute__((format(gnu_printf, 1, 2)))  // MinGW's "printf" is that of the old C runtime, which lacks %zu
#elif defined(__GNUC__)
__attribute__((format(printf, 1, 2)))
#endif
ORBMATH_API std::string
ssprintf(const char* format, ...);

}  // namespace Zentarix

namespace SatCommonUtils {

/// A copy without the blanks, tabs and line ends in front and behind.
ORBMATH_API std::string trim(const std::string& text);
/// A copy with the letters a to z in upper case; other bytes stay.
ORBMATH_API std::string toupper(const std::string& text);

}  // namespace SatCommonUtils

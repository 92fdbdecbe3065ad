#pragma once
// The text of one vertex, shared by the text form and the XML form of a polygon, and a scanner of numbers.

#include <string>

#include "frame/zxstd/xy.h"

namespace SatCommonUtils {

/// "(x;y)" with both numbers in "%.20lg".
std::string VertexToText(const xy_d& vertex);

/// Reads one vertex "(x;y)", blanks allowed between its parts, and moves `*cursor` behind it.
/// \return false, `*vertex` untouched, when there is none at `*cursor`.
bool ScanVertex(const char** cursor, const char* end, xy_d* vertex);

/// Reads a number (a sign and a decimal point may be there, the locale plays no part) and moves `*cursor` behind it.
/// \return false, nothing changed, when there is none at `*cursor` or it is too large for a double.
bool ScanNumber(const char** cursor, const char* end, double* number);

/// Moves `*cursor` over blanks, tabs and line ends.
void SkipBlanks(const char** cursor, const char* end);

}  // namespace SatCommonUtils

#pragma once
// The quick way for the numbers that fill point files, "-123.456789": a sign, digits, a point and digits.

#include "frame/zxstd/double_text.h"

namespace SatCommonUtils {

/// Reads the number that [first, last) begins with if it has digits on both sides of a point, or none and no point, no
/// exponent, and few enough digits that one division rounds it correctly. Thread-safe.
/// \return without an `end` when the number, if it is one, has another form.
DoubleText ReadPlainDecimal(const char* first, const char* last);

}  // namespace SatCommonUtils

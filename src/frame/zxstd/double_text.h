#pragma once
// The double that a text begins with, in the form of the C locale, correctly rounded: std::from_chars, or the C library
// where the C++ library lacks it (LLVM's before its version 20). Elementary.

namespace SatCommonUtils {

/// What a text begins with. Without a number `end` is null.
struct DoubleText {
  const char* end = nullptr;
  double value = 0.0;
};

/// The longest number that [first, last) begins with: at most a minus sign, then digits with a point and an exponent,
/// "inf", "infinity", "nan" or "nan(...)" in letters of any case. What is too large is infinite, what is too small is
/// zero, with the sign of the text; a NaN is the quiet one, whatever its parentheses hold. Thread-safe.
DoubleText ReadDouble(const char* first, const char* last);

/// The same by the C library alone.
DoubleText ReadDoubleByCLibrary(const char* first, const char* last);

}  // namespace SatCommonUtils

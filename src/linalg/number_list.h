#pragma once
// Lists of numbers in text, such as "(1;2;3)": the one reader behind vectors, sparse vectors and polynomials.

#include <cstddef>

namespace SatCommonUtils {

/// The delimiters of a vector's text form.
inline constexpr const char kVectorDelimiters[] = "();";

/// Which end of the destination the first number goes to.
enum class TNumberOrder { Forward, Reverse };

/// Reads the numbers of `text`.
///
/// The text is cut into tokens at the characters of `delimiters`; empty tokens are skipped. A token is read as
/// "%lg" reads it, with a decimal point whatever the locale: leading blanks are skipped, what follows the number is
/// ignored, and a token that does not begin with a number does not count.
/// A token of 128 or more characters stops the process; text of unknown origin goes through `HasOverlongToken` first.
///
/// \param text null-terminated. \param delimiters null-terminated set of characters.
/// \param destination room for `capacity` numbers, or null to count only. Numbers beyond the capacity are counted
/// but not stored.
/// \param order `Reverse` stores from the last position of the capacity backwards.
/// \return the count of numbers in the text.
std::size_t ReadNumberList(const char* text, const char* delimiters, double* destination = nullptr,
                           std::size_t capacity = 0, TNumberOrder order = TNumberOrder::Forward);

/// True when `text` holds a token that `ReadNumberList` would stop the process for.
bool HasOverlongToken(const char* text, const char* delimiters);

}  // namespace SatCommonUtils

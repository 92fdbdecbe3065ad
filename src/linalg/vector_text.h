#pragma once
// The stored text form of a vector, for readers that have the text at hand.

#include <string>

#include "linalg/vector.h"

namespace SatCommonUtils {

/// Reads text of unknown origin in the form of `TVector::GetString`; the size becomes the count of numbers.
/// \param text null counts as unreadable.
/// \return false, leaving the vector as it was, when there is no number or a token of 128 or more characters.
bool ReadVectorText(const std::string* text, TVector* vector);

}  // namespace SatCommonUtils

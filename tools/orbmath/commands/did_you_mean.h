#pragma once
/// \file
/// The word that a mistyped one was probably meant to be.

#include <string>
#include <vector>

namespace orbmath_tool {

/// ", did you mean '...'?" with the word of `known` that is next to `given`, or nothing when none is near: at most one
/// letter in three is left out, put in, changed or exchanged with its neighbour.
std::string DidYouMean(const std::string& given, const std::vector<std::string>& known);

}  // namespace orbmath_tool

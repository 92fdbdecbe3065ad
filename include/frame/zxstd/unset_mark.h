#pragma once
/// \file
/// The value that says "not given".

#include <limits>

namespace SatCommonUtils {

/// The unset mark, the largest finite double: a field of a record that equals it counts as not given.
constexpr double kUnsetMark = std::numeric_limits<double>::max();

}  // namespace SatCommonUtils

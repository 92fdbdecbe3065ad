#pragma once
/// \file
/// What of a model's box its polynomials cannot stand for: poles and folds.

#include <cstddef>

#include "../frame/api.h"
#include "rpc_model.h"

namespace SatCommonUtils {

/// How a model's box looks from its centre. A pole lies where a denominator is zero, a fold where the determinant of
/// the derivatives of line and sample by latitude and longitude is: behind either the image repeats itself or means
/// nothing.
struct TBoxExamination {
  /// Interval arithmetic shows that neither is in the box (for a derived class: in that of its record).
  bool provenFree = false;
  std::size_t points = 0;      ///< looked at, a grid over the box
  std::size_t beyondPole = 0;  ///< of those, where a denominator has not the sign that it has at the centre
  std::size_t beyondFold = 0;  ///< of the others, where the determinant has not
};

/// Looks at a grid of 41 x 41 x 9 points over the box, its borders included. Thread safe.
ORBMATH_API TBoxExamination ExamineBox(const TRPC& model);

}  // namespace SatCommonUtils

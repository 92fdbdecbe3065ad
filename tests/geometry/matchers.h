#pragma once
// Matrices and vectors in tests.

#include <gtest/gtest.h>

#include <cmath>

#include "linalg/matrix.h"
#include "linalg/vector.h"

namespace orbmath_test {

/// Rounding of a few products and sums of numbers up to 1.
constexpr double kRounding = 1e-14;

inline ::testing::AssertionResult Near(const SatCommonUtils::TMatrix& a, const SatCommonUtils::TMatrix& b,
                                       double tolerance = kRounding) {
  if (a.GetWidth() == b.GetWidth() && a.GetHeight() == b.GetHeight() && (a - b).Norma1() <= tolerance) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << a.Output() << "is not within " << tolerance << " of\n" << b.Output();
}

inline ::testing::AssertionResult Near(const SatCommonUtils::TVector& a, const SatCommonUtils::TVector& b,
                                       double tolerance = kRounding) {
  if (a.GetSize() == b.GetSize() && (a - b).Norma() <= tolerance) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << a.GetString() << " is not within " << tolerance << " of " << b.GetString();
}

/// Rows at right angles and of length 1, and a determinant of 1.
inline ::testing::AssertionResult IsRotation(const SatCommonUtils::TMatrix& m) {
  if (!((m[0] ^ m[1]) * m[2] > 0.0)) return ::testing::AssertionFailure() << "mirrored:\n" << m.Output();
  return Near(m * !m, SatCommonUtils::TMatrix(3));
}

}  // namespace orbmath_test

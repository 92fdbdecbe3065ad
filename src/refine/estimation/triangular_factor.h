#pragma once
// A least-squares problem of any number of rows, kept as a triangle: design = Q · R, residuals = Q · (q, rest).

#include <cstddef>

#include "refine/estimation/design_rows.h"

namespace SatCommonUtils::estimation {

/// R and q of the rows so far; Q is never formed.
struct TTriangularFactor {
  static constexpr std::size_t kStride = TDesignRows::kMaxStride;
  std::size_t columns = 0;  ///< unknowns
  std::size_t rank = 0;     ///< rows that count; the rest are zero
  /// Row i: R(i, ·), then q(i). One row more carries the residual that no unknown can change in its last element.
  alignas(64) double values[kStride * kStride] = {};

  const double* Row(std::size_t i) const { return values + i * kStride; }
  double* Row(std::size_t i) { return values + i * kStride; }
  /// Norm of the part of the residuals that no unknown can change, with either sign.
  double Rest() const { return Row(columns)[columns]; }
  /// Sum of the squared residuals.
  double ResidualSquares() const;
  /// Measures unknowns `first` and up in units of 1 / `weight`: their columns are divided by it.
  void DivideColumns(std::size_t first, double weight);
};

/// Takes up a block by Householder reflections: the condition number is that of the design matrix, not its square
/// (Golub and Van Loan, "Matrix Computations", on updating a QR factorisation by rows). The rows are overwritten.
void TakeUpRows(TDesignRows* rows, TTriangularFactor* factor);

/// R and q from normal equations, by Cholesky with diagonal pivoting, which stops where the pivots are rounding
/// (N. Higham, "Accuracy and Stability of Numerical Algorithms", chapter 10). Columns keep their places.
TTriangularFactor FactorOfNormalSums(const TNormalSums& sums, std::size_t unknowns);

}  // namespace SatCommonUtils::estimation

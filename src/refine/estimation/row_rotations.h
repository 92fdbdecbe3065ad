#pragma once
// Rows of a small matrix made orthogonal to each other by rotations.

#include <cstddef>

#include "refine/estimation/triangular_factor.h"

namespace SatCommonUtils::estimation {

/// Rows with a value behind each, which is rotated together with them.
struct TRotatedRows {
  static constexpr std::size_t kStride = TTriangularFactor::kStride;
  std::size_t count = 0;
  std::size_t columns = 0;
  alignas(64) double rows[kStride][kStride];  ///< zeros behind the columns
  double values[kStride];
};

/// One-sided Jacobi rotations of the rows: slower than a bidiagonalisation, but small singular values keep their digits
/// (Demmel and Veselic, "Jacobi's method is more accurate than QR" (1992), doi:10.1137/0613074). In rounds of pairs
/// that have no row in common, so that their operations need not wait for each other (R. Brent and F. Luk, "The
/// solution of singular-value and symmetric eigenvalue problems on multiprocessor arrays" (1985), doi:10.1137/0906007).
void OrthogonaliseRows(TRotatedRows* rotated);

}  // namespace SatCommonUtils::estimation

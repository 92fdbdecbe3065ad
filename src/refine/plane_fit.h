#pragma once
// Weighted least squares of a shift, an affine or a projective map of the plane, in coordinates near 1.

#include <array>
#include <cstddef>
#include <vector>

#include "linalg/matrix.h"
#include "refine/refinement_data.h"

namespace SatCommonUtils::refine {

/// x' = (a0 x + a1 y + a2) / w, y' = (a3 x + a4 y + a5) / w, w = a6 x + a7 y + 1.
using TPlaneMap = std::array<double, 8>;

constexpr TPlaneMap kIdentityMap = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0};

/// One tie, and the square root of its weight.
struct TPlaneTie {
  double from[2];
  double to[2];
  double root_weight;
};

/// What a residual of a tie is, target minus map, and its derivatives by the eight parameters, negated.
struct TPlaneEquations {
  double residual[2];
  double design[2][8];
};

TPlaneEquations EquationsAt(const TPlaneMap& map, const TPlaneTie& tie);

/// Squared length of the weighted residual.
double SquaredResidual(const TPlaneMap& map, const TPlaneTie& tie);

/// A fitted map.
struct TPlaneFit {
  TPlaneMap map = kIdentityMap;
  double sum_of_squares = 0.0;  ///< of the weighted residuals
  /// Inverse of the normal matrix of the parameters that the kind frees, by rows.
  std::array<double, 64> cofactors = {};

  /// Mean over both coordinates of the variance of the map at a point, for residuals of unit variance.
  double VarianceAt(TRPCRefinementTransformType type, double x, double y) const;
  /// Covariance, for residuals of unit variance, of two linear forms of the parameters that the kind frees.
  double Bilinear(TRPCRefinementTransformType type, const double* left, const double* right) const;
};

/// Parameters that a kind frees: 2, 6 or 8.
std::size_t FreeParameters(TRPCRefinementTransformType type);

/// Fits the chosen ties. \return false when they do not determine the map.
bool FitPlaneMap(TRPCRefinementTransformType type, const std::vector<TPlaneTie>& ties,
                 const std::vector<std::size_t>& chosen, TPlaneFit* fit);

/// The map that passes through the chosen ties, as few as determine it, whatever their weights. \return false when
/// they do not, as when three of them come from one line or two from one point.
bool PassPlaneMap(TRPCRefinementTransformType type, const std::vector<TPlaneTie>& ties,
                  const std::vector<std::size_t>& chosen, TPlaneMap* map);

}  // namespace SatCommonUtils::refine

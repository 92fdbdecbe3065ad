#pragma once
// Covariances that follow from a solution: of points, and of residuals with the part of the corrections.

#include <array>
#include <cstddef>
#include <vector>

#include "block/equations.h"
#include "block/network.h"
#include "block/reduced_system.h"

namespace SatCommonUtils::block {

/// The precision of one point and its rays, for the stated sigmas.
struct TPointPrecision {
  bool known = false;                         ///< There is one.
  TSymmetric3 covariance{};                   ///< East, north, up, squared metres.
  std::vector<std::size_t> rays;              ///< Used rays, then the others of images that take part.
  std::size_t used = 0;                       ///< The first of `rays`.
  std::vector<std::array<double, 3>> fitted;  ///< Covariance of what is subtracted from each ray, upper triangle.
};

/// Works it out. The reduced system has eliminated the points at this state. \param corrections with the uncertainty of
/// the corrections, for which the system was inverted; else they count as known.
void PrecisionOf(const TNetwork& network, const TEquations& equations, const TReducedSystem& system, bool corrections,
                 std::size_t point, TPointPrecision* precision);

/// Covariance of a ray's residual, for the test of chi_square.h: of a used ray the measurement's less the fitted, of
/// another their sum.
std::array<double, 3> ResidualCovariance(const TNetwork& network, const TPointPrecision& precision, std::size_t n);

}  // namespace SatCommonUtils::block

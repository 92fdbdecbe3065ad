#pragma once
// A fit of a plane map that finds the ties which do not belong to the others.

#include <cstddef>
#include <vector>

#include "refine/plane_fit.h"
#include "refine/plane_starts.h"
#include "refine/refinement_data.h"

namespace SatCommonUtils::refine {

/// A fit and what it says of every tie.
struct TRobustPlaneFit {
  TPlaneFit fit;
  std::vector<std::size_t> inside;   ///< ties that belong together, ascending
  std::vector<double> standardized;  ///< of every tie: residual in standard deviations of a good one; 0: no telling
  double variance = 0.0;             ///< of unit weight, from the ties inside; 0 when none is redundant
};

/// The places of `count` ties: 0, 1, ...
std::vector<std::size_t> AllPlaces(std::size_t count);

/// Fits `type` to the ties that belong together.
/// \param starts those of the ties. \param noise floor of the standard deviation of a weighted residual. \return false
/// when they determine no map.
bool FitRobustly(TRPCRefinementTransformType type, const std::vector<TPlaneTie>& ties, const TPlaneStarts& starts,
                 double noise, TRobustPlaneFit* result);

/// The probability that an F-distributed number with an even `numerator` and any `denominator` degrees of freedom is
/// above `value`.
double FDistributionTail(std::size_t numerator, std::size_t denominator, double value);

}  // namespace SatCommonUtils::refine

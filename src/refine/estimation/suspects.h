#pragma once
// Points that may be bad, found without a fit of the model: where a resistant fit of it has to start.

#include <cstddef>
#include <vector>

#include "refine/estimation/point_block.h"

namespace SatCommonUtils::estimation {

/// Indices, ascending, of the points that stand out from the others.
///
/// First those off a plane (image coordinates linear in the ground ones) through four points, of 200 such planes the
/// one with the least median of squared residuals: gross errors of a ground coordinate, which a least-squares fit would
/// bend to. P. Rousseeuw, "Least median of squares regression" (1984), doi:10.1080/01621459.1984.10477105.
/// Then, of the others, those off a cubic (with fewer points a quadratic) polynomial, which is the M-estimate with
/// Tukey's bisquare that starts from least absolute deviations, line and sample together; P. Huber and E. Ronchetti,
/// "Robust Statistics" (2009), chapters 7 and 4, on iterated reweighting and on the limits of leverage.
///
/// A suspect may well be good: models are no polynomials.
/// \param root_weights square roots of the weights, or null for all 1.
std::vector<std::size_t> FindSuspects(TPointSpan points, const double* root_weights);

}  // namespace SatCommonUtils::estimation

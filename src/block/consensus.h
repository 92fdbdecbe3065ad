#pragma once
// Which rays of a point belong together, for corrections that are known nearly.

#include <cstddef>

#include "block/equations.h"
#include "block/network.h"

namespace SatCommonUtils::block {

/// The spread of the measurements in units of their stated sigmas, from how well the rays of points meet.
/// \param share the share of points, those with the best rays, that are good for sure: 0.5 once most bad rays are out.
double SpreadOf(const TNetwork& network, const TEquations& equations, double share);

/// Judges all rays of every point, and what is known of its place, at the last linearization: the largest set that
/// agrees within `spread` times the sigmas is used, the others become bad. Where two sets of two rays agree as well,
/// nothing can be decided. Points that lose too many rays leave, and come back if they agree again.
/// \return number of rays and known places whose state has changed.
std::size_t FindConsensus(double spread, TNetwork* network, const TEquations& equations);

}  // namespace SatCommonUtils::block

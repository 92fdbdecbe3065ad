#pragma once
// The last look at every measurement: its residual against the residual's own standard deviation.

#include <cstddef>

#include "block/least_squares.h"
#include "block/network.h"

namespace SatCommonUtils::block {

/// Tests all measurements and known places of a solution whose points are eliminated at its state. In each point the
/// worst that fails becomes bad; where none fails, bad ones that pass come back. \param sigma0 the spread of the
/// measurements in units of their stated sigmas. \param corrections as with `PrecisionOf`.
/// \return number of changes.
std::size_t Snoop(double sigma0, bool corrections, TNetwork* network, TLeastSquares* solution);

}  // namespace SatCommonUtils::block

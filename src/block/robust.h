#pragma once
// The search for measurements that do not belong to the others.

#include "block/least_squares.h"
#include "block/network.h"

namespace SatCommonUtils::block {

/// Solves the block and leaves out what is bad: the states of rays, points and images say what. The solution ends at
/// rest, with its factor made there; when corrections are to have covariances, with its system inverted.
TStepsState SolveRobustly(TNetwork* network, TLeastSquares* solution);

}  // namespace SatCommonUtils::block

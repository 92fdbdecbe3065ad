#pragma once
// Where the ground points begin, and which tracks are hopeless from the outset.

#include "block/equations.h"
#include "block/network.h"

namespace SatCommonUtils::block {

/// Intersects every point with the models as they are, or takes its known place. Rays that pass a point by far more
/// than the models' errors are expected to be become bad; points whose rays do not meet leave the network.
void FindStarts(TNetwork* network, TEquations* equations);

}  // namespace SatCommonUtils::block

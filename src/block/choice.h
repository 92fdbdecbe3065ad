#pragma once
// Which kind of correction the images need that leave it open.

#include "block/least_squares.h"
#include "block/network.h"

namespace SatCommonUtils::block {

/// Gives every open group the richest kind that its points bear.
void OpenKinds(TNetwork* network);

/// Chooses among shift, drift and affine for all open groups together: the simplest whose misfit no richer one improves
/// significantly. Groups whose points do not bear it stay at what they bear. The solution ends at rest with that kind.
TStepsState ChooseKinds(TNetwork* network, TLeastSquares* solution);

}  // namespace SatCommonUtils::block

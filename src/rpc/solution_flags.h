#pragma once
// What of a solution lies outside.

#include "rpc/ground_solution.h"

namespace SatCommonUtils::rpc {

/// Sets the flags that hold for this image; flags that are set stay. A NaN lies outside.
void SetFlags(const TRPCCoordsDataItem& item, TGroundSolution* solution);

}  // namespace SatCommonUtils::rpc

#pragma once
// Residuals of a record and where its points lie.

#include "refine/estimation/point_block.h"
#include "refine/robust_fit.h"

namespace SatCommonUtils::estimation {

/// See `ResidualsOfRPC`.
TRPCFitResiduals ResidualsOf(const TRPCData& rpc, TPointSpan points, bool normalized);

/// See `TRPCFitReport::coverage`.
double CoverageOf(TPointSpan points, const TPointRanges& ranges, bool flat);

}  // namespace SatCommonUtils::estimation

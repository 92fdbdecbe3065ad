#pragma once
// Residuals of a record and where its points lie.

#include "refine/estimation/point_block.h"
#include "refine/robust_fit.h"

namespace SatCommonUtils::estimation {

/// See `ResidualsOfRPC`.
TRPCFitResiduals ResidualsOf(const TRPCData& rpc, TPointSpan points, bool normalized);

/// The share of the variation of lines and samples, about their means, that a record explains, 0 to 1.
struct TExplained {
  double line = 0.0;
  double sample = 0.0;
};

/// \param root_weights null: all 1. \param left_out null: none, or marks of points that do not count.
TExplained ExplainedBy(const TRPCData& rpc, TPointSpan points, const double* root_weights, const char* left_out,
                       bool normalized);

/// How the points lie on the ground: 1 about a line, 2 about a plane, 3 in space. About is a thousandth of their range.
int DimensionsOf(TPointSpan points, const TPointRanges& ranges);

/// See `TRPCFitReport::coverage`.
double CoverageOf(TPointSpan points, const TPointRanges& ranges, bool flat);

}  // namespace SatCommonUtils::estimation

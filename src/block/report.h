#pragma once
// From the unknowns to the result that a caller reads.

#include "block/block_result.h"
#include "block/least_squares.h"
#include "block/network.h"

namespace SatCommonUtils::block {

/// Corrections, points, residuals, statistics and sigma0 of a solution.
void ReportSolution(const TNetwork& network, TLeastSquares& solution, TBlockResult* result);
/// States of images, points and measurements, and who takes no part.
void ReportStates(const TNetwork& network, TBlockResult* result);
/// The pieces of the block and what holds them.
void ReportPieces(const TNetwork& network, TBlockResult* result);
/// Misclosures of control, height and check points.
void ReportMisclosures(const TNetwork& network, const TEquations& equations, TBlockResult* result);

}  // namespace SatCommonUtils::block

#pragma once
// From the unknowns to the result that a caller reads.

#include <cstdint>
#include <limits>

#include "block/block_result.h"
#include "block/least_squares.h"
#include "block/network.h"

namespace SatCommonUtils::block {

/// How well the used measurements fit.
struct TFit {
  double sigma0 = std::numeric_limits<double>::quiet_NaN();
  double rms = std::numeric_limits<double>::quiet_NaN();  ///< Pixels.
  std::int64_t observations = 0;                          ///< Rays.
  std::int64_t unknowns = 0;
  std::int64_t redundancy = 0;
};
/// At the last linearization.
TFit FitOf(const TNetwork& network, const TEquations& equations);

/// Corrections, points, residuals, statistics and sigma0 of a solution.
void ReportSolution(const TNetwork& network, TLeastSquares& solution, TBlockResult* result);
/// Covariances of corrections and points, and of misclosures and residuals what follows from them. The solution has
/// made its precision.
void ReportPrecision(const TNetwork& network, TLeastSquares& solution, TBlockResult* result);
/// Residuals of points that lost their measurements, at the place where all their rays come nearest to each other.
void ReportLostPoints(const TNetwork& network, const TEquations& equations, TBlockResult* result);
/// Lists of what is bad, worst first, and the sentences.
void ReportLists(const TNetwork& network, TBlockResult* result);
/// States of images, points and measurements, and who takes no part.
void ReportStates(const TNetwork& network, TBlockResult* result);
/// The pieces of the block and what holds them.
void ReportPieces(const TNetwork& network, TBlockResult* result);
/// Misclosures of control, height and check points.
void ReportMisclosures(const TNetwork& network, const TEquations& equations, TBlockResult* result);

}  // namespace SatCommonUtils::block

#pragma once
// What becomes of a point on its short way from several images: its solution, or the long way.

#include <cmath>
#include <vector>

#include "rpc/ground_solution.h"
#include "rpc/intersection/intersection_newton.h"
#include "rpc/solution_flags.h"

namespace SatCommonUtils::rpc {

/// The plain iteration, damped steps where that gets lost, and all that is told of what they find.
template <THeight Height>
TGroundIntersection SolveUnproven(const std::vector<TRPCCoordsDataItem>& items, const THeightInput& height,
                                  const TIntersectionOptions& options);

/// The short way for one point. \return false, nothing written, when it proves nothing.
template <THeight Height>
bool SolveShort(const TRPCCoordsDataItem* items, std::size_t count, const THeightInput& height,
                const TIntersectionOptions& options, TGroundIntersection* solution);

/// Writes the solution of point `i`. \return false, nothing written, when it is not proven or misses too much.
/// \param items its measurements
template <THeight Height, std::size_t Capacity>
bool TakeProven(const TNewtonImages& images, const TNewtonIntersections<Height, Capacity>& points, std::size_t i,
                const TRPCCoordsDataItem* items, const TIntersectionOptions& options, TGroundIntersection* solution) {
  using TPoints = TNewtonIntersections<Height, Capacity>;
  const std::int64_t marks = points.marks[i];
  const double residual = points.residual[i];
  if ((marks & kNewtonProven) == 0 || !(residual <= options.largestRms) || !std::isfinite(residual)) return false;
  const std::size_t count = images.All().size();
  solution->lat = points.ground[0][i];
  solution->lon = points.ground[1][i];
  solution->h = points.ground[2][i];
  solution->status = {TGroundState::Converged, static_cast<std::int32_t>(points.evaluations[i])};
  solution->method = TGroundMethod::Iteration;
  solution->residual = residual;
  const bool sure = (marks & kNewtonSure) != 0 && !images.HaveMargins();
  solution->outsideImage = sure && (marks & kNewtonInImage) == 0;
  solution->outsideHeight = sure && (marks & kNewtonInHeight) == 0;
  solution->outsideGround = sure && (marks & kNewtonInGround) == 0;
  solution->outsideMargin = false;
  if (solution->residuals.size() != count) solution->residuals.resize(count);
  const double* miss = points.work + i;
  for (std::size_t m = 0; m < count; ++m, miss += TPoints::kWork * Capacity) {
    solution->residuals[m] = {miss[0], miss[Capacity]};
    if (!sure) SetFlags(items[m], solution);
  }
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      const bool known = row < TPoints::N && column < TPoints::N;
      const int low = row < column ? row : column, high = row < column ? column : row;
      solution->covariance[3 * row + column] = known ? points.covariance[low][high][i] : 0.0;
    }
  }
  return true;
}

}  // namespace SatCommonUtils::rpc

#pragma once
// One ground point from several images: the start and the iteration.

#include <cmath>
#include <vector>

#include "rpc/ground_state.h"
#include "rpc/intersection/intersection_start.h"

namespace SatCommonUtils::rpc {

/// Whether rounding alone can cause a step: degrees, degrees, metres. An iteration whose last step is that has arrived,
/// though it may never take a step below `kIntersectionStop`.
template <int N>
bool IsRounding(const double (&step)[N]) {
  constexpr double kRounding[3] = {1e-9, 1e-9, 1e-4};
  bool rounding = true;
  for (int c = 0; c < N; ++c) rounding = rounding && std::fabs(step[c]) < kRounding[c];
  return rounding;
}

/// A point and how it ended.
template <THeight Height>
struct TIntersectedPoint {
  double ground[3] = {};  ///< latitude, longitude, height
  TGroundStatus status;
  double lastStep[kUnknowns<Height>] = {};  ///< the step applied last
};

/// Solves and applies one step.
template <THeight Height>
TGroundState TakeStep(const TNormalEquations<kUnknowns<Height>, double>& equations, TIntersectedPoint<Height>* point) {
  double step[kUnknowns<Height>];
  double lowestPivot;
  SolveCholesky(equations, step, lowestPivot);
  if (lowestPivot <= kSmallestPivot) return TGroundState::Singular;
  bool small = true;
  for (int c = 0; c < kUnknowns<Height>; ++c) {
    point->ground[c] += step[c];
    point->lastStep[c] = step[c];
    small = small && std::fabs(step[c]) < kIntersectionStop;
  }
  return small ? TGroundState::Converged : TGroundState::NotConverged;
}

/// The whole way of one point, through the models' virtual projection.
template <THeight Height>
TIntersectedPoint<Height> IntersectItems(const std::vector<TRPCCoordsDataItem>& items, const THeightInput& height) {
  TIntersectedPoint<Height> point;
  double start[kUnknowns<Height>];
  if (items.size() < 2) {
    point.status.state = TGroundState::TooFewImages;
    return point;
  }
  if (!ApproximateIntersection<Height>(items, height, &start)) {
    point.status.state = TGroundState::NoStart;
    return point;
  }
  point.ground[2] = height.value;
  for (int c = 0; c < kUnknowns<Height>; ++c) point.ground[c] = start[c];
  const TMeasuredPoint<Height> measured = {items.data(), items.size(), height};
  do {
    TLinearized<Height> here;
    Linearize(measured, point.ground, &here);
    ++point.status.iterations;
    point.status.state = TakeStep(here.equations, &point);
  } while (point.status.state == TGroundState::NotConverged && point.status.iterations < kIntersectionSteps);
  return point;
}

}  // namespace SatCommonUtils::rpc

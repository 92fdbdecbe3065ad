#pragma once
// Damped least-squares steps (Levenberg-Marquardt), for points at which the plain iteration gets lost.
//
// Source: D. Marquardt, "An algorithm for least-squares estimation of nonlinear parameters" (1963),
// doi:10.1137/0111030.

#include <cmath>

#include "rpc/linearized_point.h"

namespace SatCommonUtils::rpc {

/// A step that changes nothing any more: degrees, degrees, metres.
constexpr double kNoStep[3] = {1e-11, 1e-11, 1e-6};

/// The largest component of a step, in those.
template <int N>
double LengthOf(const double (&step)[N]) {
  double length = 0.0;
  for (int c = 0; c < N; ++c) length = std::fmax(length, std::fabs(step[c]) / kNoStep[c]);
  return length;
}

/// Sums of squares that differ by no more than this say nothing about which point is lower: residuals of pixels carry
/// 1e-12 of rounding each. Where residuals are left at the minimum, its neighbourhood of the root of that is level.
inline bool IsLevel(double cost, double other) { return std::fabs(cost - other) <= 1e-12 * cost + 1e-18; }

/// Walks downhill from `ground` (latitude, longitude, height), which it replaces. A step is taken only when it lowers
/// the sum of squares, or, where that is level, as long as steps shrink. \param evaluations is raised by the number of
/// linearisations, at most `most`. \return whether it arrived: the step that is left changes nothing.
template <THeight Height>
bool WalkDamped(const TMeasuredPoint<Height>& point, double* ground, std::int32_t* evaluations, int most) {
  constexpr int N = kUnknowns<Height>;
  constexpr double kLargestDamping = 1e10;
  TLinearized<Height> here;
  Linearize(point, ground, &here);
  constexpr double kRounding = 100.0;  // times the step that is none: what may be left where steps shrink no more
  double damping = 1e-3;
  double shortest = HUGE_VAL;
  for (int i = 0; i < most && std::isfinite(here.cost); ++i) {
    TNormalEquations<N, double> damped = here.equations;
    for (int c = 0; c < N; ++c) damped.matrix[c][c] *= 1.0 + damping;
    double step[N];
    double lowestPivot;
    SolveCholesky(damped, step, lowestPivot);
    if (lowestPivot <= kSmallestPivot) return false;
    double next[3] = {ground[0], ground[1], ground[2]};
    for (int c = 0; c < N; ++c) next[c] += step[c];
    TLinearized<Height> there;
    Linearize(point, next, &there);
    ++*evaluations;
    // Heavy damping makes any step small: only a lightly damped one tells that the end is reached.
    const double length = LengthOf(step);
    const bool level = damping < 1.0 && IsLevel(here.cost, there.cost);
    const bool lower = level ? length < shortest : there.cost < here.cost;
    if (lower) {
      shortest = length;
      for (int c = 0; c < 3; ++c) ground[c] = next[c];
      here = there;
      damping = std::fmax(damping * 0.1, 1e-12);
    }
    if (damping < 1.0 && (length < 1.0 || (level && !lower && length < kRounding))) return true;
    if (!lower) damping *= 10.0;
    if (damping > kLargestDamping) return false;
  }
  return false;
}

}  // namespace SatCommonUtils::rpc

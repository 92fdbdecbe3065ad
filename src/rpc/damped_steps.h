#pragma once
// Damped least-squares steps (Levenberg-Marquardt), for points at which the plain iteration gets lost.
//
// Source: D. Marquardt, "An algorithm for least-squares estimation of nonlinear parameters" (1963),
// doi:10.1137/0111030.

#include <cmath>
#include <cstddef>

#include "rpc/intersection_kernel.h"

namespace SatCommonUtils::rpc {

/// Images of one point with what is given about its height.
template <THeight Height>
struct TMeasuredPoint {
  const TRPCCoordsDataItem* items;
  std::size_t images;
  THeightInput height;
};

/// The normal equations of a point at a ground position, and the weighted sum of squared residuals there.
template <THeight Height>
struct TLinearized {
  TNormalEquations<kUnknowns<Height>, double> equations;
  double cost = 0.0;
};

template <THeight Height>
void Linearize(const TMeasuredPoint<Height>& point, const double* ground, TLinearized<Height>* out) {
  constexpr int N = kUnknowns<Height>;
  *out = {};
  for (std::size_t image = 0; image < point.images; ++image) {
    const TRPCCoordsDataItem& item = point.items[image];
    double line, sample, dLine[3], dSample[3], lineRow[N], sampleRow[N];
    item.model->CalculateLineSample(ground[0], ground[1], ground[2], &line, &sample, dLine, dSample);
    for (int c = 0; c < N; ++c) {
      lineRow[c] = dLine[c];
      sampleRow[c] = dSample[c];
    }
    out->equations.Add(sampleRow, item.sample - sample);
    out->equations.Add(lineRow, item.line - line);
    out->cost += (item.sample - sample) * (item.sample - sample) + (item.line - line) * (item.line - line);
  }
  if (Height == THeight::Observed) {
    const double miss = point.height.value - ground[2];
    out->equations.AddLast(miss, 1.0 / point.height.variance);
    out->cost += miss * miss / point.height.variance;
  }
}

/// A step that changes nothing any more: degrees, degrees, metres.
constexpr double kNoStep[3] = {1e-11, 1e-11, 1e-6};

template <int N>
bool IsSmall(const double (&step)[N]) {
  bool small = true;
  for (int c = 0; c < N; ++c) small = small && std::fabs(step[c]) < kNoStep[c];
  return small;
}

/// Walks downhill from `ground` (latitude, longitude, height), which it replaces. A step is taken only when it lowers
/// the sum of squares. \param evaluations is raised by the number of linearisations. \return whether it arrived: the
/// step that is left changes nothing.
template <THeight Height>
bool WalkDamped(const TMeasuredPoint<Height>& point, double* ground, std::int32_t* evaluations) {
  constexpr int N = kUnknowns<Height>;
  constexpr int kLargestEvaluations = 200;
  constexpr double kLargestDamping = 1e10;
  TLinearized<Height> here;
  Linearize(point, ground, &here);
  double damping = 1e-3;
  for (int i = 0; i < kLargestEvaluations && std::isfinite(here.cost); ++i) {
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
    const bool lower = there.cost < here.cost;
    if (lower) {
      for (int c = 0; c < 3; ++c) ground[c] = next[c];
      here = there;
      damping = std::fmax(damping * 0.1, 1e-12);
    }
    // Heavy damping makes any step small: only a lightly damped one tells that the end is reached.
    if (IsSmall(step) && damping < 1.0) return true;
    if (!lower) damping *= 10.0;
    if (damping > kLargestDamping) return false;
  }
  return false;
}

}  // namespace SatCommonUtils::rpc

#pragma once
// Image to ground at a known height, for one point or a vector of points: the closed-form start and the Gauss-Newton
// iteration in normalised coordinates.

#include "rpc/projection_kernel.h"
#include "rpc/small_systems.h"

namespace SatCommonUtils::rpc {

/// The first-order approximation: line = A.g / B.g, sample = C.g / D.g, g = (latitude, longitude, height, 1).
struct TApproximationView {
  const double* A;
  const double* B;
  const double* C;
  const double* D;
};

constexpr int kLargestSteps = 10;

/// The largest square whose root is at most 1e-10, the length of a step that counts as none.
constexpr double kSmallestStepSquared = 0x1.79ca10c924224p-67;

/// Inverse of the approximation at height `h`: degrees.
template <class T>
[[gnu::always_inline]] inline void ApproximateInverse(const TApproximationView& f, const T& line, const T& sample,
                                                      const T& h, T& lat, T& lon) {
  const T a[2][2] = {{f.A[0] - line * f.B[0], f.A[1] - line * f.B[1]},
                     {f.C[0] - sample * f.D[0], f.C[1] - sample * f.D[1]}};
  const T b[2] = {-(h * f.A[2] + f.A[3] - (h * f.B[2] + f.B[3]) * line),
                  -(h * f.C[2] + f.C[3] - (h * f.D[2] + f.D[3]) * sample)};
  T x[2];
  SolveGauss(a, b, x);
  lat = x[0];
  lon = x[1];
}

/// What the iteration gives. Flags: `failed`, a normal matrix was singular; `active`, ten steps did not converge.
template <class T>
struct TInversion {
  T latN, lonN;
  T evaluations;
  T active, failed;
};

/// One normal-equation step from (latN, lonN) towards the given line and sample.
template <class T>
[[gnu::always_inline]] inline void InversionStep(const TEvaluationView& model, const T& lineN, const T& sampleN,
                                                 const T& latN, const T& lonN, const T& hN, T (&step)[2],
                                                 T& lowestPivot) {
  TPolynomials<T> q;
  EvaluatePolynomials<TVariables::LatLon>(model, latN, lonN, hN, q);
  T line, sample;
  Quotients(q.value, line, sample);
  T lineRow[2], sampleRow[2];
  QuotientDerivatives(q.value, q.byVariable[0], lineRow[0], sampleRow[0]);
  QuotientDerivatives(q.value, q.byVariable[1], lineRow[1], sampleRow[1]);
  TNormalEquations<2, T> equations;
  equations.Add(sampleRow, T(sampleN - sample));
  equations.Add(lineRow, T(lineN - line));
  SolveCholesky(equations, step, lowestPivot);
}

/// Normalised image point at a normalised height to normalised ground.
template <class T>
[[gnu::always_inline]] inline void InvertNormalized(const TEvaluationView& model, const TApproximationView& start,
                                                    const T& lineN, const T& sampleN, const T& hN,
                                                    TInversion<T>& result) {
  T line, sample, h, lat, lon;
  Denormalize(model, kLine, lineN, line);
  Denormalize(model, kSample, sampleN, sample);
  Denormalize(model, kHeight, hN, h);
  ApproximateInverse(start, line, sample, h, lat, lon);
  Normalize(model, kLatitude, lat, result.latN);
  Normalize(model, kLongitude, lon, result.lonN);
  result.evaluations = T{};
  result.failed = T{};
  Fill(1.0, result.active);
  for (int i = 0; i < kLargestSteps; ++i) {
    T step[2];
    T lowestPivot;
    InversionStep(model, lineN, sampleN, result.latN, result.lonN, hN, step, lowestPivot);
    const T square = step[0] * step[0] + step[1] * step[1];
    result.evaluations = result.evaluations + result.active;
    result.failed = lowestPivot <= kSmallestPivot ? T(result.failed + result.active) : result.failed;
    result.active = lowestPivot <= kSmallestPivot ? T{} : result.active;
    result.active = square <= kSmallestStepSquared ? T{} : result.active;
    if (!AnySet(result.active)) break;
    result.latN = result.active != 0.0 ? T(result.latN + step[0]) : result.latN;
    result.lonN = result.active != 0.0 ? T(result.lonN + step[1]) : result.lonN;
  }
}

}  // namespace SatCommonUtils::rpc

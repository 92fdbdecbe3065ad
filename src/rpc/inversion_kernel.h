#pragma once
// Image to ground at a known height, for one point or a vector of points: the closed-form start and the Gauss-Newton
// iteration in normalised coordinates.

#include "rpc/projection_kernel.h"
#include "rpc/rpc_model.h"
#include "rpc/small_systems.h"

namespace SatCommonUtils::rpc {

/// The first-order approximation: line = A.g / B.g, sample = C.g / D.g, g = (latitude, longitude, height, 1).
struct TApproximationView {
  const double* A;
  const double* B;
  const double* C;
  const double* D;
};

constexpr int kLargestSteps = kRPCLargestSteps;

/// The largest square whose root is at most `kRPCSmallestStep`: comparing squares needs no root.
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

/// The iteration of one image point or a vector of them, in normalised coordinates.
template <class T>
struct TInversion {
  T lineN, sampleN, hN;   ///< given
  T latN, lonN;           ///< the point, step by step
  int steps;              ///< taken by any lane
  TFlags<T> evaluations;  ///< a count
  TFlags<T> active;       ///< has not converged; still set behind the last step: never did
  TFlags<T> failed;       ///< a normal matrix was singular
};

/// The point from which the given line, sample and height are iterated.
template <class T>
[[gnu::always_inline]] inline void StartInversion(const TRPCPrepared& model, const TApproximationView& start,
                                                  TInversion<T>& inversion) {
  T line, sample, h, lat, lon;
  Denormalize(model.normalization.line, inversion.lineN, line);
  Denormalize(model.normalization.sample, inversion.sampleN, sample);
  Denormalize(model.normalization.height, inversion.hN, h);
  ApproximateInverse(start, line, sample, h, lat, lon);
  Normalize(model.normalization.latitude, lat, inversion.latN);
  Normalize(model.normalization.longitude, lon, inversion.lonN);
  inversion.steps = 0;
  inversion.evaluations = TFlags<T>{};
  inversion.failed = TFlags<T>{};
  inversion.active = ~TFlags<T>{};
}

template <class T>
[[gnu::always_inline]] inline bool HasSteps(const TInversion<T>& inversion) {
  return inversion.steps < kLargestSteps && AnySet(inversion.active);
}

/// A step on its way.
template <class T>
struct TInversionStep {
  T factors[kFactorCount];
  typename TSums<T>::TSum sum;  ///< of the terms so far
  TFour<T> value, by[2];        ///< of the polynomials: values, derivatives by latitude and longitude
  T lineRow[2], sampleRow[2];   ///< derivatives of line and sample by the same
  T line, sample;               ///< residuals
  T u00, u01, u11;              ///< normal matrix and its Cholesky factor, as for `SolveCholesky`
  T y0, y1;
  T step1;
  T lowestPivot;
};

// A step evaluates the polynomials, forms the normal equations with the first row of their Cholesky factor, and solves
// them: three functions in four quarters each. One point takes them one after the other. Of arrays, three vectors are
// under way at once, and each function's quarters alternate with those of the others: the divisions and roots of two
// vectors, each waiting for the one before, are spread among the sums of a third. Left together, they would run alone:
// a processor looks some 200 vector operations ahead, and a solution takes longer than those.

template <int Quarter, class T>
[[gnu::always_inline]] inline void EvaluateQuarter(const TRPCPrepared& model, const TInversion<T>& inversion,
                                                   TInversionStep<T>& step) {
  const typename TSums<T>::TRows coefficients{model.Terms()};
  T* const f = step.factors;
  if constexpr (Quarter == 0) {
    FormTerms(inversion.latN, inversion.lonN, inversion.hN, f);
    FormTermDerivatives(f);
    step.sum = coefficients[0] + coefficients[1] * f[1];
    AddTerms(coefficients, f, 2, kTermCount / 2, step.sum);
  }
  if constexpr (Quarter == 1) {
    AddTerms(coefficients, f, kTermCount / 2, kTermCount, step.sum);
    TakeApart(step.sum, step.value);
  }
  if constexpr (Quarter == 2) DerivePolynomials(model, kDerivatives[0], f, step.by[0]);
  if constexpr (Quarter == 3) DerivePolynomials(model, kDerivatives[1], f, step.by[1]);
}

template <int Quarter, class T>
[[gnu::always_inline]] inline void FormQuarter(const TInversion<T>& inversion, TInversionStep<T>& step) {
  const TFour<T>& value = step.value;
  const TFour<T>* const by = step.by;
  if constexpr (Quarter == 0) {
    T line, sample;
    Quotients(value, line, sample);
    step.line = inversion.lineN - line;
    step.sample = inversion.sampleN - sample;
    QuotientDerivative(value.lineNum, value.lineDen, by[0].lineNum, by[0].lineDen, step.lineRow[0]);
  }
  if constexpr (Quarter == 1) {
    QuotientDerivative(value.lineNum, value.lineDen, by[1].lineNum, by[1].lineDen, step.lineRow[1]);
    QuotientDerivative(value.sampNum, value.sampDen, by[0].sampNum, by[0].sampDen, step.sampleRow[0]);
    QuotientDerivative(value.sampNum, value.sampDen, by[1].sampNum, by[1].sampDen, step.sampleRow[1]);
  }
  if constexpr (Quarter == 2) {
    TNormalEquations<2, T> equations;
    equations.Add(step.sampleRow, step.sample);
    equations.Add(step.lineRow, step.line);
    const T one = T{} + 1.0;
    const T& pivot = equations.matrix[0][0];
    step.lowestPivot = pivot < one ? pivot : one;
    Sqrt(pivot, step.u00);
    step.u01 = equations.matrix[0][1];
    step.u11 = equations.matrix[1][1];
    step.y0 = equations.right[0];
    step.y1 = equations.right[1];
  }
  if constexpr (Quarter == 3) {
    const T zero = {};
    step.u01 = step.u01 / step.u00;
    step.y0 = step.y0 / step.u00;
    step.u11 = step.u11 - (zero + step.u01 * step.u01);
    step.lowestPivot = step.u11 < step.lowestPivot ? step.u11 : step.lowestPivot;
    step.y1 = step.y1 - (zero + step.u01 * step.y0);
  }
}

/// The last quarter applies the step to the lanes that are active.
template <int Quarter, class T>
[[gnu::always_inline]] inline void SolveQuarter(TInversionStep<T>& step, TInversion<T>& inversion) {
  if constexpr (Quarter == 0) Sqrt(T(step.u11), step.u11);
  if constexpr (Quarter == 1) step.y1 = step.y1 / step.u11;
  if constexpr (Quarter == 2) step.step1 = step.y1 / step.u11;
  if constexpr (Quarter == 3) {
    const T zero = {};
    const T& step1 = step.step1;
    const T step0 = (step.y0 - (zero + step.u01 * step1)) / step.u00;
    TFlags<T> singular, small;
    FlagNotAbove(step.lowestPivot, kSmallestPivot, singular);
    FlagWithin(T(step0 * step0 + step1 * step1), kSmallestStepSquared, small);
    ++inversion.steps;
    inversion.evaluations = inversion.evaluations - inversion.active;  // a flag that is set is -1
    inversion.failed = inversion.failed | (inversion.active & singular);
    inversion.active = inversion.active & ~(singular | small);
    AssignWhere(inversion.active, T(inversion.latN + step0), inversion.latN);
    AssignWhere(inversion.active, T(inversion.lonN + step1), inversion.lonN);
  }
}

/// One step of one point: the same functions one after the other.
[[gnu::always_inline]] inline void TakeStep(const TRPCPrepared& model, TInversion<double>& inversion) {
  TInversionStep<double> step;
  EvaluateQuarter<0>(model, inversion, step);
  EvaluateQuarter<1>(model, inversion, step);
  EvaluateQuarter<2>(model, inversion, step);
  EvaluateQuarter<3>(model, inversion, step);
  FormQuarter<0>(inversion, step);
  FormQuarter<1>(inversion, step);
  FormQuarter<2>(inversion, step);
  FormQuarter<3>(inversion, step);
  SolveQuarter<0>(step, inversion);
  SolveQuarter<1>(step, inversion);
  SolveQuarter<2>(step, inversion);
  SolveQuarter<3>(step, inversion);
}

}  // namespace SatCommonUtils::rpc

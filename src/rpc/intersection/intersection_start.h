#pragma once
// Where the iteration of several images begins: the least-squares point of the models' first-order approximations, of
// one point (`T` is a double) or a vector of points.

#include <vector>

#include "rpc/intersection/intersection_kernel.h"
#include "rpc/longitude_turns.h"

namespace SatCommonUtils::rpc {

/// An image's first-order approximation. Numerators and denominators of sample and line.
struct TStartImage {
  double numerator[2][4], denominator[2][4];
  double turn;  ///< degrees that bring the model's longitude offset near the reference longitude
};

/// \param reference a longitude, degrees. \return false when the model has no approximation.
inline bool PrepareStart(const TRPC& model, double reference, TStartImage* image) {
  image->turn = 360.0 * LongitudeTurns(reference, model.GetCenterLongitude());
  return model.GetApproximation(image->numerator[1], image->denominator[1], image->numerator[0], image->denominator[0]);
}

/// Adds the two equations of one image for a point measured at (line, sample).
template <THeight Height, class T, int N = kUnknowns<Height>>
[[gnu::always_inline]] inline void AddStartImage(const TStartImage& image, const T& line, const T& sample, const T& h,
                                                 TNormalEquations<N, T>& equations) {
  for (int i = 0; i < 2; ++i) {
    const T& measured = i == 0 ? sample : line;
    T c[4];
    for (int k = 0; k < 4; ++k) c[k] = image.numerator[i][k] - measured * image.denominator[i][k];
    T row[N];
    for (int k = 0; k < N; ++k) row[k] = c[k];
    T constant = -c[3];
    if constexpr (Height == THeight::Known) constant = constant - c[2] * h;
    equations.Add(row, T(constant + image.turn * c[1]));
  }
}

/// Solves the start's equations as `SolveLeastSquares` does.
template <int N>
[[gnu::always_inline]] inline void SolveStart(const TNormalEquations<N, double>& equations, double (&ground)[N]) {
  SolveLeastSquares(equations, ground);
}

template <int N, class T>
[[gnu::always_inline]] inline void SolveStart(const TNormalEquations<N, T>& equations, T (&ground)[N]) {
  T lowestPivot;
  TFlags<T> singular;
  SolveCholesky(equations, ground, lowestPivot);
  FlagNotAbove(lowestPivot, kSmallestPivot, singular);
  if (!AnySet(singular)) return;
  for (unsigned lane = 0; lane < sizeof(T) / sizeof(double); ++lane) {
    if (singular[lane] == 0) continue;
    TNormalEquations<N, double> one;
    double x[N];
    for (int r = 0; r < N; ++r) {
      for (int c = r; c < N; ++c) one.matrix[r][c] = equations.matrix[r][c][lane];
      one.right[r] = equations.right[r][lane];
    }
    SolveLeastSquares(one, x);
    for (int c = 0; c < N; ++c) ground[c][lane] = x[c];
  }
}

/// Start of one point. \return false, `*ground` untouched, when an image has no model, or when the equations are fewer
/// than two or than the unknowns.
template <THeight Height>
bool ApproximateIntersection(const std::vector<TRPCCoordsDataItem>& items, const THeightInput& height,
                             double (*ground)[kUnknowns<Height>]) {
  constexpr int N = kUnknowns<Height>;
  for (const TRPCCoordsDataItem& item : items) {
    if (item.model == nullptr) return false;
  }
  TNormalEquations<N, double> equations;
  int count = 0;
  const double reference = items.empty() ? 0.0 : items[0].model->GetCenterLongitude();
  for (const TRPCCoordsDataItem& item : items) {
    TStartImage start;
    if (!PrepareStart(*item.model, reference, &start)) continue;
    AddStartImage<Height>(start, item.line, item.sample, height.value, equations);
    count += 2;
  }
  if (Height == THeight::Observed) {
    equations.AddLast(height.value, 1.0 / height.variance);
    ++count;
  }
  if (count < N) return false;
  SolveStart(equations, *ground);
  return true;
}

}  // namespace SatCommonUtils::rpc

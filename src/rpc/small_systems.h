#pragma once
// Systems of two and three unknowns without memory from the heap, for one point (`T` is double) or a vector of points
// (`T` is a vector of doubles). They take the same operations in the same order as `Cholesky`, `Gauss` and
// `TOverdefinedLinearSystem`, so that their bits are the same.

#include <algorithm>

#include "linalg/kernels.h"
#include "rpc/lanes.h"

namespace SatCommonUtils::rpc {

/// Normal equations of N unknowns; the upper triangle of the matrix is used.
template <int N, class T>
struct TNormalEquations {
  T matrix[N][N] = {};
  T right[N] = {};

  /// Adds one equation row · x = value of weight 1.
  [[gnu::always_inline]] void Add(const T (&row)[N], const T& value) {
    for (int i = 0; i < N; ++i) {
      for (int j = i; j < N; ++j) matrix[i][j] = matrix[i][j] + row[i] * row[j];
      right[i] = right[i] + row[i] * value;
    }
  }

  /// Adds one equation for the last unknown alone.
  [[gnu::always_inline]] void AddLast(const T& value, const T& weight) {
    matrix[N - 1][N - 1] = matrix[N - 1][N - 1] + weight;
    right[N - 1] = right[N - 1] + weight * value;
  }
};

/// A pivot of Cholesky's factorisation at or below this means that the matrix is not positive definite.
constexpr double kSmallestPivot = 1e-20;

/// Solves the equations by Cholesky. `lowestPivot` receives the lowest pivot, or 1.0 when none is below that (a NaN is
/// not); where it is at most `kSmallestPivot` the solution has failed and `x` means nothing.
template <int N, class T>
[[gnu::always_inline]] inline void SolveCholesky(const TNormalEquations<N, T>& equations, T (&x)[N], T& lowestPivot) {
  T lowest = T{} + 1.0;
  T u[N][N];
  for (int i = 0; i < N; ++i) {
    for (int j = i; j < N; ++j) {
      T sum = {};
      for (int k = 0; k < i; ++k) sum = sum + u[k][i] * u[k][j];
      const T rest = equations.matrix[i][j] - sum;
      if (j == i) {
        lowest = rest < lowest ? rest : lowest;
        Sqrt(rest, u[i][i]);
      } else {
        u[i][j] = rest / u[i][i];
      }
    }
  }
  T y[N];
  for (int i = 0; i < N; ++i) {
    T sum = {};
    for (int k = 0; k < i; ++k) sum = sum + u[k][i] * y[k];
    y[i] = (equations.right[i] - sum) / u[i][i];
  }
  for (int i = N - 1; i >= 0; --i) {
    T sum = {};
    for (int k = i + 1; k < N; ++k) sum = sum + u[i][k] * x[k];
    x[i] = (y[i] - sum) / u[i][i];
  }
  lowestPivot = lowest;
}

/// Solves the equations as `TOverdefinedLinearSystem` does: by Cholesky, or by elimination when that fails. Zeros when
/// they are singular.
template <int N>
void SolveLeastSquares(const TNormalEquations<N, double>& equations, double (&x)[N]) {
  double lowestPivot;
  SolveCholesky(equations, x, lowestPivot);
  if (!(lowestPivot <= kSmallestPivot)) return;
  double full[N][N];
  double right[N];
  double* rows[N];
  for (int i = 0; i < N; ++i) {
    for (int j = 0; j < N; ++j) full[i][j] = equations.matrix[std::min(i, j)][std::max(i, j)];
    rows[i] = full[i];
    right[i] = equations.right[i];
    x[i] = 0.0;
  }
  kernels::Gauss(rows, right, x, N, nullptr);
}

/// Solves a 2 x 2 system by elimination with partial pivoting; (0, 0) where it is singular.
template <class T>
[[gnu::always_inline]] inline void SolveGauss(const T (&a)[2][2], const T (&b)[2], T (&x)[2]) {
  const T zero = {};
  const T upper = a[0][0] < 0.0 ? -a[0][0] : a[0][0];
  const T lower = a[1][0] < 0.0 ? -a[1][0] : a[1][0];
  const T p0 = lower > upper ? a[1][0] : a[0][0];
  const T p1 = lower > upper ? a[1][1] : a[0][1];
  const T pb = lower > upper ? b[1] : b[0];
  const T q0 = lower > upper ? a[0][0] : a[1][0];
  const T q1 = lower > upper ? a[0][1] : a[1][1];
  const T qb = lower > upper ? b[0] : b[1];
  const T factor = q0 / p0;
  const T r1 = q1 - factor * p1;
  const T rb = qb - factor * pb;
  const T product = p0 == 0.0 ? zero : T(p0 * r1);  // but for its sign the determinant; without a pivot r1 is no number
  const T second = rb / r1;
  const T first = (pb - p1 * second) / p0;
  x[0] = product == 0.0 ? zero : first;
  x[1] = product == 0.0 ? zero : second;
}

}  // namespace SatCommonUtils::rpc

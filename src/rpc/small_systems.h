#pragma once
// Systems of two and three unknowns without memory from the heap, for one point (`T` is double) or a vector of points
// (`T` is a vector of doubles). They take the same operations in the same order as `Cholesky`, `Gauss` and
// `TOverdefinedLinearSystem`, so that their bits are the same.
//
// A mask is what comparing two `T` gives: bool, or a vector of 64-bit integers, 0 for false.

#include <cmath>

namespace SatCommonUtils::rpc {

template <class T>
using TMask = decltype(T{} < T{});

[[gnu::always_inline]] inline bool Any(bool mask) { return mask; }

template <class Mask>
[[gnu::always_inline]] inline bool Any(const Mask& mask) {
  long long any = 0;
  for (unsigned lane = 0; lane < sizeof(Mask) / sizeof(any); ++lane) any |= mask[lane];
  return any != 0;
}

[[gnu::always_inline]] inline void Sqrt(const double& x, double& root) { root = std::sqrt(x); }

template <class T>
[[gnu::always_inline]] inline void Sqrt(const T& x, T& root) {
  for (unsigned lane = 0; lane < sizeof(T) / sizeof(double); ++lane) root[lane] = std::sqrt(x[lane]);
}

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

/// Solves the equations by Cholesky. `failed` tells where a pivot is at most 1e-20; `x` means nothing there.
template <int N, class T>
[[gnu::always_inline]] inline void SolveCholesky(const TNormalEquations<N, T>& equations, T (&x)[N], TMask<T>& failed) {
  constexpr double kSmallestPivot = 1e-20;
  T u[N][N];
  failed = T{} != T{};
  for (int i = 0; i < N; ++i) {
    for (int j = i; j < N; ++j) {
      T sum = {};
      for (int k = 0; k < i; ++k) sum = sum + u[k][i] * u[k][j];
      const T rest = equations.matrix[i][j] - sum;
      if (j == i) {
        failed = failed | (rest <= kSmallestPivot);
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
}

/// Solves a 2 x 2 system by elimination with partial pivoting; (0, 0) where it is singular.
template <class T>
[[gnu::always_inline]] inline void SolveGauss(const T (&a)[2][2], const T (&b)[2], T (&x)[2]) {
  const T zero = {};
  const T upper = a[0][0] < 0.0 ? -a[0][0] : a[0][0];
  const T lower = a[1][0] < 0.0 ? -a[1][0] : a[1][0];
  const TMask<T> exchange = lower > upper;
  const T p0 = exchange ? a[1][0] : a[0][0];
  const T p1 = exchange ? a[1][1] : a[0][1];
  const T pb = exchange ? b[1] : b[0];
  const T q0 = exchange ? a[0][0] : a[1][0];
  const T q1 = exchange ? a[0][1] : a[1][1];
  const T qb = exchange ? b[0] : b[1];
  const T factor = q0 / p0;
  const T r1 = q1 - factor * p1;
  const T rb = qb - factor * pb;
  const TMask<T> singular = (p0 == 0.0) | (p0 * r1 == 0.0);
  const T second = rb / r1;
  x[0] = singular ? zero : (pb - p1 * second) / p0;
  x[1] = singular ? zero : second;
}

}  // namespace SatCommonUtils::rpc

#pragma once
// Normal equations of two and three unknowns without roots and with one division an unknown, for one point or a vector
// of points, for ways to a result whose bits nobody has promised (`small_systems.h` has those that are). Source:
// elementary.

#include "rpc/lanes.h"
#include "rpc/small_systems.h"

namespace SatCommonUtils::rpc {

/// A pivot below this part of its diagonal: rays so near to parallel that rounding is felt.
constexpr double kSmallestPart = 1e-7;
/// A normal matrix as L D Lᵀ with ones in the diagonal of L.
template <int N, class T>
struct TFactored {
  T lower[N][N], reciprocal[N];  ///< of D
  TFlags<T> sound;               ///< no pivot is next to nothing
};

template <int N, class T>
[[gnu::always_inline]] inline void Factor(const TNormalEquations<N, T>& equations, TFactored<N, T>& f) {
  TFlags<T> negative = {};
  T scaled[N];  // of a row of L, times D
#pragma GCC unroll 3
  for (int i = 0; i < N; ++i) {
    T pivot = equations.matrix[i][i];
#pragma GCC unroll 3
    for (int j = 0; j < i; ++j) {
      scaled[j] = equations.matrix[j][i];
#pragma GCC unroll 3
      for (int k = 0; k < j; ++k) scaled[j] = scaled[j] - f.lower[j][k] * scaled[k];
      f.lower[i][j] = scaled[j] * f.reciprocal[j];
      pivot = pivot - f.lower[i][j] * scaled[j];
    }
    f.reciprocal[i] = 1.0 / pivot;
    TFlags<T> sign;
    BitsOf(T(pivot - kSmallestPart * equations.matrix[i][i]), sign);
    negative = negative | sign;
  }
  f.sound = ~(negative >> 63);
}

template <int N, class T>
[[gnu::always_inline]] inline void Substitute(const TFactored<N, T>& f, const T (&right)[N], T (&x)[N]) {
  T y[N];
#pragma GCC unroll 3
  for (int i = 0; i < N; ++i) {
    y[i] = right[i];
#pragma GCC unroll 3
    for (int k = 0; k < i; ++k) y[i] = y[i] - f.lower[i][k] * y[k];
  }
#pragma GCC unroll 3
  for (int i = N - 1; i >= 0; --i) {
    x[i] = y[i] * f.reciprocal[i];
#pragma GCC unroll 3
    for (int k = i + 1; k < N; ++k) x[i] = x[i] - f.lower[k][i] * x[k];
  }
}

/// The inverse from its last column on: L Lᵀ D inverse is lower triangular, which gives each element from those behind.
template <int N, class T>
[[gnu::always_inline]] inline void Invert(const TFactored<N, T>& f, T (&inverse)[N][N]) {
#pragma GCC unroll 3
  for (int i = N - 1; i >= 0; --i) {
#pragma GCC unroll 3
    for (int j = N - 1; j >= i; --j) {
      T sum = i == j ? f.reciprocal[i] : T{};
#pragma GCC unroll 3
      for (int k = i + 1; k < N; ++k) {
        sum = sum - f.lower[k][i] * (k <= j ? inverse[k][j] : inverse[j][k]);
      }
      inverse[i][j] = sum;
    }
  }
}

}  // namespace SatCommonUtils::rpc
